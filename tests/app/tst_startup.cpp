#include "support/httpserver.h"
#include "support/privatehome.h"
#include "support/settingsfile.h"
#include "support/standin.h"
#include "support/startbanner.h"
#include "support/testline.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <optional>

using namespace Qt::Literals::StringLiterals;

/// Runs the built program against a server that never answers: it stands still in the catalogue's
/// load, after everything that start-up does.
class TestStartup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void beginsAFreshLogWithHeaderAndBanner();
    void showsTheBannerOnTheConsole();
    void startsWithoutALogFile();
    void takesNoArguments();

private:
    void start(const QStringList& arguments = {}, TestLine at = {});
    /// The console's first @p count lines of the log, each without its time; what the platform
    /// says in between is left out.
    [[nodiscard]] QStringList consoleLines(qsizetype count);

    std::optional<PrivateHome> m_home;
    std::optional<StandIns> m_commands;
    std::optional<HttpServer> m_server;
    std::optional<QProcess> m_program;
};

void TestStartup::init()
{
    m_home.emplace();
    m_commands.emplace();
    m_commands->addPrinting(u"find"_s, {});
    m_server.emplace();
    m_server->reply(u"catalogue.csv"_s, {.body = {}, .manner = HttpReply::Silent});
    m_home->write(u"Library/Quillmere/config.xml"_s, settingsXml({.baseUrl = m_server->url()}));
    m_program.emplace();
}

void TestStartup::cleanup()
{
    if (m_program->state() != QProcess::NotRunning) {
        m_program->kill();
        m_program->waitForFinished();
    }
    m_program.reset();
    m_server.reset();
    m_commands.reset();
    m_home.reset();
}

void TestStartup::start(const QStringList& arguments, TestLine at)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    // Standard error, not a system journal.
    environment.insert(u"QT_FORCE_STDERR_LOGGING"_s, u"1"_s);
    environment.remove(u"QT_MESSAGE_PATTERN"_s);
    environment.remove(u"QT_LOGGING_RULES"_s);
    environment.remove(u"http_proxy"_s);
    m_program->setProcessEnvironment(environment);
    m_program->start(QStringLiteral(QUILLMERE_PROGRAM), arguments);
    VERIFY2_AT(at, m_program->waitForStarted(), qUtf8Printable(m_program->errorString()));
    // The window was built and shown before: the catalogue is asked for after that.
    TRY_COMPARE_AT(at, m_server->requests(), QStringList{u"/catalogue.csv"_s}, 30000);
}

QStringList TestStartup::consoleLines(qsizetype count)
{
    static const QRegularExpression stamp(u"\\A[-0-9]{10}T[:0-9]{8} "_s);
    m_program->setReadChannel(QProcess::StandardError);
    QStringList lines;
    while (lines.size() < count &&
           (m_program->canReadLine() || m_program->waitForReadyRead(10000))) {
        while (lines.size() < count && m_program->canReadLine()) {
            QString line = QString::fromUtf8(m_program->readLine());
            line.chop(1);
            if (stamp.match(line).hasMatch()) {
                lines.append(line.section(u' ', 1));
            }
        }
    }
    return lines;
}

void TestStartup::beginsAFreshLogWithHeaderAndBanner()
{
    m_home->write(u"Library/Quillmere/quillmere.log"_s, "an earlier run's log\n");
    start();
    const QByteArray log = PrivateHome::read(m_home->logPath());
    QVERIFY2(log.startsWith("=== Quillmere 26.3.0 \xe2\x80\x94 "), log.constData());
    QCOMPARE(log.count("==="), 2);
    const QStringList lines = m_home->logLines();
    QCOMPARE(lines.mid(0, 7), startBanner());
    QCOMPARE(lines.value(7), u"[INFO] Current config file: "_s + m_home->configPath());
}

void TestStartup::showsTheBannerOnTheConsole()
{
    start();
    QCOMPARE(consoleLines(7), startBanner());
}

void TestStartup::startsWithoutALogFile()
{
    QVERIFY(QDir().mkpath(m_home->logPath()));
    start();
    QCOMPARE(consoleLines(7), startBanner());
    QVERIFY(QFileInfo(m_home->logPath()).isDir());
}

void TestStartup::takesNoArguments()
{
    start({u"--help"_s, u"file.csv"_s});
    QCOMPARE(m_home->logLines().mid(0, 7), startBanner());
    QCOMPARE(m_program->state(), QProcess::Running);
}

QTEST_GUILESS_MAIN(TestStartup)
#include "tst_startup.moc"
