#include "faults/steeredprogram.h"
#include "support/httpserver.h"
#include "support/privatehome.h"
#include "support/settingsfile.h"
#include "support/standin.h"
#include "support/testline.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <optional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString mainTitle = u"Quillmere v26.3.0"_s;
const QString waitTitle = u"Veuillez patienter"_s;
const QString preferencesTitle = u"Preferences"_s;
const QString workFolder = u".quillmere_extract"_s;

enum Way
{
    ByClosing,
    BySigterm,
    ByQuitEvent
};

/// An archive that is long to unpack, of empty files.
QByteArray longArchive()
{
    QProcess python;
    python.start(u"python3"_s, {u"-c"_s, u"import sys, zipfile\n"
                                         "with zipfile.ZipFile(sys.stdout.buffer, 'w') as z:\n"
                                         "    for i in range(2000):\n"
                                         "        z.writestr(f'files/{i}.txt', '')\n"_s});
    if (!python.waitForFinished(60'000) || python.exitCode() != 0) {
        qFatal("python3 makes no archive");
    }
    return python.readAllStandardOutput();
}

bool isAlive(qint64 process)
{
    return ::kill(pid_t(process), 0) == 0;
}

} // namespace

/// The program ends whenever it is asked to: as asked, without a word of a crash, with the user's
/// settings as they were, and so that the next start finds all it needs.
class TestQuitting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void endsWhenAsked_data();
    void endsWhenAsked();
    void endsAfterItsOwnUpdate_data();
    void endsAfterItsOwnUpdate();
    void hiddenDuringTheFirstLoadItGoesOn();
    void deliveredProgramEndsBySigterm_data();
    void deliveredProgramEndsBySigterm();

private:
    /// How to bring the program into a state from its start on; ends with a check of it.
    using Reach = void (TestQuitting::*)();
    struct Moment
    {
        const char* name;
        Reach reach;
        QStringList windows;   ///< that are open then, the main one too
        QStringList downloads; ///< what lies in the download folder afterwards
        int loads = 1;         ///< of the catalogue, up to the end by closing
    };
    [[nodiscard]] static QList<Moment> moments();

    void reachLoad();
    void reachRetryWait();
    void reachCatalogueBox();
    void reachScan();
    void reachTable();
    void reachDownload();
    void reachExtraction();
    void reachDownloadErrorBox();
    void reachCannotWriteBox();
    void reachRestartRequiredBox();
    void reachRestartBox();
    void reachAbout();
    void reachPreferences();
    void reachColorChooser();
    void reachFolderChooser();
    void reachResetDoneBox();
    void reachResetFailedBox();
    void reachSaveFailedBox();

    void writeSettings(const QString& downloadFolder = u"~/Downloads"_s);
    void offer(const QByteArray& name, const QByteArray& fileName, const HttpReply& installer);
    void start(TestLine at = {});
    void holdScans() { m_home->write(u"hold"_s, {}); }
    void releaseScans() { QFile::remove(m_home->path() + "/hold"_L1); }
    [[nodiscard]] bool isScanHeld() const { return QFile::exists(m_home->path() + "/hold"_L1); }
    [[nodiscard]] bool hasLogged(const QString& text) const;
    [[nodiscard]] QStringList downloads() const;

    void closeAllWindows(TestLine at = {});
    void endByClosing(TestLine at = {});
    void endBySigterm(TestLine at = {});
    void endByQuitEvent(TestLine at = {});
    void verifyWhatIsLeft(const QStringList& expectedDownloads, TestLine at = {});
    void theNextRunWorks(TestLine at = {});
    /// Uses the window with its table as a user does, to the program's end.
    void downloadAndClose(const QString& fileName, const QByteArray& installer, TestLine at = {});

    std::optional<PrivateHome> m_home;
    std::optional<StandIns> m_commands;
    std::optional<HttpServer> m_server;
    std::optional<SteeredProgram> m_program;
    QByteArray m_archive;
    QByteArray m_config; ///< what the settings file holds afterwards; null where there is no file
};

void TestQuitting::initTestCase()
{
    m_archive = longArchive();
}

