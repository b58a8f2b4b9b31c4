#include "app/buildinfo.h"
#include "support/httpserver.h"
#include "support/privatehome.h"
#include "support/propertylist.h"
#include "support/settingsfile.h"
#include "support/standin.h"
#include "support/startbanner.h"
#include "support/testline.h"
#include "virtualdisplay.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QHash>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTest>
#include <QUrl>

#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString title = u"Quillmere v26.3.0"_s;
const QString boxTitle = u"File Error"_s;
const QString waitTitle = u"Veuillez patienter"_s;

QString xdotool(const QStringList& arguments)
{
    return QString::fromUtf8(outputOf(u"xdotool"_s, arguments)).trimmed();
}

/// Whether @p picture shows rows of each of the four default colours.
bool showsAllColors(const QImage& picture)
{
    QHash<QRgb, int> pixels = {{0xffd4d4d4, 0}, {0xffffdada, 0}, {0xffdaffda, 0}, {0xffdadaff, 0}};
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (const auto found = pixels.find(picture.pixel(x, y)); found != pixels.end()) {
                ++*found;
            }
        }
    }
    return std::all_of(pixels.cbegin(), pixels.cend(), [](int count) { return count > 5'000; });
}

/// What a picture of the window shows of one of the table's rows, in the picture's pixels.
struct ShownRow
{
    int top = 0;
    int height = 0;
    int button = -1; ///< the middle of its button from the left; -1 where none is whole in width
};

/// The middle of the button that begins a little below @p y.
int buttonIn(const QImage& picture, int y)
{
    int width = 0;
    for (int x = 0; x < picture.width(); ++x) {
        width = picture.pixel(x, y + 5) == 0xffd0d0d0 ? width + 1 : 0;
        if (width == 18) { // of 24, less the border and its round corners
            return x - 9;
        }
    }
    return -1;
}

/// The rows from the top, all of them grey, where no text covers them.
QList<ShownRow> shownRows(const QImage& picture)
{
    const QRgb grey = 0xffd4d4d4;
    const int x = 300; // in the column of the installed versions
    QList<ShownRow> rows;
    for (int y = 0, height = 0; y < picture.height(); ++y) {
        if (picture.pixel(x, y) == grey) {
            ++height;
            continue;
        }
        if (height >= 8) {
            rows.append({y - height, height, buttonIn(picture, y - height)});
        }
        height = 0;
    }
    return rows;
}

} // namespace

/// Runs the built program as its user does: its own process, real windows under a window manager,
/// the real `find`, a catalogue fetched over HTTP.
class TestProgram : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void showsTheColoredTable();
    void showsTheWaitDialogDuringTheScan();
    void scansAfterTheErrorBoxAndWritesDefaultSettings();
    void endsByItselfWhenClosedDuringTheFirstLoad();
    void endsByItselfWhenClosedBeforeTheRetry();
    void runsWithoutALogFolder();
    void clickAsksForTheRowThatWasMeant_data();
    void clickAsksForTheRowThatWasMeant();

private:
    void writeSettings(const QString& baseUrl);
    void install(const QString& path, const QByteArray& version);
    void start(TestLine at = {});
    /// The titles of the program's visible windows, sorted.
    [[nodiscard]] QStringList windows() const;
    /// The ids of those whose title matches.
    [[nodiscard]] QString search(const QString& namePattern) const;
    [[nodiscard]] QString windowId(const QString& windowTitle) const;
    /// Presses a key in the window with that title; whether @p isDone becomes true then.
    [[nodiscard]] bool press(const QString& windowTitle, const QString& key,
                             const std::function<bool()>& isDone) const;
    void closeBox(TestLine at = {});
    [[nodiscard]] QImage picture() const;
    /// Lists @p count applications that nobody has installed, and shows the window as it opens.
    void showTable(int count, TestLine at = {});
    /// Clicks with the display's mouse on a row's button; whether that asks once for the installer
    /// of @p entry, and a second click there ends the download.
    [[nodiscard]] bool clickAsksFor(int entry, const ShownRow& row);
    void turnWheel(int notches, TestLine at = {}) const;
    [[nodiscard]] bool hasLogged(const QString& text) const;
    /// Closes the main window and watches the program's end, in which no other window may show.
    void closeAndVerifyTheEnd(TestLine at = {});

    VirtualDisplay m_display;
    QString m_find; ///< the machine's own
    std::optional<PrivateHome> m_home;
    std::optional<StandIns> m_commands;
    std::optional<HttpServer> m_server;
    QProcessEnvironment m_environment;
    std::optional<QProcess> m_program;
};

