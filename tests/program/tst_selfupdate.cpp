#include "support/httpserver.h"
#include "support/privatehome.h"
#include "support/settingsfile.h"
#include "support/standin.h"
#include "support/testline.h"
#include "virtualdisplay.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>
#include <QUrl>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString mainTitle = u"Quillmere v26.3.0"_s;

QString xdotool(const QStringList& arguments)
{
    return QString::fromUtf8(outputOf(u"xdotool"_s, arguments)).trimmed();
}

} // namespace

/// The built program replaces itself: its own process on a display of its own, a press on the row's
/// button, its questions answered by key, and a desktop that records what it is handed.
class TestSelfUpdate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void acceptedUpdateIsOpenedAndEndsTheProgram_data();
    void acceptedUpdateIsOpenedAndEndsTheProgram();
    void declinedRestartLeavesTheProgramRunning();

private:
    /// Shows the program's table, with one row that offers @p fileName.
    void start(const QString& fileName, const QByteArray& body, TestLine at = {});
    [[nodiscard]] QString windowId(const QString& title) const;
    void pressDownload(TestLine at = {}) const;
    void press(const QString& title, const QString& key) const;
    /// Presses a key in the box with that title until the box is gone.
    void answer(const QString& title, const QString& key, TestLine at = {}) const;
    [[nodiscard]] bool hasLogged(const QString& text) const;

    VirtualDisplay m_display;
    std::optional<PrivateHome> m_home;
    std::optional<StandIns> m_commands;
    std::optional<HttpServer> m_server;
    std::optional<QProcess> m_program;
};

void TestSelfUpdate::initTestCase()
{
    QVERIFY2(!QStandardPaths::findExecutable(u"zip"_s).isEmpty(),
             "zip is missing; ./test.sh installs it");
    m_display.start();
}

void TestSelfUpdate::init()
{
    m_home.emplace();
    m_commands.emplace();
    m_commands->addPrinting(u"find"_s, {});
    m_commands->addRecording(u"xdg-open"_s);
    m_server.emplace();
    QVERIFY(QDir(m_home->path()).mkpath(u"Downloads"_s));
}

void TestSelfUpdate::cleanup()
{
    if (m_program) {
        stopProcess(*m_program);
    }
    m_program.reset();
    m_server.reset();
    m_commands.reset();
    m_home.reset();
}