void TestQuitting::init()
{
    m_home.emplace();
    m_commands.emplace();
    m_commands->add(u"find"_s, "while [ -e \"$HOME/hold\" ]; do sleep 0.02; done\n");
    m_server.emplace();
    QVERIFY(QDir(m_home->path()).mkpath(u"Downloads"_s));
    m_program.emplace();
    writeSettings();
    offer("Tool", "tool.dmg", {.body = "installer"});
}

void TestQuitting::cleanup()
{
    if (QTest::currentTestFailed()) {
        qDebug().noquote() << PrivateHome::read(m_home->logPath());
    }
    m_program.reset();
    if (m_home) {
        releaseScans();
    }
    m_server.reset();
    m_commands.reset();
    m_home.reset();
}

void TestQuitting::writeSettings(const QString& downloadFolder)
{
    QDir(m_home->configPath()).removeRecursively();
    m_home->write(u"Library/Quillmere/config.xml"_s,
                  settingsXml({.baseUrl = m_server->url(),
                               .csvSeparator = u";"_s,
                               .downloadFolder = downloadFolder}));
    m_config = PrivateHome::read(m_home->configPath());
}

void TestQuitting::offer(const QByteArray& name, const QByteArray& fileName,
                         const HttpReply& installer)
{
    m_server->forget();
    m_server->reply(u"catalogue.csv"_s,
                    {.body = "Name;Version;Filename;Ignored\n" + name + ";1;" + fileName + ";0\n"});
    m_server->reply("soft/"_L1 + QString::fromLatin1(fileName), installer);
}

void TestQuitting::start(TestLine at)
{
    QFile::remove(m_home->logPath()); // of an earlier run
    VERIFY_AT(at, m_program->start());
}

bool TestQuitting::hasLogged(const QString& text) const
{
    return QString::fromUtf8(PrivateHome::read(m_home->logPath())).contains(text);
}