void TestProgram::initTestCase()
{
    for (const QString& command : {u"import"_s, u"find"_s}) {
        QVERIFY2(!QStandardPaths::findExecutable(command).isEmpty(),
                 qPrintable(command + " is missing; ./test.sh installs it"_L1));
    }
    m_find = QStandardPaths::findExecutable(u"find"_s);
    m_display.start();
}

void TestProgram::init()
{
    m_home.emplace();
    m_commands.emplace();
    // The real find, in the folder that stands for "/Applications".
    m_commands->add(u"find"_s, "test \"$1\" = /Applications || exit 1\n"
                               "shift\n"
                               "while [ -e \"$HOME/hold\" ]; do sleep 0.02; done\n"
                               "exec '" +
                                   m_find.toLocal8Bit() + "' \"$HOME/Applications\" \"$@\"\n");
    m_server.emplace();
    m_environment = QProcessEnvironment::systemEnvironment();
    m_environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    m_environment.insert(u"QT_FORCE_STDERR_LOGGING"_s, u"1"_s);
    // The desktop of whoever runs the test has no part in it.
    m_environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path=/nowhere"_s);
    for (const QString& name : {u"QT_MESSAGE_PATTERN"_s, u"QT_LOGGING_RULES"_s, u"http_proxy"_s,
                                u"https_proxy"_s, u"all_proxy"_s, u"no_proxy"_s}) {
        m_environment.remove(name);
        m_environment.remove(name.toUpper());
    }
}

void TestProgram::cleanup()
{
    if (m_program) {
        if (QTest::currentTestFailed()) {
            qDebug().noquote() << m_program->readAllStandardError();
        }
        stopProcess(*m_program);
    }
    m_program.reset();
    m_server.reset();
    m_commands.reset();
    m_home.reset();
}

void TestProgram::writeSettings(const QString& baseUrl)
{
    m_home->write(u"Library/Quillmere/config.xml"_s,
                  settingsXml({.baseUrl = baseUrl, .csvSeparator = u";"_s, .downloadFolder = {}}));
}

void TestProgram::install(const QString& path, const QByteArray& version)
{
    m_home->write(u"Applications/"_s + path + "/Contents/Info.plist"_L1, versionPlist(version));
}

void TestProgram::start(TestLine at)
{
    m_program.emplace();
    m_program->setProcessEnvironment(m_environment);
    endWithThisProcess(*m_program);
    m_program->start(QStringLiteral(QUILLMERE_PROGRAM), QStringList());
    VERIFY2_AT(at, m_program->waitForStarted(), qPrintable(m_program->errorString()));
}

QStringList TestProgram::windows() const
{
    QStringList askForNames;
    for (const QString& id : search(u"."_s).split(u'\n', Qt::SkipEmptyParts)) {
        askForNames << u"getwindowname"_s << id;
    }
    QStringList titles;
    if (!askForNames.isEmpty()) {
        titles = xdotool(askForNames).split(u'\n', Qt::SkipEmptyParts);
    }
    titles.sort();
    return titles;
}

QString TestProgram::search(const QString& namePattern) const
{
    return xdotool({u"search"_s, u"--onlyvisible"_s, u"--all"_s, u"--pid"_s,
                    QString::number(m_program->processId()), u"--name"_s, namePattern});
}

QString TestProgram::windowId(const QString& windowTitle) const
{
    return search(u'^' + QRegularExpression::escape(windowTitle) + u'$');
}