void TestSelfUpdate::start(const QString& fileName, const QByteArray& body, TestLine at)
{
    m_home->write(u"Library/Quillmere/config.xml"_s,
                  settingsXml({.baseUrl = m_server->url(), .csvSeparator = u";"_s}));
    m_server->reply(u"catalogue.csv"_s,
                    {.body = "Name;Version;Release date;Filename;Ignored\nQuillmere;99;;" +
                             fileName.toUtf8() + ";0\n"});
    m_server->reply("soft/"_L1 + QString::fromLatin1(QUrl(fileName).toEncoded()), {.body = body});
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    // The desktop of whoever runs the test has no part in it.
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path=/nowhere"_s);
    environment.remove(u"http_proxy"_s);
    environment.remove(u"XDG_CURRENT_DESKTOP"_s);
    environment.remove(u"BROWSER"_s);
    m_program.emplace();
    m_program->setProcessEnvironment(environment);
    endWithThisProcess(*m_program);
    m_program->start(QStringLiteral(QUILLMERE_PROGRAM), QStringList());
    VERIFY2_AT(at, m_program->waitForStarted(), qPrintable(m_program->errorString()));
    TRY_VERIFY_AT(at, hasLogged(u"SysProfiler - data updated"_s), 30'000);
    // Once the wait dialog is closed, the main window is the only one.
    TRY_VERIFY_AT(at, !windowId(mainTitle).isEmpty() && windowId(u"Veuillez patienter"_s).isEmpty(),
                  30'000);
}

QString TestSelfUpdate::windowId(const QString& title) const
{
    return xdotool({u"search"_s, u"--onlyvisible"_s, u"--all"_s, u"--pid"_s,
                    QString::number(m_program->processId()), u"--name"_s,
                    u'^' + QRegularExpression::escape(title) + u'$'});
}

void TestSelfUpdate::press(const QString& title, const QString& key) const
{
    const QString id = windowId(title);
    if (!id.isEmpty()) {
        xdotool({u"windowactivate"_s, u"--sync"_s, id, u"key"_s, u"--clearmodifiers"_s, key});
    }
}

void TestSelfUpdate::answer(const QString& title, const QString& key, TestLine at) const
{
    const auto isAnswered = [&] {
        press(title, key);
        return windowId(title).isEmpty();
    };
    TRY_VERIFY_AT(at, isAnswered(), 30'000);
}

void TestSelfUpdate::pressDownload(TestLine at) const
{
    // Down the right edge of the last column, until the button is hit and asks.
    const QString id = windowId(mainTitle);
    for (int y = 60; y < 140 && windowId(u"Restart required"_s).isEmpty(); y += 10) {
        xdotool({u"windowactivate"_s, u"--sync"_s, id, u"mousemove"_s, u"--window"_s, id, u"585"_s,
                 QString::number(y), u"click"_s, u"1"_s});
        QTest::qWait(100);
    }
    TRY_VERIFY_AT(at, !windowId(u"Restart required"_s).isEmpty(), 10'000);
}

bool TestSelfUpdate::hasLogged(const QString& text) const
{
    return QString::fromUtf8(PrivateHome::read(m_home->logPath())).contains(text);
}

void TestSelfUpdate::acceptedUpdateIsOpenedAndEndsTheProgram_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::newRow("a disk image") << u"Quillmere été 99.dmg"_s;
    QTest::newRow("an archive") << u"Quillmere.zip"_s;
}

void TestSelfUpdate::acceptedUpdateIsOpenedAndEndsTheProgram()
{
    QFETCH(QString, fileName);
    QByteArray body = "new version";
    QString item = fileName;
    if (fileName.endsWith(".zip"_L1)) {
        m_home->write(u"in/Quillmere.app/Contents/Info.plist"_s, "new");
        QProcess zip;
        zip.setWorkingDirectory(m_home->path() + "/in"_L1);
        zip.start(u"zip"_s, {u"-q"_s, u"-r"_s, u"../new.zip"_s, u"."_s});
        QVERIFY(zip.waitForFinished() && zip.exitCode() == 0);
        body = PrivateHome::read(m_home->path() + "/new.zip"_L1);
        item = u"Quillmere.app"_s;
    }
    start(fileName, body);
    pressDownload();
    answer(u"Restart required"_s, u"Return"_s);
    QTRY_VERIFY_WITH_TIMEOUT(!windowId(u"Restart?"_s).isEmpty(), 30'000);
    const QString path = m_home->path() + "/Downloads/"_L1 + item;
    QVERIFY(hasLogged("[INFO] Install - Launching: "_L1 + path));
    QVERIFY(m_commands->calls(u"xdg-open"_s).isEmpty());
    answer(u"Restart?"_s, u"alt+y"_s);

    QTRY_COMPARE_WITH_TIMEOUT(m_program->state(), QProcess::NotRunning, 20'000);
    QCOMPARE(m_program->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_program->exitCode(), 0);
    QTRY_COMPARE(m_commands->calls(u"xdg-open"_s), QUrl::fromLocalFile(path).toEncoded() + "\n\n");
    QVERIFY(QFileInfo::exists(path));
}

void TestSelfUpdate::declinedRestartLeavesTheProgramRunning()
{
    start(u"Quillmere.dmg"_s, "new version");
    pressDownload();
    answer(u"Restart required"_s, u"Return"_s);
    QTRY_VERIFY_WITH_TIMEOUT(!windowId(u"Restart?"_s).isEmpty(), 30'000);
    answer(u"Restart?"_s, u"alt+n"_s);
    QTRY_VERIFY_WITH_TIMEOUT(
        windowId(u"Restart?"_s).isEmpty() && windowId(u"Veuillez patienter"_s).isEmpty(), 20'000);
    QCOMPARE(m_program->state(), QProcess::Running);
    QVERIFY(m_commands->calls(u"xdg-open"_s).isEmpty());
    QCOMPARE(PrivateHome::read(m_home->path() + "/Downloads/Quillmere.dmg"_L1), "new version");
    press(mainTitle, u"alt+F4"_s);
    QTRY_COMPARE_WITH_TIMEOUT(m_program->state(), QProcess::NotRunning, 20'000);
    QCOMPARE(m_program->exitCode(), 0);
}

QTEST_GUILESS_MAIN(TestSelfUpdate)
#include "tst_selfupdate.moc"
