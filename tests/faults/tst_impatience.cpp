#include "faults/faultwindow.h"
#include "faults/impatientuser.h"
#include "support/cataloguetext.h"
#include "support/sanitizer.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QMutex>
#include <QNetworkProxy>
#include <QProcess>
#include <QSemaphore>
#include <QTcpSocket>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <memory>
#include <random>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Of each user. 10,000 in all under the sanitizer, where they find most; a quick look elsewhere.
constexpr int defaultActions = isSanitized ? 5'000 : 1'000;

/// Of the links in the about box.
const QStringList linkSchemes = {u"mailto"_s, u"http"_s, u"https"_s};

quint32 seedOfThisRun()
{
    bool isGiven = false;
    const uint seed = qEnvironmentVariable("QUILLMERE_TEST_SEED").toUInt(&isGiven);
    return isGiven ? seed : std::random_device()();
}

int actionsOfThisRun()
{
    bool isGiven = false;
    const int actions = qEnvironmentVariableIntValue("QUILLMERE_TEST_ACTIONS", &isGiven);
    return isGiven ? actions : defaultActions;
}

QByteArray archive()
{
    QProcess python;
    python.start(u"python3"_s,
                 {u"-c"_s, u"import sys, zipfile\n"
                           "with zipfile.ZipFile(sys.stdout.buffer, 'w') as z:\n"
                           "    for name in ('Tool-x86.pkg', 'Tool-arm.pkg', 'Uninstall.app'):\n"
                           "        z.writestr(name, name * 1000)\n"_s});
    if (!python.waitForFinished(60'000) || python.exitCode() != 0) {
        qFatal("python3 makes no archive");
    }
    return python.readAllStandardOutput();
}

/// Only 127.0.0.1 is reached directly; whatever asks for another machine gets to one server there.
class NoWayOut : public QNetworkProxyFactory
{
public:
    explicit NoWayOut(quint16 port) : m_port(port) {}

    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override
    {
        if (query.peerHostName() == "127.0.0.1"_L1) {
            return {QNetworkProxy(QNetworkProxy::NoProxy)};
        }
        return {QNetworkProxy(QNetworkProxy::HttpProxy, u"127.0.0.1"_s, m_port)};
    }

private:
    quint16 m_port;
};

/// Answers each request by the draw: well, badly, or only after a while by hanging up.
class FickleServer : public QObject
{
public:
    FickleServer(HttpServer& server, quint32 seed) : m_server(server), m_random(seed)
    {
        connect(&server, &HttpServer::requested, this,
                [this](const QString& target) { decide(target); });
        m_hangUp.callOnTimeout(this, [this] { hangUp(); });
        m_hangUp.start(300);
    }

private:
    quint32 draw(quint32 limit) { return quint32(m_random()) % limit; }

    void decide(const QString& target)
    {
        const QString path = target.sliced(target.startsWith(u'/') ? 1 : 0);
        HttpReply reply;
        reply.body = path.startsWith("soft/"_L1) ? installer(path) : catalogue();
        switch (draw(24)) {
        case 0:
            reply.status = 404;
            break;
        case 1:
            reply.status = 500;
            break;
        case 2:
            reply.body.clear();
            break;
        case 3:
            reply.manner = HttpReply::Silent;
            break;
        case 4:
            reply.manner = HttpReply::Cut;
            reply.announcedLength = reply.body.size() + 1000;
            break;
        case 5:
            reply.manner = HttpReply::Stall;
            reply.announcedLength = reply.body.size() + 1000;
            break;
        case 6:
            reply.manner = HttpReply::Trickle;
            reply.trickleInterval = 5;
            break;
        case 7:
            reply.withLength = false;
            break;
        case 8:
            reply.status = 302;
            reply.headers = {"Location: " + target.toUtf8()};
            break;
        case 9:
            reply.headers = {"Content-Encoding: gzip"};
            break;
        case 10:
            reply.body = QByteArray(20'000, char(draw(256)));
            break;
        default:
            break;
        }
        m_server.forget();
        m_server.reply(path, reply);
    }

    QByteArray catalogue()
    {
        static const QList<QByteArray> names = {
            "Atlas", "Bench", "Atlas", "Quillmere", "Quillmere Tools", "<b>Markup</b>&amp;",
            "",      "É",     "A",     "Synth"};
        static const QList<QByteArray> files = {
            "tool.dmg", "tool.zip", "bad.zip", "a b.pkg", "../escape.dmg", "Tool-x86.pkg", ""};
        QByteArray text = catalogueTitles;
        for (quint32 left = draw(30); left > 0; --left) {
            text += names[draw(quint32(names.size()))] + ',' + QByteArray::number(draw(4)) +
                    ".0,2026-01-01," + files[draw(quint32(files.size()))] + ",0\n";
        }
        return text;
    }

    QByteArray installer(const QString& path)
    {
        static const QByteArray good = archive();
        return path.endsWith("tool.zip"_L1) ? good : QByteArray(qsizetype(draw(300'000)), 'x');
    }

    void hangUp()
    {
        for (QTcpSocket* socket : m_server.findChildren<QTcpSocket*>()) {
            if (draw(2) == 0) {
                socket->abort();
            }
        }
    }

    HttpServer& m_server;
    std::mt19937 m_random;
    QTimer m_hangUp;
};

/// Ends the program with the user's last actions when its event loops stand still too long.
class Watchdog
{
public:
    explicit Watchdog(const ImpatientUser& user, quint32 seed)
    {
        m_heart.callOnTimeout([this] { m_beats = 0; });
        m_heart.start(100);
        m_thread.reset(QThread::create([this, &user, seed] {
            while (!m_end.tryAcquire(1, 1'000)) {
                if (++m_beats > 90) {
                    std::fprintf(stderr, "seed %u: stands still after %s\n", seed,
                                 qPrintable(user.trace().join(u'\n')));
                    std::abort();
                }
            }
        }));
        m_thread->start();
    }
    ~Watchdog()
    {
        m_end.release();
        m_thread->wait();
    }
    Q_DISABLE_COPY_MOVE(Watchdog)

private:
    std::atomic<int> m_beats = 0; ///< seconds since the event loop was last alive
    QSemaphore m_end;
    QTimer m_heart;
    std::unique_ptr<QThread> m_thread;
};

QtMessageHandler formerHandler = nullptr;
QMutex warningsMutex;
QStringList warnings;

/// Keeps what Qt complains of, which it does where the program misuses it.
void keepWarnings(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (message.startsWith("This plugin does not support"_L1)) {
        return; // says the platform plugin of every program
    }
    // Qt's own: a request of an unknown protocol fails once more when it is aborted at once.
    const bool isHarmless = message.startsWith("QNetworkReplyImplPrivate::error: Internal"_L1);
    if (!isHarmless && (type == QtWarningMsg || type == QtCriticalMsg)) {
        const QMutexLocker locker(&warningsMutex);
        warnings.append(message);
    }
    formerHandler(type, context, message);
}

/// What the user types into the settings, wrong and right.
void giveTexts(ImpatientUser& user, FaultWindow& bench)
{
    const QString aFile = bench.machine().home().write(u"file"_s, "a file");
    user.setTexts(u"lineEdit_downloadFolder"_s, {bench.downloads(),
                                                 bench.machine().home().path() + "/none"_L1,
                                                 aFile,
                                                 u"~"_s,
                                                 u"~/Downloads"_s,
                                                 {}});
    user.setTexts(u"lineEdit_baseURL"_s, {QString(), bench.server().url(), u"http://127.0.0.1:1/"_s,
                                          u"nonsense"_s, u"http://[::"_s, u"a & b < c"_s});
    user.setTexts(u"lineEdit_csvPath"_s,
                  {bench.catalogueAddress(), u"catalogue.csv"_s, u"none.csv"_s, QString()});
    user.setTexts(u"lineEdit_csvSeparator"_s, {u","_s, u";"_s, u"ab"_s, QString()});
    user.setTexts(u"lineEdit_softPath"_s, {bench.softAddress(), u"soft/"_s, QString()});
    user.setRightTexts({{u"lineEdit_baseURL"_s, QString()},
                        {u"lineEdit_csvPath"_s, bench.catalogueAddress()},
                        {u"lineEdit_csvSeparator"_s, u","_s},
                        {u"lineEdit_softPath"_s, bench.softAddress()},
                        {u"lineEdit_downloadFolder"_s, bench.downloads()}});
}

} // namespace

/// An impatient user in front of the real window, whose server cannot be relied on, over many runs
/// of the program; at the end a new start finds everything in order.
///
/// QUILLMERE_TEST_SEED repeats the actions and the server's answers of an earlier run, which has
/// printed its seed, QUILLMERE_TEST_ACTIONS says how many actions, and QUILLMERE_TEST_TRACE prints
/// each.
class TestImpatience : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void ignoreLink(const QUrl& /*url*/) {}

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void survivesAnImpatientUser_data();
    void survivesAnImpatientUser();

private:
    static void runProgramOnce(FaultWindow& bench);
};

void TestImpatience::initTestCase()
{
    for (const QString& scheme : linkSchemes) {
        QDesktopServices::setUrlHandler(scheme, this, "ignoreLink");
    }
}

void TestImpatience::cleanupTestCase()
{
    for (const QString& scheme : linkSchemes) {
        QDesktopServices::unsetUrlHandler(scheme);
    }
}

void TestImpatience::runProgramOnce(FaultWindow& bench)
{
    // As main() does.
    bench.restart();
    bench.window().action_loadWebData();
    bench.window().action_loadSysData();
    if (bench.window().isClosed()) {
        QMetaObject::invokeMethod(
            qApp, [] { QCoreApplication::quit(); }, Qt::QueuedConnection);
    }
    QCoreApplication::exec();
    bench.destroy();
}

void TestImpatience::survivesAnImpatientUser_data()
{
    QTest::addColumn<ImpatientUser::Manner>("manner");
    QTest::newRow("by any means") << ImpatientUser::ByAnyMeans;
    QTest::newRow("by hand") << ImpatientUser::ByHand;
}

void TestImpatience::survivesAnImpatientUser()
{
    QFETCH(ImpatientUser::Manner, manner);
    const quint32 seed = seedOfThisRun();
    const int actions = actionsOfThisRun();
    qInfo("QUILLMERE_TEST_SEED=%u QUILLMERE_TEST_ACTIONS=%d", seed, actions);
    FaultWindow bench;
    const PrivateHome& home = bench.machine().home();
    QDir::setCurrent(home.path());
    QNetworkProxyFactory::setApplicationProxyFactory(new NoWayOut(bench.server().serverPort()));
    bench.machine().install(u"Atlas"_s, u"1.0"_s);
    bench.machine().install(u"Synth 2"_s, u"2.0"_s);
    bench.machine().standIns().add(u"find"_s, "sleep 0.0$(($$ % 10))\nexec cat '" +
                                                  home.path().toUtf8() + "/find.out'\n");
    bench.create(FaultWindow::Hidden); // writes the settings
    bench.destroy();

    auto user = std::make_unique<ImpatientUser>(manner, seed, actions);
    giveTexts(*user, bench);

    warnings.clear();
    formerHandler = qInstallMessageHandler(keepWarnings);
    int runs = 0;
    {
        const FickleServer fickle(bench.server(), seed ^ 0x5eed);
        const Watchdog watchdog(*user, seed);
        user->start();
        while (!user->isDone()) {
            if (++runs % 8 == 0) {
                home.write(u"Library/Quillmere/config.xml"_s, bench.settings());
            }
            runProgramOnce(bench);
        }
    }
    user.reset();
    qInstallMessageHandler(formerHandler);
    qInfo("%d runs, %lld requests, %lld installers opened", runs,
          qlonglong(bench.server().requests().size()), qlonglong(bench.opened().size()));
    QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(u'\n')));
    QVERIFY(runs > 0);
    QVERIFY(!QFile::exists(home.path() + "/../escape.dmg"_L1));
    QVERIFY(!QFile::exists(home.path() + "/escape.dmg"_L1));

    QNetworkProxyFactory::setApplicationProxyFactory(nullptr);
    QDir(bench.downloads()).removeRecursively();
    bench.create();
    QVERIFY(bench.windowStillWorks());
}

QTEST_MAIN(TestImpatience)
#include "tst_impatience.moc"