QStringList TestQuitting::downloads() const
{
    return QDir(m_home->path() + "/Downloads"_L1)
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

QList<TestQuitting::Moment> TestQuitting::moments()
{
    const QString error = u"Error"_s;
    const QStringList alone = {mainTitle};
    const auto with = [](const QStringList& others) {
        QStringList windows = others + QStringList{mainTitle};
        windows.sort();
        return windows;
    };
    using T = TestQuitting;
    return {
        {"load", &T::reachLoad, alone, {}},
        {"retry wait", &T::reachRetryWait, alone, {}},
        {"catalogue box", &T::reachCatalogueBox, with({u"File Error"_s}), {}},
        {"scan", &T::reachScan, with({waitTitle}), {}},
        {"table", &T::reachTable, alone, {}},
        {"download", &T::reachDownload, alone, {}},
        {"extraction", &T::reachExtraction, with({waitTitle}), {workFolder, u"tool.zip"_s}},
        {"download error box", &T::reachDownloadErrorBox, with({u"Download Error"_s}), {}},
        {"cannot write box", &T::reachCannotWriteBox, with({u"File Error"_s}), {}},
        {"restart required box", &T::reachRestartRequiredBox, with({u"Restart required"_s}), {}},
        {"restart box", &T::reachRestartBox, with({u"Restart?"_s}), {u"Quillmere.dmg"_s}},
        {"about box", &T::reachAbout, with({u"aboutDialog"_s}), {}},
        {"preferences", &T::reachPreferences, with({preferencesTitle}), {}},
        {"colour chooser",
         &T::reachColorChooser,
         with({preferencesTitle, u"Choisissez une couleur"_s}),
         {}},
        {"folder chooser",
         &T::reachFolderChooser,
         with({preferencesTitle, u"Download Folder"_s}),
         {}},
        {"reset done box", &T::reachResetDoneBox, with({preferencesTitle, u"Success"_s}), {}},
        {"reset failed box", &T::reachResetFailedBox, with({preferencesTitle, error}), {}},
        {"save failed box", &T::reachSaveFailedBox, with({error}), {}, 2},
    };
}

void TestQuitting::reachLoad()
{
    m_server->forget();
    m_server->reply(u"catalogue.csv"_s, {.manner = HttpReply::Silent});
    start();
    QTRY_COMPARE_WITH_TIMEOUT(m_server->requests().size(), 1, 30'000);
}

void TestQuitting::reachRetryWait()
{
    m_server->forget();
    m_server->reply(u"catalogue.csv"_s, {.body = {}});
    start();
    QTRY_VERIFY_WITH_TIMEOUT(hasLogged(u"WebProfiler - First attempt failed"_s), 30'000);
}

void TestQuitting::reachCatalogueBox()
{
    m_server->forget();
    m_server->reply(u"catalogue.csv"_s, {.body = "no catalogue"});
    start();
    QTRY_VERIFY_WITH_TIMEOUT(hasLogged(u"WebProfiler - data updated"_s), 30'000);
}

void TestQuitting::reachScan()
{
    holdScans();
    start();
    QTRY_VERIFY_WITH_TIMEOUT(hasLogged(u"SysProfiler - data Updating..."_s), 30'000);
}

void TestQuitting::reachTable()
{
    start();
    QTRY_VERIFY_WITH_TIMEOUT(hasLogged(u"SysProfiler - data updated"_s), 30'000);
    QTRY_COMPARE_WITH_TIMEOUT(m_program->windows(), QStringList{mainTitle}, 30'000);
}

void TestQuitting::reachDownload()
{
    offer("Tool", "tool.dmg",
          {.body = "part", .manner = HttpReply::Stall, .announcedLength = 1'000'000});
    reachTable();
    m_program->tell("press downloadBtn");
    QTRY_VERIFY_WITH_TIMEOUT(m_server->requests().contains(u"/soft/tool.dmg"_s), 30'000);
}

void TestQuitting::reachExtraction()
{
    offer("Tool", "tool.zip", {.body = m_archive});
    reachTable();
    m_program->stopNextExtraction();
    m_program->tell("press downloadBtn");
    QVERIFY(m_program->waitForStoppedExtraction());
    QVERIFY(!hasLogged(u"Extract - Done"_s));
}

void TestQuitting::reachDownloadErrorBox()
{
    offer("Tool", "tool.dmg", {.body = "gone", .status = 404});
    reachTable();
    m_program->tell("press downloadBtn");
}

void TestQuitting::reachCannotWriteBox()
{
    writeSettings(m_home->path() + "/nowhere"_L1);
    reachTable();
    m_program->tell("press downloadBtn");
}

void TestQuitting::reachRestartRequiredBox()
{
    offer("Quillmere", "Quillmere.dmg", {.body = "new version"});
    reachTable();
    m_program->tell("press downloadBtn");
}

void TestQuitting::reachRestartBox()
{
    reachRestartRequiredBox();
    QTRY_COMPARE_WITH_TIMEOUT(m_program->windows(), (QStringList{mainTitle, u"Restart required"_s}),
                              30'000);
    m_program->tell("press OK");
}

void TestQuitting::reachAbout()
{
    reachTable();
    m_program->tell("trigger actionAbout");
}

void TestQuitting::reachPreferences()
{
    reachTable();
    m_program->tell("trigger actionPreferences");
    QTRY_COMPARE_WITH_TIMEOUT(m_program->windows(), (QStringList{preferencesTitle, mainTitle}),
                              30'000);
}

void TestQuitting::reachColorChooser()
{
    reachPreferences();
    m_program->tell("press colorButton_0");
}

void TestQuitting::reachFolderChooser()
{
    reachPreferences();
    m_program->tell("press browseButton");
}

void TestQuitting::reachResetDoneBox()
{
    reachPreferences();
    QFile defaults(u":/resources/default-config.xml"_s);
    QVERIFY(defaults.open(QIODevice::ReadOnly));
    m_config = defaults.readAll();
    m_program->tell("press resetButton");
}

void TestQuitting::reachResetFailedBox()
{
    reachPreferences();
    QVERIFY(QFile::remove(m_home->configPath()));
    m_config = QByteArray();
    m_program->tell("press resetButton");
}

void TestQuitting::reachSaveFailedBox()
{
    reachPreferences();
    QVERIFY(QFile::remove(m_home->configPath()));
    QVERIFY(QDir().mkpath(m_home->configPath()));
    m_config = QByteArray();
    m_program->tell("press OK");
}

void TestQuitting::endsWhenAsked_data()
{
    QTest::addColumn<int>("moment");
    QTest::addColumn<Way>("way");

    const QList<Moment> all = moments();
    for (int index = 0; index < all.size(); ++index) {
        QTest::addRow("%s, by closing", all[index].name) << index << ByClosing;
        QTest::addRow("%s, by SIGTERM", all[index].name) << index << BySigterm;
        QTest::addRow("%s, by the quit event", all[index].name) << index << ByQuitEvent;
    }
}

void TestQuitting::endsWhenAsked()
{
    QFETCH(int, moment);
    QFETCH(Way, way);
    const Moment now = moments().at(moment);

    (this->*now.reach)();
    if (QTest::currentTestFailed()) {
        return;
    }
    QTRY_COMPARE_WITH_TIMEOUT(m_program->windows(), now.windows, 30'000);
    switch (way) {
    case ByClosing:
        endByClosing();
        break;
    case BySigterm:
        endBySigterm();
        break;
    case ByQuitEvent:
        endByQuitEvent();
        break;
    }
    if (QTest::currentTestFailed()) {
        return;
    }
    if (const qint64 extraction = m_program->extraction()) {
        // A signal ends this one process alone: what it has started goes on to its own end.
        QCOMPARE(isAlive(extraction), way == BySigterm);
    }
    const qsizetype loads = way == ByClosing ? now.loads : 1;
    QCOMPARE(PrivateHome::read(m_home->logPath()).count("WebProfiler - data Updating..."), loads);
    // The end may come before the last one's request has gone out.
    const qsizetype requests = m_server->requests().count(u"/catalogue.csv"_s);
    QVERIFY2(requests == 1 || requests == loads, qPrintable(QString::number(requests)));
    verifyWhatIsLeft(now.downloads);
    if (!QTest::currentTestFailed()) {
        theNextRunWorks();
    }
}

void TestQuitting::endByClosing(TestLine at)
{
    closeAllWindows(at);
    if (isScanHeld()) {
        // The program waits for its scan, which ends after 30 s at the latest.
        VERIFY_AT(at, !m_program->waitForEnd(300));
        releaseScans();
    }
    // What follows a box, a scan for example, opens its window only after the box has closed.
    for (int attempt = 0; attempt < 10 && !m_program->waitForEnd(3'000); ++attempt) {
        m_program->tell("close");
    }
    VERIFY_AT(at, m_program->waitForEnd());
    COMPARE_AT(at, m_program->process().exitStatus(), QProcess::NormalExit);
    COMPARE_AT(at, m_program->process().exitCode(), 0);
}

void TestQuitting::closeAllWindows(TestLine at)
{
    QStringList left = m_program->windows();
    while (left.size() > 1) {
        m_program->tell("close");
        const QStringList before = std::exchange(left, m_program->windows());
        VERIFY2_AT(at, left != before, qPrintable(before.join(u", "_s)));
    }
    m_program->tell("close");
}

void TestQuitting::endBySigterm(TestLine at)
{
    m_program->process().terminate();
    VERIFY_AT(at, m_program->waitForEnd());
    releaseScans();
    COMPARE_AT(at, m_program->process().exitStatus(), QProcess::CrashExit);
    COMPARE_AT(at, m_program->process().exitCode(), SIGTERM);
}

void TestQuitting::endByQuitEvent(TestLine at)
{
    m_program->tell("quit");
    if (isScanHeld()) {
        VERIFY_AT(at, !m_program->waitForEnd(300));
        releaseScans();
    }
    VERIFY_AT(at, m_program->waitForEnd());
    COMPARE_AT(at, m_program->process().exitStatus(), QProcess::NormalExit);
    COMPARE_AT(at, m_program->process().exitCode(), 0);
}

void TestQuitting::verifyWhatIsLeft(const QStringList& expectedDownloads, TestLine at)
{
    COMPARE_AT(at, m_program->complaints(), QString());
    const QByteArray log = PrivateHome::read(m_home->logPath());
    VERIFY_AT(at, log.startsWith("=== Quillmere 26.3.0"));
    VERIFY_AT(at, log.endsWith('\n'));
    COMPARE_AT(at, PrivateHome::read(m_home->configPath()), m_config);
    COMPARE_AT(at, downloads(), expectedDownloads);
    // Nothing half-written beside the settings.
    const QStringList files = QDir(m_home->userFolder()).entryList(QDir::AllEntries | QDir::Hidden);
    COMPARE_AT(at, files.filter(u"config"_s).size(),
               QFileInfo::exists(m_home->configPath()) ? 1 : 0);
}

void TestQuitting::theNextRunWorks(TestLine at)
{
    writeSettings();
    offer("Next", "next.dmg", {.body = "next installer"});
    const QByteArray config = m_config;
    m_program.emplace();
    reachTable();
    downloadAndClose(u"next.dmg"_s, "next installer", at);
    COMPARE_AT(at, m_program->complaints(), QString());
    COMPARE_AT(at, PrivateHome::read(m_home->configPath()), config);
}

void TestQuitting::downloadAndClose(const QString& fileName, const QByteArray& installer,
                                    TestLine at)
{
    m_program->tell("press downloadBtn");
    TRY_COMPARE_AT(at, PrivateHome::read(m_home->path() + "/Downloads/"_L1 + fileName), installer,
                   30'000);
    TRY_COMPARE_AT(at, m_program->windows(), QStringList{mainTitle}, 30'000);
    m_program->tell("close");
    VERIFY_AT(at, m_program->waitForEnd());
    COMPARE_AT(at, m_program->process().exitCode(), 0);
}

void TestQuitting::endsAfterItsOwnUpdate_data()
{
    QTest::addColumn<bool>("isScanHeld");
    QTest::newRow("at once") << false;
    QTest::newRow("with the scan that it waits for") << true;
}

void TestQuitting::endsAfterItsOwnUpdate()
{
    QFETCH(bool, isScanHeld);
    reachRestartBox();
    QTRY_COMPARE_WITH_TIMEOUT(m_program->windows(), (QStringList{mainTitle, u"Restart?"_s}),
                              30'000);
    const auto scans = [this] {
        return PrivateHome::read(m_home->logPath()).count("SysProfiler - New thread start");
    };
    QCOMPARE(scans(), 1);
    if (isScanHeld) {
        holdScans();
    }
    m_program->tell("press Yes");
    if (isScanHeld) {
        QTRY_COMPARE_WITH_TIMEOUT(scans(), 2, 30'000);
        QVERIFY(!m_program->waitForEnd(300));
        releaseScans();
    }
    QVERIFY(m_program->waitForEnd());
    QCOMPARE(m_program->process().exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_program->process().exitCode(), 0);
    QCOMPARE(scans(), 2);
    verifyWhatIsLeft({u"Quillmere.dmg"_s});
    if (!QTest::currentTestFailed()) {
        theNextRunWorks();
    }
}

void TestQuitting::hiddenDuringTheFirstLoadItGoesOn()
{
    reachRetryWait();
    m_program->tell("hide");
    QCOMPARE(m_program->windows(), QStringList());
    offer("Tool", "tool.dmg", {.body = "installer"});
    QTRY_VERIFY_WITH_TIMEOUT(hasLogged(u"SysProfiler - data updated"_s), 30'000);
    QVERIFY(!m_program->waitForEnd(300));
    m_program->tell("show");
    QTRY_COMPARE_WITH_TIMEOUT(m_program->windows(), QStringList{mainTitle}, 30'000);
    downloadAndClose(u"tool.dmg"_s, "installer");
}

void TestQuitting::deliveredProgramEndsBySigterm_data()
{
    QTest::addColumn<int>("moment");
    for (int index = 0; index < 4; ++index) {
        QTest::newRow(moments().at(index).name) << index;
    }
}

void TestQuitting::deliveredProgramEndsBySigterm()
{
    QFETCH(int, moment);
    m_program.emplace(QStringLiteral(QUILLMERE_PROGRAM));
    (this->*moments().at(moment).reach)();
    if (QTest::currentTestFailed()) {
        return;
    }
    endBySigterm();
    if (!QTest::currentTestFailed()) {
        verifyWhatIsLeft({});
    }
    if (!QTest::currentTestFailed()) {
        theNextRunWorks();
    }
}

QTEST_GUILESS_MAIN(TestQuitting)
#include "tst_quitting.moc"