bool TestProgram::press(const QString& windowTitle, const QString& key,
                        const std::function<bool()>& isDone) const
{
    // Again where need be: a key is lost while the window manager takes in the keyboard's map.
    const QDeadlineTimer patience(30'000);
    do {
        if (const QString id = windowId(windowTitle); !id.isEmpty()) {
            xdotool({u"windowactivate"_s, u"--sync"_s, id, u"key"_s, key});
        }
        if (QTest::qWaitFor(isDone, 2'000)) {
            return true;
        }
    } while (!patience.hasExpired());
    return false;
}

void TestProgram::closeBox(TestLine at)
{
    VERIFY_AT(at, press(boxTitle, u"Return"_s, [this] { return !windows().contains(boxTitle); }));
}

QImage TestProgram::picture() const
{
    return QImage::fromData(
        outputOf(u"import"_s, {u"-silent"_s, u"-window"_s, windowId(title), u"ppm:-"_s}), "PPM");
}

bool TestProgram::hasLogged(const QString& text) const
{
    return QString::fromUtf8(PrivateHome::read(m_home->logPath())).contains(text);
}

void TestProgram::closeAndVerifyTheEnd(TestLine at)
{
    QStringList seen;
    VERIFY_AT(at, press(title, u"alt+F4"_s, [this, &seen] {
                  if (m_program->state() == QProcess::NotRunning) {
                      return true;
                  }
                  seen += windows();
                  return false;
              }));
    seen.removeAll(title);
    COMPARE_AT(at, seen, QStringList());
    COMPARE_AT(at, m_program->exitStatus(), QProcess::NormalExit);
    COMPARE_AT(at, m_program->exitCode(), 0);
}

void TestProgram::showsTheColoredTable()
{
    writeSettings(m_server->url());
    const QByteArray settings = PrivateHome::read(m_home->configPath());
    m_home->write(u"Library/Quillmere/quillmere.log"_s, "of an earlier run\n");
    m_server->reply(u"catalogue.csv"_s,
                    {.body = "Name;Version;Release date;Filename;Ignored\n"
                             "Amp;1.0;;a.zip;0\nMixer;2.0;;m.zip;0\nSynth;2.0;;s.zip;0\n"
                             "Tuner;1.0;;t.zip;0\nHidden;1.0;;h.zip;1\n"});
    install(u"Mixer.app"_s, "1.9");
    install(u"Studio/Synth 2.app"_s, "2.0");
    install(u"Studio/Synth 2.app/Contents/Helper.app"_s, "9.9");
    install(u"Tuner.app"_s, "1.1");
    const QString folder = m_home->path() + "/Applications/"_L1;

    start();
    QTRY_VERIFY_WITH_TIMEOUT(hasLogged(u"SysProfiler - data updated"_s), 30'000);
    QTRY_COMPARE_WITH_TIMEOUT(windows(), QStringList{title}, 10'000);

    const QString header =
        QString::fromUtf8(PrivateHome::read(m_home->logPath())).section(u'\n', 0, 0);
    static const QRegularExpression form(
        uR"(^=== Quillmere 26\.3\.0 — \d{4}-\d\d-\d\d \d\d:\d\d:\d\d ===$)"_s);
    QVERIFY2(form.match(header).hasMatch(), qUtf8Printable(header));
    const QStringList log = m_home->logLines();
    QCOMPARE(log.mid(0, 7), startBanner());
    QStringList story = {u"[INFO] Config - Base URL: "_s + m_server->url(),
                         u"[INFO] Config - CSV: catalogue.csv"_s,
                         u"[INFO] Config - Download folder: (default: ~/Downloads)"_s,
                         u"[INFO] WebProfiler - data Updating..."_s,
                         u"[INFO] SysProfiler - New thread start"_s,
                         u"[INFO] SysProfiler - data Updating..."_s,
                         u"[INFO] SysProfiler [find] — 3 apps found"_s,
                         u"[INFO]   + Mixer (%1Mixer.app)"_s.arg(folder),
                         u"[INFO]   + Synth 2 (%1Studio/Synth 2.app)"_s.arg(folder),
                         u"[INFO]   + Tuner (%1Tuner.app)"_s.arg(folder),
                         u"[WARNING] Profiler - 'Amp' → NOT FOUND in system"_s,
                         u"[INFO] Profiler - 'Mixer' → matched 'Mixer' v1.9"_s,
                         u"[INFO] Profiler - 'Synth' → matched 'Synth 2' v2.0"_s,
                         u"[INFO] Profiler - 'Tuner' → matched 'Tuner' v1.1"_s};
    const QSet<QString> told(story.begin(), story.end());
    QStringList found;
    std::copy_if(log.begin(), log.end(), std::back_inserter(found),
                 [&told](const QString& line) { return told.contains(line); });
    QCOMPARE(found, story);
    QCOMPARE(m_server->requests(), QStringList{u"/catalogue.csv"_s});

    QTRY_VERIFY_WITH_TIMEOUT(showsAllColors(picture()), 10'000);

    closeAndVerifyTheEnd();
    QCOMPARE(PrivateHome::read(m_home->configPath()), settings);
}

void TestProgram::showsTheWaitDialogDuringTheScan()
{
    writeSettings(m_server->url());
    m_server->reply(u"catalogue.csv"_s,
                    {.body = "Name;Version;Release date;Filename;Ignored\nAmp;1.0;;a.zip;0\n"});
    const QString hold = m_home->write(u"hold"_s, {});
    start();
    QTRY_COMPARE_WITH_TIMEOUT(windows(), (QStringList{title, waitTitle}), 30'000);
    QVERIFY(!hasLogged(u"apps found"_s));
    QVERIFY(QFile::remove(hold));
    QTRY_COMPARE_WITH_TIMEOUT(windows(), QStringList{title}, 10'000);
    QVERIFY(hasLogged(u"SysProfiler [find] — 0 apps found"_s));
    closeAndVerifyTheEnd();
}

void TestProgram::scansAfterTheErrorBoxAndWritesDefaultSettings()
{
    // Takes the place of the network: no request leaves the machine, and none succeeds.
    m_environment.insert(u"http_proxy"_s, m_server->url());
    m_environment.insert(u"https_proxy"_s, m_server->url());
    start();
    QTRY_COMPARE_WITH_TIMEOUT(windows(), (QStringList{boxTitle, title}), 30'000);
    QVERIFY(!hasLogged(u"SysProfiler - New thread start"_s));
    const QString host = QUrl(BuildInfo::defaultBaseUrl()).host() + ":443"_L1;
    QCOMPARE(m_server->requests(), (QStringList{host, host}));

    closeBox();
    QTRY_VERIFY_WITH_TIMEOUT(hasLogged(u"SysProfiler - data updated"_s), 20'000);
    QTRY_COMPARE_WITH_TIMEOUT(windows(), QStringList{title}, 10'000);
    closeAndVerifyTheEnd();

    QFile defaults(u":/resources/default-config.xml"_s);
    QVERIFY(defaults.open(QIODevice::ReadOnly));
    QCOMPARE(PrivateHome::read(m_home->configPath()), defaults.readAll());
    QVERIFY(QFile::permissions(m_home->configPath()).testFlag(QFile::WriteOwner));
    QCOMPARE(m_home->logLines().mid(0, 7), startBanner());
}

void TestProgram::endsByItselfWhenClosedDuringTheFirstLoad()
{
    writeSettings(m_server->url());
    m_server->reply(u"catalogue.csv"_s, {.body = {}, .manner = HttpReply::Silent});
    start();
    QTRY_COMPARE_WITH_TIMEOUT(m_server->requests().size(), 1, 30'000);
    QTRY_COMPARE_WITH_TIMEOUT(windows(), QStringList{title}, 10'000);
    closeAndVerifyTheEnd();
    QVERIFY(!hasLogged(u"SysProfiler - New thread start"_s));
    QCOMPARE(m_server->requests().size(), 1);
}

void TestProgram::endsByItselfWhenClosedBeforeTheRetry()
{
    writeSettings(m_server->url());
    m_server->reply(u"catalogue.csv"_s, {.body = {}});
    m_server->reply(u"catalogue.csv"_s, {.body = {}, .manner = HttpReply::Silent});
    start();
    QTRY_VERIFY_WITH_TIMEOUT(hasLogged(u"WebProfiler - First attempt failed"_s), 30'000);
    QTRY_COMPARE_WITH_TIMEOUT(windows(), QStringList{title}, 10'000);
    closeAndVerifyTheEnd();
    QVERIFY(!hasLogged(u"SysProfiler - New thread start"_s));
}

void TestProgram::runsWithoutALogFolder()
{
    m_home->write(u"Library"_s, "a file in the folder's place\n");
    start();
    // Without a folder there are no settings either, so no address to load from.
    QTRY_COMPARE_WITH_TIMEOUT(windows(), (QStringList{boxTitle, title}), 30'000);
    closeBox();
    QTRY_COMPARE_WITH_TIMEOUT(windows(), QStringList{title}, 10'000);
    closeAndVerifyTheEnd();

    QStringList lines;
    for (const QString& line : QString::fromUtf8(m_program->readAllStandardError()).split(u'\n')) {
        if (line.contains(u" [INFO] ")) {
            lines.append(line.section(u' ', 1));
        }
    }
    QCOMPARE(lines.mid(0, 7), startBanner());
    QCOMPARE(PrivateHome::read(m_home->path() + "/Library"_L1), "a file in the folder's place\n");
}

void TestProgram::showTable(int count, TestLine at)
{
    writeSettings(m_server->url());
    QByteArray catalogue = "Name;Version;Release date;Filename;Ignored\n";
    for (int i = 0; i < count; ++i) {
        const QByteArray file = "app" + QByteArray::number(i) + ".dmg";
        catalogue += "Application " + QByteArray::number(i) + ";1.0;;" + file + ";0\n";
        m_server->reply("soft/"_L1 + QString::fromLatin1(file),
                        {.body = "ab", .manner = HttpReply::Stall, .announcedLength = 4});
    }
    m_server->reply(u"catalogue.csv"_s, {.body = catalogue});
    start(at);
    TRY_VERIFY_AT(at, hasLogged(u"SysProfiler - data updated"_s), 30'000);
    TRY_COMPARE_AT(at, windows(), QStringList{title}, 10'000);
    xdotool({u"windowactivate"_s, u"--sync"_s, windowId(title)});
    TRY_VERIFY_AT(at, shownRows(picture()).size() > 10, 10'000);
    COMPARE_AT(at, picture().size(), QSize(630, 563));
}

bool TestProgram::clickAsksFor(int entry, const ShownRow& row)
{
    if (row.button < 0) {
        qWarning("row %d shows no button", entry);
        return false;
    }
    const QStringList before = m_server->requests();
    // The pointer leaves the button, which would look different under it.
    const QString id = windowId(title);
    const QStringList click{u"mousemove"_s,
                            u"--window"_s,
                            id,
                            QString::number(row.button),
                            QString::number(row.top + 6),
                            u"click"_s,
                            u"1"_s,
                            u"mousemove"_s,
                            u"--window"_s,
                            id,
                            u"5"_s,
                            u"300"_s};
    const QStringList after = before + QStringList{u"/soft/app%1.dmg"_s.arg(entry)};
    xdotool(click);
    if (!QTest::qWaitFor([&] { return m_server->requests().size() > before.size(); }, 10'000) ||
        m_server->requests() != after) {
        qWarning() << "asked for" << m_server->requests().mid(before.size());
        return false;
    }
    xdotool(click);
    return QTest::qWaitFor([this] { return m_server->openConnections() == 0; }, 10'000) &&
           m_server->requests() == after;
}

void TestProgram::turnWheel(int notches, TestLine at) const
{
    const QImage before = picture();
    xdotool({u"mousemove"_s, u"--window"_s, windowId(title), u"300"_s, u"300"_s, u"click"_s,
             u"--repeat"_s, QString::number(notches), u"5"_s});
    // Once it has come to rest.
    QImage last = before;
    VERIFY_AT(at, QTest::qWaitFor([&] {
                  const QImage now = picture();
                  return now != before && now == std::exchange(last, now);
              }));
}

void TestProgram::clickAsksForTheRowThatWasMeant_data()
{
    QTest::addColumn<int>("count");
    QTest::newRow("28 entries") << 28;
    QTest::newRow("150 entries") << 150;
}

void TestProgram::clickAsksForTheRowThatWasMeant()
{
    QFETCH(int, count);
    showTable(count);
    QList<ShownRow> rows = shownRows(picture());
    const int whole = rows.constFirst().height;
    const int half = int(rows.size()) - 1;
    QVERIFY2(rows[half].height < whole, "no row is cut by the table's lower edge");
    QVERIFY(clickAsksFor(half, rows[half]));
    QVERIFY(clickAsksFor(0, rows[0]));
    QVERIFY(clickAsksFor(half - 1, rows[half - 1]));

    // From a row's button, which the click before gave the focus, to the next; then elsewhere.
    const QImage before = picture();
    xdotool({u"key"_s, u"Tab"_s});
    QTRY_VERIFY_WITH_TIMEOUT(shownRows(picture()).size() > half && picture() != before, 10'000);
    rows = shownRows(picture());
    QVERIFY(clickAsksFor(half, rows[half - 1]));
    QVERIFY(clickAsksFor(1, rows[0]));

    turnWheel(count);
    rows = shownRows(picture());
    QVERIFY(clickAsksFor(count - 1, rows.constLast()));
    // The row that the end of the scrolling leaves half, at the upper edge.
    QVERIFY(clickAsksFor(count - 2, rows[rows.size() - 2]));
    closeAndVerifyTheEnd();
}

QTEST_GUILESS_MAIN(TestProgram)
#include "tst_program.moc"
