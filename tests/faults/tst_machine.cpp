#include "app/debug.h"
#include "faults/faultwindow.h"
#include "faults/plainrights.h"
#include "faults/steeredprogram.h"
#include "support/modalbox.h"
#include "support/testline.h"
#include "support/windowclick.h"
#include "ui/preferencedialog.h"
#include "ui/waitdialog.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QApplication>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QMutex>
#include <QNetworkProxy>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QTest>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString atlas = u"Atlas (~/Bundles/Atlas.app)"_s;
const QString plist = u"~/Bundles/Atlas.app/Contents/Info.plist"_s;
const QString benchRow = u"Bench |  | 2.0 ⤓ #d4d4d4"_s;
const QString absentRow = u"Atlas |  | 2.0 ⤓ #d4d4d4"_s;
/// Installed in a version that cannot be read, which counts as an older one.
const QString unreadRow = u"Atlas |  | 2.0 ⤓ #ffdada"_s;
const QString benchIsAbsent = u"[WARNING] Profiler - 'Bench' → NOT FOUND in system"_s;
const QString atlasIsAbsent = u"[WARNING] Profiler - 'Atlas' → NOT FOUND in system"_s;
const QString unreachable = u"Ressources internet inaccessibles\n\n"_s;
const QString noProtocol = unreachable + u"Protocol \"\" is unknown"_s;

QString matched(const QString& name, const QString& version = {})
{
    return u"[INFO] Profiler - 'Atlas' → matched '%1' v%2"_s.arg(name, version);
}

QString unreadVersion(const QString& name, const QString& path)
{
    return u"[WARNING] SysProfiler - Cannot read version for '%1' — plist: %2"_s.arg(name, path);
}

/// What a scan logs whose command lists @p found, each "Name (path)".
QStringList scanLines(const QStringList& found)
{
    QStringList lines = {u"[INFO] SysProfiler - New thread start"_s,
                         u"[INFO] SysProfiler - data Updating..."_s,
                         u"[INFO] SysProfiler [find] — %1 apps found"_s.arg(found.size())};
    for (const QString& application : found) {
        lines.append("[INFO]   + "_L1 + application);
    }
    return lines + QStringList{u"[INFO] SysProfiler - data updated (execution duration: Ns)"_s};
}

/// Asked for the short version and then for the long one.
const QStringList askedTwice = {u"[INFO] XML parsing failed for %1, trying plutil..."_s.arg(plist),
                                u"[INFO] XML parsing failed for %1, trying plutil..."_s.arg(plist)};

/// Everything that goes to the console while it lives.
class Console
{
public:
    Console() : m_wasEnabled(QLoggingCategory::defaultCategory()->isDebugEnabled())
    {
        s_lines.clear();
        QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, true);
        m_former = qInstallMessageHandler(keep);
    }
    ~Console()
    {
        qInstallMessageHandler(m_former);
        QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, m_wasEnabled);
    }
    Q_DISABLE_COPY_MOVE(Console)

    [[nodiscard]] static bool hasLine(const QString& text)
    {
        const QMutexLocker locker(&s_mutex);
        return !s_lines.filter(text).isEmpty();
    }

private:
    static void keep(QtMsgType /*type*/, const QMessageLogContext& /*context*/,
                     const QString& message)
    {
        const QMutexLocker locker(&s_mutex);
        s_lines.append(message);
    }

    static inline QMutex s_mutex;
    static inline QStringList s_lines;
    QtMessageHandler m_former;
    bool m_wasEnabled;
};

/// Requests for other machines go to @p server, as to a proxy, and no further.
class NoWayOut
{
public:
    explicit NoWayOut(const HttpServer& server)
    {
        QNetworkProxy::setApplicationProxy(
            QNetworkProxy(QNetworkProxy::HttpProxy, u"127.0.0.1"_s, server.serverPort()));
    }
    ~NoWayOut() { QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy); }
    Q_DISABLE_COPY_MOVE(NoWayOut)
};

/// Whether a wait dialog was shown since.
class WaitDialogWatch : public QObject
{
public:
    WaitDialogWatch() { qApp->installEventFilter(this); }
    [[nodiscard]] bool wasShown() const { return m_wasShown; }

    bool eventFilter(QObject* object, QEvent* event) override
    {
        m_wasShown |= event->type() == QEvent::Show && qobject_cast<WaitDialog*>(object);
        return false;
    }

private:
    bool m_wasShown = false;
};

} // namespace

/// What happens when the machine misbehaves: its commands, the bundles' property lists, the
/// settings and the log on its disk. Faults are made by shell scripts in HOME, where $PLIST is the
/// property list of "Atlas", $CONFIG the settings file and $LOG the log.
class TestMachine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void findMisbehaves_data();
    void findMisbehaves();
    void findIsMissing();
    void findListsFiftyThousandBundles_data();
    void findListsFiftyThousandBundles();

    void infoPlistMisbehaves_data();
    void infoPlistMisbehaves();
    void plutilMisbehaves_data();
    void plutilMisbehaves();

    void settingsMisbehaveAtTheStart_data();
    void settingsMisbehaveAtTheStart();
    void settingsAreMissingAtTheStart();
    void settingsCannotBeSaved_data();
    void settingsCannotBeSaved();
    void settingsCannotBeReset_data();
    void settingsCannotBeReset();

    void homeCannotBeWritten_data();
    void homeCannotBeWritten();
    void logCannotBeWritten_data();
    void logCannotBeWritten();

    void twoProgramsShareOneHome();
    void twoProgramsStartTogetherInAnEmptyHome();
    void programRunsOnAFullFileSystem();

private:
    void inject(const QByteArray& script, TestLine at = {}) const;
    void pressScan(TestLine at = {});
    [[nodiscard]] QString home() const { return m_window->machine().home().path(); }
    [[nodiscard]] QByteArray config() const
    {
        return PrivateHome::read(m_window->machine().home().configPath());
    }
    /// The log's lines since the last call, HOME being "~".
    [[nodiscard]] QStringList lines()
    {
        return m_window->takeLines().replaceInStrings(home(), u"~"_s);
    }
    void verifyDiskIsUntouched(TestLine at = {}) const;
    /// Resets the preferences and gives this process's servers in one dialog.
    [[nodiscard]] bool repairByReset();
    void repairByHand(const QByteArray& script);

    std::optional<FaultWindow> m_window;
};

void TestMachine::init()
{
    m_window.emplace();
}

void TestMachine::cleanup()
{
    // Also a name that Qt could not remove.
    inject("chmod -R u+rwX .\nrm -rf Bundles\n");
    m_window.reset();
}

void TestMachine::inject(const QByteArray& script, TestLine at) const
{
    const PrivateHome& folder = m_window->machine().home();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"PLIST"_s,
                       m_window->machine().location(u"Atlas"_s) + "/Contents/Info.plist"_L1);
    environment.insert(u"CONFIG"_s, folder.configPath());
    environment.insert(u"LOG"_s, folder.logPath());
    QProcess shell;
    shell.setProcessEnvironment(environment);
    shell.setWorkingDirectory(folder.path());
    shell.start(u"/bin/sh"_s, {u"-e"_s, u"-c"_s, QString::fromUtf8(script)});
    VERIFY2_AT(at, shell.waitForFinished(120'000) && shell.exitCode() == 0,
               shell.readAllStandardError().constData());
}

void TestMachine::pressScan(TestLine at)
{
    // Seen by its event: a scan that finds nothing can be over before the click returns.
    WaitDialogWatch dialog;
    windowClick(m_window->window().findChild<QPushButton*>(u"LoadButton"_s), at);
    VERIFY_AT(at, dialog.wasShown());
    VERIFY_AT(at, m_window->waitForScan());
    VERIFY_AT(at, !m_window->isWaitDialogVisible());
}

void TestMachine::verifyDiskIsUntouched(TestLine at) const
{
    COMPARE_AT(at, m_window->disk(), FaultWindow::untouchedDisk());
    VERIFY_AT(at, m_window->isConfigUntouched());
}

bool TestMachine::repairByReset()
{
    const BoxAnswerer answers(QMessageBox::Ok);
    const bool isDone = m_window->changePreferences([&](PreferenceDialog& dialog) {
        windowClick(dialog.findChild<QPushButton*>(u"resetButton"_s));
        const auto type = [&](const QString& name, const QString& text) {
            dialog.findChild<QLineEdit*>(name)->setText(text);
        };
        type(u"lineEdit_baseURL"_s, {});
        type(u"lineEdit_csvPath"_s, m_window->catalogueAddress());
        type(u"lineEdit_softPath"_s, m_window->softAddress());
    });
    return isDone && answers.texts() == QStringList{u"Default configuration restored."_s};
}

void TestMachine::repairByHand(const QByteArray& script)
{
    inject(script);
    Debug::init();
    m_window->create();
}

void TestMachine::findMisbehaves_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QStringList>("found");
    QTest::addColumn<QStringList>("told");
    QTest::addColumn<QString>("row");

    const QByteArray list = "cat \"$HOME/find.out\"\n";
    const QStringList asEver = {matched(u"Atlas"_s, u"1.0"_s)};
    const QString olderRow = FaultWindow::workingRows().constFirst();
    const auto findsAtlas = [&](const char* fault, const QByteArray& script) {
        QTest::newRow(fault) << script << QStringList{atlas} << asEver << olderRow;
    };
    findsAtlas("fails after its list", list + "exit 1\n");
    findsAtlas("killed after its list", list + "kill -9 $$\n");
    findsAtlas("a megabyte of errors", "head -c 1000000 /dev/zero | tr '\\0' x >&2\n" + list);
    findsAtlas("a child of its own stays with the output", "sleep 3 &\n" + list);
    findsAtlas("CRLF", "sed 's/$/\\r/' \"$HOME/find.out\"\n");
    findsAtlas("blank lines", "echo\n" + list + "echo; echo\n");
    findsAtlas("one bundle a hundred times", "for i in $(seq 100); do " + list + "done\n");

    const auto findsNothing = [&](const char* fault, const QByteArray& script,
                                  const QStringList& found = {}) {
        QTest::newRow(fault) << script << found << QStringList{atlasIsAbsent} << absentRow;
    };
    findsNothing("prints nothing", "exit 0\n");
    findsNothing("fails", "echo 'find: /Applications: No such file or directory' >&2\nexit 1\n");
    findsNothing("killed at once", "kill -9 $$\n");
    findsNothing("killed inside a line", "printf '%s' \"$HOME/Bundles/Atl\"\nkill -9 $$\n",
                 {u"Atl (~/Bundles/Atl)"_s});
    findsNothing("a bundle without a name", "echo /Applications/.app\n");
    findsNothing("NUL in a name", "printf '/Applications/At\\0las.app\\n'\n",
                 {u"At\0las (/Applications/At\0las.app)"_s});
    const QString longName(1'000'000, u'x');
    findsNothing("a line of a megabyte without an end", "head -c 1000000 /dev/zero | tr '\\0' x\n",
                 {u"%1 (%1)"_s.arg(longName)});

    const auto findsUnread = [&](const char* fault, const QByteArray& script,
                                 const QStringList& found, const QString& name,
                                 const QString& path) {
        QTest::newRow(fault) << script << found
                             << QStringList{unreadVersion(name, path + "/Contents/Info.plist"_L1),
                                            matched(name)}
                             << unreadRow;
    };
    findsUnread("a line feed in a name", "printf '/Applications/Atlas\\nMixer.app\\n'\n",
                {u"Atlas (/Applications/Atlas)"_s, u"Mixer (Mixer.app)"_s}, u"Atlas"_s,
                u"/Applications/Atlas"_s);
    findsUnread("invalid UTF-8 in a name",
                "mkdir -p \"$HOME/Bundles/Atlas $(printf '\\377').app/Contents\"\n"
                "printf '%s/Bundles/Atlas \\377.app\\n' \"$HOME\"\n",
                {u"Atlas \uFFFD (~/Bundles/Atlas \uFFFD.app)"_s}, u"Atlas \uFFFD"_s,
                u"~/Bundles/Atlas \uFFFD.app"_s);
    findsUnread("the bundle goes between scan and reading",
                list + "rm -r \"$HOME/Bundles/Atlas.app\"\n", {atlas}, u"Atlas"_s,
                u"~/Bundles/Atlas.app"_s);
}

void TestMachine::findMisbehaves()
{
    QFETCH(QByteArray, script);
    QFETCH(QStringList, found);
    QFETCH(QStringList, told);
    QFETCH(QString, row);

    m_window->openWorking();
    m_window->machine().standIns().add(u"find"_s, script);
    const BoxAnswerer boxes(QMessageBox::Ok);
    pressScan();
    QCOMPARE(m_window->rows(), (QStringList{row, benchRow}));
    QCOMPARE(lines(), scanLines(found) + told + QStringList{benchIsAbsent});
    QCOMPARE(boxes.count(), 0);
    verifyDiskIsUntouched();
    QVERIFY(m_window->windowStillWorks());
}

void TestMachine::findIsMissing()
{
    m_window->openWorking();
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", (home() + "/nothing"_L1).toLocal8Bit());
    pressScan();
    qputenv("PATH", path);
    QCOMPARE(m_window->rows(), (QStringList{absentRow, benchRow}));
    QCOMPARE(lines(), scanLines({}) + QStringList({atlasIsAbsent, benchIsAbsent}));
    verifyDiskIsUntouched();
    QVERIFY(m_window->windowStillWorks());
}

void TestMachine::findListsFiftyThousandBundles_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("unread");

    QTest::newRow("of other names") << QByteArray("Tool") << 0;
    // Each is a candidate for "Atlas", so each one's version is looked for.
    QTest::newRow("all of one name") << QByteArray("Atlas") << 50'000;
}

void TestMachine::findListsFiftyThousandBundles()
{
    QFETCH(QByteArray, name);
    QFETCH(int, unread);

    m_window->openWorking();
    m_window->machine().standIns().add(u"find"_s, "cat \"$HOME/find.out\"\nseq -f '/Applications/" +
                                                      name + " %.0f.app' 50000\n");
    pressScan();
    QCOMPARE(m_window->rows(), FaultWindow::workingRows());
    const QStringList log = lines();
    QCOMPARE(log.filter(u"[INFO] SysProfiler [find] — 50001 apps found"_s).size(), 1);
    QCOMPARE(log.filter(u"[INFO]   + "_s).size(), 50'001);
    QCOMPARE(log.filter(u"[WARNING] SysProfiler - Cannot read version for '"_s).size(), unread);
    QVERIFY(log.constLast() == benchIsAbsent);
    verifyDiskIsUntouched();
    QVERIFY(m_window->windowStillWorks());
}

void TestMachine::infoPlistMisbehaves_data() // NOLINT(readability-function-size): a table
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QStringList>("told");
    QTest::addColumn<QString>("row");

    const QByteArray gone = "rm \"$PLIST\"\n";
    const QStringList unread = {unreadVersion(u"Atlas"_s, plist), matched(u"Atlas"_s)};
    const auto cannotBeOpened = [&](const char* fault, const QByteArray& script) {
        QTest::newRow(fault) << script << unread << unreadRow;
    };
    cannotBeOpened("missing", gone);
    cannotBeOpened("a folder", gone + "mkdir \"$PLIST\"\n");
    cannotBeOpened("a pipe", gone + "mkfifo \"$PLIST\"\n");
    cannotBeOpened("a socket", "cd \"$(dirname \"$PLIST\")\"\n" + gone +
                                   "python3 -c 'import socket\n"
                                   "socket.socket(socket.AF_UNIX).bind(\"Info.plist\")'\n");
    cannotBeOpened("a device without an end", gone + "ln -s /dev/zero \"$PLIST\"\n");
    cannotBeOpened("a link to nothing", gone + "ln -s nothing \"$PLIST\"\n");
    cannotBeOpened("a link to itself", gone + "ln -s Info.plist \"$PLIST\"\n");
    cannotBeOpened("without permission", "chmod 000 \"$PLIST\"\n");
    cannotBeOpened("in a folder without permission", "chmod 000 \"$(dirname \"$PLIST\")\"\n");
    cannotBeOpened("in a file",
                   "cd \"$(dirname \"$PLIST\")/..\"\nrm -r Contents\ntouch Contents\n");

    const auto cannotBeParsed = [&](const char* fault, const QByteArray& script) {
        QTest::newRow(fault) << script << askedTwice + unread << unreadRow;
    };
    cannotBeParsed("empty", ": >\"$PLIST\"\n");
    cannotBeParsed("no XML", "echo 'CFBundleShortVersionString = 1.0' >\"$PLIST\"\n");
    cannotBeParsed("truncated before the version",
                   "cp \"$PLIST\" whole\nhead -c 250 whole >\"$PLIST\"\nrm whole\n");
    cannotBeParsed("nested-entity bomb",
                   R"({ echo '<!DOCTYPE plist ['; echo '<!ENTITY e0 "1111111111">'
for i in 1 2 3 4 5 6 7 8 9; do
    p=$((i - 1)); e="&e$p;"
    echo "<!ENTITY e$i \"$e$e$e$e$e$e$e$e$e$e\">"
done
echo ']><plist><dict><key>CFBundleShortVersionString</key><string>&e9;</string></dict></plist>'
} >"$PLIST")");
    // Other files are not looked into: the entity is empty.
    QTest::newRow("an entity of another file")
        << QByteArray(R"(echo '<!DOCTYPE plist [<!ENTITY x SYSTEM "/etc/hostname">]><plist><dict>
<key>CFBundleShortVersionString</key><string>&x;</string></dict></plist>' >"$PLIST")")
        << unread << unreadRow;
    cannotBeParsed("50 MB of no XML", "head -c 50000000 /dev/zero >\"$PLIST\"\n");
#ifdef Q_OS_LINUX
    cannotBeParsed("reading fails", gone + "ln -s /proc/self/mem \"$PLIST\"\n");
#endif

    const auto isRead = [&](const char* fault, const QByteArray& script) {
        QTest::newRow(fault) << script << QStringList{matched(u"Atlas"_s, u"1.0"_s)}
                             << FaultWindow::workingRows().constFirst();
    };
    isRead("truncated behind the version",
           "cp \"$PLIST\" whole\nhead -c 390 whole >\"$PLIST\"\nrm whole\n");
    isRead("50 MB before the version",
           "{ head -n 5 \"$PLIST\"; yes '<key>k</key><string>v</string>' | head -c 50000000 | sed "
           "'$d'; tail -n +6 \"$PLIST\"; } >big\nmv big \"$PLIST\"\n");
    isRead("50 MB of other text before the version",
           "{ head -n 5 \"$PLIST\"; echo '<key>k</key><string>'; head -c 50000000 /dev/zero | tr "
           "'\\0' x; echo '</string>'; tail -n +6 \"$PLIST\"; } >big\nmv big \"$PLIST\"\n");
}

void TestMachine::infoPlistMisbehaves()
{
    QFETCH(QByteArray, script);
    QFETCH(QStringList, told);
    QFETCH(QString, row);
    if (script.contains("chmod") && !arePermissionsObeyed()) {
        QSKIP("root passes over permissions here");
    }
    if (told.constFirst() == askedTwice.constFirst() &&
        !QStandardPaths::findExecutable(u"plutil"_s).isEmpty()) {
        QSKIP("this machine has a plutil");
    }

    m_window->openWorking();
    inject(script);
    const BoxAnswerer boxes(QMessageBox::Ok);
    pressScan();
    QCOMPARE(m_window->rows(), (QStringList{row, benchRow}));
    QCOMPARE(lines(), scanLines({atlas}) + told + QStringList{benchIsAbsent});
    QCOMPARE(boxes.count(), 0);
    verifyDiskIsUntouched();
    QVERIFY(m_window->windowStillWorks());
}

void TestMachine::plutilMisbehaves_data()
{
    QTest::addColumn<QByteArray>("plutil");
    QTest::addColumn<QStringList>("told");
    QTest::addColumn<QString>("row");

    const QStringList unread = {unreadVersion(u"Atlas"_s, plist), matched(u"Atlas"_s)};
    const auto yieldsNothing = [&](const char* fault, const QByteArray& plutil) {
        QTest::newRow(fault) << plutil << askedTwice + unread << unreadRow;
    };
    // Apple's says on standard output what went wrong.
    yieldsNothing("fails",
                  "echo \"$4: Could not extract value, error: No value at that key path\"\n"
                  "exit 1\n");
    yieldsNothing("fails without a line feed",
                  "printf '%s: Could not extract value' \"$4\"\nexit 1\n");
    yieldsNothing("fails and tells standard error",
                  "echo 'No value at that key path' >&2\nexit 1\n");
    yieldsNothing("prints nothing", "exit 0\n");
    yieldsNothing("prints blanks", "printf ' \\n\\t\\n'\n");
    yieldsNothing("killed", "kill -9 $$\n");

    const auto yields = [&](const char* fault, const QByteArray& plutil, const QString& version,
                            const QString& look) {
        QTest::newRow(fault) << plutil
                             << askedTwice.first(1) + QStringList{matched(u"Atlas"_s, version)}
                             << u"Atlas | %1 | %2"_s.arg(version, look);
    };
    yields("killed after the value", "echo 3.1\nkill -9 $$\n", u"3.1"_s, u"2.0 ⤓ #dadaff"_s);
    yields("a megabyte of errors", "head -c 1000000 /dev/zero >&2\necho 3.1\n", u"3.1"_s,
           u"2.0 ⤓ #dadaff"_s);
    yields("prints invalid UTF-8", "printf '3.\\377'\n", u"3.\uFFFD"_s, u"2.0 ⤓ #dadaff"_s);
    // Nobody asks how it ended: what it prints is the value, unless it begins with the file's path.
    yields("prints something else and fails", "echo Error: no such key\nexit 1\n", u"Error:"_s,
           u"2.0 ⤓ #ffdada"_s);
    QTest::newRow("fails for the first key alone")
        << QByteArray(
               "case $2 in *Short*) echo \"$4: Could not extract\"; exit 1 ;; esac\necho 3.1\n")
        << askedTwice + QStringList{matched(u"Atlas"_s, u"3.1"_s)}
        << u"Atlas | 3.1 | 2.0 ⤓ #dadaff"_s;
}

void TestMachine::plutilMisbehaves()
{
    QFETCH(QByteArray, plutil);
    QFETCH(QStringList, told);
    QFETCH(QString, row);

    m_window->openWorking();
    inject("printf 'bplist00\\321\\001\\002' >\"$PLIST\"\n");
    m_window->machine().standIns().add(u"plutil"_s, plutil);
    pressScan();
    QCOMPARE(m_window->rows(), (QStringList{row, benchRow}));
    QCOMPARE(lines(), scanLines({atlas}) + told + QStringList{benchIsAbsent});
    verifyDiskIsUntouched();
    QVERIFY(m_window->windowStillWorks());
}

void TestMachine::settingsMisbehaveAtTheStart_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("told");
    QTest::addColumn<bool>("canBeReset");

    const auto row = [](const char* fault, const QByteArray& script, const QString& told,
                        bool canBeReset = true) {
        QTest::newRow(fault) << script << told << canBeReset;
    };
    const QString start = u"[ERROR] XML error: Start tag expected."_s;
    const QString end = u"[ERROR] XML error: Premature end of document."_s;
    row("cut", "cp \"$CONFIG\" whole\nhead -c 180 whole >\"$CONFIG\"\nrm whole\n", end);
    row("empty", ": >\"$CONFIG\"\n", end);
    row("settings of another program, in XML",
        "echo '<plist><dict><key>a</key><string>b</string></dict></plist>' >\"$CONFIG\"\n",
        u"[ERROR] XML error: Expected character data."_s);
    row("settings of another program, in another form",
        "printf '[General]\\na=1\\n' >\"$CONFIG\"\n", start);
    row("binary", "head -c 1000 /dev/zero >\"$CONFIG\"\n", start);
    row("without permission", "chmod 000 \"$CONFIG\"\n",
        u"[ERROR] Cannot read file Permission denied"_s);
    row("a folder", "rm \"$CONFIG\"\nmkdir \"$CONFIG\"\n",
        u"[ERROR] Cannot read file file to open is a directory"_s, false);
}

void TestMachine::settingsMisbehaveAtTheStart()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, told);
    QFETCH(bool, canBeReset);
    if (script.contains("chmod") && !arePermissionsObeyed()) {
        QSKIP("root passes over permissions here");
    }

    m_window->create();
    m_window->destroy();
    inject(script);
    const QByteArray before = config();
    (void)lines();
    m_window->restart();
    const QStringList log = lines();
    QCOMPARE(log.mid(0, 3),
             (QStringList{u"[INFO] Current config file: ~/Library/Quillmere/config.xml"_s,
                          u"[INFO] Loading configuration..."_s, told}));
    QVERIFY(log.contains(u"[INFO] Config - Base URL: "_s));
    QVERIFY(log.contains(u"[INFO] Config - Download folder: (default: ~/Downloads)"_s));
    {
        const BoxAnswerer answers(QMessageBox::Ok);
        QVERIFY(!m_window->window().action_loadWebData());
        QCOMPARE(answers.texts(), QStringList{noProtocol});
    }
    QCOMPARE(m_window->rows(), QStringList());
    QStringList disk = FaultWindow::untouchedDisk();
    disk.replaceInStrings(u"config.xml"_s, canBeReset ? u"config.xml"_s : u"config.xml/"_s);
    QCOMPARE(m_window->disk(), disk);
    QCOMPARE(config(), before);

    if (canBeReset) {
        m_window->list({{.name = u"Atlas"_s}});
        QVERIFY(repairByReset());
    } else {
        // Nothing in the window helps here.
        repairByHand("rmdir \"$CONFIG\"\n");
    }
    QVERIFY(m_window->windowStillWorks());
}

void TestMachine::settingsAreMissingAtTheStart()
{
    m_window->create();
    m_window->destroy();
    inject("rm \"$CONFIG\"\n");
    m_window->restart();
    QFile defaults(u":/resources/default-config.xml"_s);
    QVERIFY(defaults.open(QIODevice::ReadOnly));
    QCOMPARE(config(), defaults.readAll());
    QCOMPARE(m_window->disk(), FaultWindow::untouchedDisk());
    {
        const NoWayOut proxy(m_window->server());
        const BoxAnswerer answers(QMessageBox::Ok);
        QVERIFY(!m_window->window().action_loadWebData());
        QCOMPARE(answers.texts().size(), 1);
        QVERIFY2(answers.texts().constFirst().startsWith(unreachable),
                 qPrintable(answers.texts().constFirst()));
    }
    m_window->list({{.name = u"Atlas"_s}});
    QVERIFY(m_window->repairSettings());
    QVERIFY(m_window->windowStillWorks());
}

void TestMachine::settingsCannotBeSaved_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArray>("repair");
    QTest::addColumn<bool>("isSaved");

    QTest::newRow("read-only") << QByteArray("chmod 444 \"$CONFIG\"\n") << QByteArray() << false;
    QTest::newRow("became a folder") << QByteArray("rm \"$CONFIG\"\nmkdir \"$CONFIG\"\n")
                                     << QByteArray("rmdir \"$CONFIG\"\n") << false;
    QTest::newRow("its folder has gone")
        << QByteArray("rm -r \"$(dirname \"$CONFIG\")\"\n")
        << QByteArray("mkdir \"$(dirname \"$CONFIG\")\"\n") << false;
    QTest::newRow("disk full") << QByteArray("# full\n") << QByteArray() << false;
    QTest::newRow("removed meanwhile") << QByteArray("rm \"$CONFIG\"\n") << QByteArray() << true;
    QTest::newRow("in a read-only folder")
        << QByteArray("chmod 555 \"$(dirname \"$CONFIG\")\"\n") << QByteArray() << true;
}

void TestMachine::settingsCannotBeSaved()
{
    QFETCH(QByteArray, script);
    QFETCH(QByteArray, repair);
    QFETCH(bool, isSaved);
    if (script.contains("chmod") && !arePermissionsObeyed()) {
        QSKIP("root passes over permissions here");
    }

    m_window->openWorking();
    inject(script);
    const QByteArray before = config();
    const QString folder = home() + "/elsewhere"_L1;
    BoxAnswerer answers(QMessageBox::Ok);
    {
        std::optional<FullDisk> fullDisk;
        if (script.startsWith("# full")) {
            fullDisk.emplace();
        }
        QVERIFY(m_window->changeSettings({{u"downloadFolder"_s, folder}}));
    }
    if (isSaved) {
        QCOMPARE(answers.texts(), QStringList());
        QVERIFY(config().contains("<downloadFolder>" + folder.toUtf8() + "</downloadFolder>"));
        QVERIFY(config().endsWith("</root>"));
    } else {
        QCOMPARE(answers.titles(), QStringList{u"Error"_s});
        QCOMPARE(
            answers.texts(),
            QStringList{u"Failed to save configuration file — check that it isn't read-only."_s});
        QCOMPARE(config(), before);
    }
    // What was typed counts until the program ends, saved or not.
    QCOMPARE(m_window->window().config().getParameter(u"localconfig"_s, u"downloadFolder"_s),
             folder);
    const QStringList beside =
        QDir(m_window->machine().home().userFolder())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    QVERIFY2(beside.filter(u"config.xml"_s).size() <= 1, qPrintable(beside.join(u' ')));
    QCOMPARE(m_window->rows(), FaultWindow::workingRows());

    inject("chmod -R u+rwX .\n" + repair);
    QVERIFY(m_window->repairSettings());
    QCOMPARE(answers.count(), isSaved ? 0 : 1);
    QVERIFY(config().contains(m_window->catalogueAddress().toUtf8()));
    QVERIFY(m_window->windowStillWorks());
}

void TestMachine::settingsCannotBeReset_data()
{
    QTest::addColumn<QByteArray>("script");

    QTest::newRow("the file is missing") << QByteArray("rm \"$CONFIG\"\n");
    QTest::newRow("became a folder") << QByteArray("rm \"$CONFIG\"\nmkdir \"$CONFIG\"\n");
    QTest::newRow("in a read-only folder") << QByteArray("chmod 555 \"$(dirname \"$CONFIG\")\"\n");
    QTest::newRow("disk full") << QByteArray("# full\n");
}

void TestMachine::settingsCannotBeReset()
{
    QFETCH(QByteArray, script);
    if (script.contains("chmod") && !arePermissionsObeyed()) {
        QSKIP("root passes over permissions here");
    }

    m_window->openWorking();
    inject(script);
    const QByteArray before = config();
    BoxAnswerer answers(QMessageBox::Ok);
    const bool isDiskFull = script.startsWith("# full");
    QVERIFY(m_window->changePreferences([&](PreferenceDialog& dialog) {
        std::optional<FullDisk> fullDisk;
        if (isDiskFull) {
            fullDisk.emplace();
        }
        windowClick(dialog.findChild<QPushButton*>(u"resetButton"_s));
        QCOMPARE(answers.titles(), QStringList{u"Error"_s});
        QCOMPARE(answers.texts(), QStringList{u"Failed to restore default configuration."_s});
        // The old file goes before the new one comes, which the disk has no room for.
        QCOMPARE(config(), isDiskFull ? QByteArray() : before);
        fullDisk.reset();
        inject("chmod -R u+rwX .\nif [ -d \"$CONFIG\" ]; then rmdir \"$CONFIG\"; fi\n");
    }));
    // OK has saved what the dialog still showed: the settings from before the reset.
    QCOMPARE(answers.count(), 1);
    QVERIFY(config().contains("<csvPath>" + m_window->catalogueAddress().toUtf8() + "</csvPath>"));
    QCOMPARE(m_window->rows(), FaultWindow::workingRows());
    QVERIFY(m_window->windowStillWorks());
}

void TestMachine::homeCannotBeWritten_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<bool>("hasSettings");

    QTest::newRow("empty and read-only") << QByteArray("rm -r Library\nchmod 555 .\n") << false;
    QTest::newRow("a file in the folder's place")
        << QByteArray("rm -r Library\ntouch Library\n") << false;
    QTest::newRow("read-only with all that is in it")
        << QByteArray("chmod 444 \"$CONFIG\" \"$LOG\"\n"
                      "chmod 555 Downloads Library/Quillmere Library .\n")
        << true;
}

void TestMachine::homeCannotBeWritten()
{
    QFETCH(QByteArray, script);
    QFETCH(bool, hasSettings);
    if (script.contains("chmod") && !arePermissionsObeyed()) {
        QSKIP("root passes over permissions here");
    }

    m_window->machine().install(u"Atlas"_s, u"1.0"_s);
    m_window->list({{.name = u"Atlas"_s}});
    m_window->offer(u"tool.dmg"_s, {.body = "installer"});
    m_window->create();
    m_window->destroy();
    inject(script);
    const QStringList disk = m_window->disk();
    {
        const Console console;
        Debug::init();
        m_window->restart();
        BoxAnswerer answers(QMessageBox::Ok);
        QCOMPARE(m_window->window().action_loadWebData(), hasSettings);
        QVERIFY(m_window->scan());
        // The console has the log's lines, and the log nothing.
        QVERIFY(Console::hasLine(u"[INFO] Config - Base URL: "_s));
        QVERIFY(Console::hasLine(u"[INFO] SysProfiler [find] — 1 apps found"_s));
        if (hasSettings) {
            QCOMPARE(m_window->rows(), FaultWindow::workingRows().sliced(0, 1));
            m_window->pressDownload(0);
            QTRY_COMPARE(answers.texts(), QStringList{"Cannot write to: "_L1 +
                                                      m_window->downloads() + "/tool.dmg"_L1});
        } else {
            QCOMPARE(m_window->rows(), QStringList());
            QCOMPARE(answers.texts(), QStringList{noProtocol});
            QVERIFY(m_window->window().config().filePath().isEmpty());
        }
    }
    QCOMPARE(m_window->disk(), disk);

    repairByHand("chmod -R u+rwX .\nif [ -f Library ]; then rm Library; fi\n");
    QVERIFY(m_window->windowStillWorks());
}

void TestMachine::logCannotBeWritten_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArray>("content"); ///< of the log afterwards

    QTest::newRow("a folder") << QByteArray("rm \"$LOG\"\nmkdir \"$LOG\"\n") << QByteArray();
    QTest::newRow("read-only") << QByteArray("echo old >\"$LOG\"\nchmod 444 \"$LOG\"\n")
                               << QByteArray("old\n");
    QTest::newRow("a link into a folder that is not there")
        << QByteArray("rm \"$LOG\"\nln -s /nowhere/log \"$LOG\"\n") << QByteArray();
#ifdef Q_OS_LINUX
    QTest::newRow("disk full") << QByteArray("rm \"$LOG\"\nln -s /dev/full \"$LOG\"\n")
                               << QByteArray();
#endif
}

void TestMachine::logCannotBeWritten()
{
    QFETCH(QByteArray, script);
    QFETCH(QByteArray, content);
    if (script.contains("chmod") && !arePermissionsObeyed()) {
        QSKIP("root passes over permissions here");
    }

    inject(script);
    Debug::init();
    m_window->machine().install(u"Atlas"_s, u"1.0"_s);
    const bool isLink = script.contains("/dev/full");
    {
        const Console console;
        m_window->create();
        QVERIFY(m_window->windowStillWorks());
        QVERIFY(Console::hasLine(u"[INFO] Config - Base URL: "_s));
        QVERIFY(Console::hasLine(u"[INFO] SysProfiler [find] — 4 apps found"_s));
        QVERIFY(Console::hasLine(u"[INFO] Install - Launching: "_s));
    }
    if (!isLink) { // which would be read without an end
        QCOMPARE(PrivateHome::read(m_window->machine().home().logPath()), content);
    }
    // The menu opens what is there.
    m_window->window().findChild<QAction*>(u"actionOpenLog"_s)->trigger();
    QCOMPARE(m_window->opened().constLast(), m_window->machine().home().logPath());
    QVERIFY(m_window->isConfigUntouched());
}

void TestMachine::twoProgramsShareOneHome()
{
    const auto isReady = [](SteeredProgram& program) {
        return program.windows() == QStringList{u"Quillmere v26.3.0"_s};
    };
    m_window->machine().install(u"Atlas"_s, u"1.0"_s);
    m_window->list({{.name = u"Atlas"_s}});
    m_window->offer(u"tool.dmg"_s, {.body = "installer"});
    const QByteArray settings = m_window->settings();
    m_window->machine().home().write(u"Library/Quillmere/config.xml"_s, settings);
    SteeredProgram first;
    SteeredProgram second;
    for (SteeredProgram* program : {&first, &second}) {
        QVERIFY(program->start());
        QTRY_VERIFY_WITH_TIMEOUT(isReady(*program) && !m_window->machine()
                                                           .home()
                                                           .logLines()
                                                           .filter(u"SysProfiler - data updated"_s)
                                                           .isEmpty(),
                                 30'000);
        QTRY_VERIFY_WITH_TIMEOUT(isReady(*program), 120'000);
    }
    QCOMPARE(config(), settings);

    // Both save the one file and download the one installer to the one place.
    for (SteeredProgram* program : {&first, &second}) {
        program->tell("trigger actionPreferences");
    }
    for (SteeredProgram* program : {&first, &second}) {
        QTRY_VERIFY_WITH_TIMEOUT(program->windows().size() == 2, 120'000);
        program->tell("press OK");
    }
    for (SteeredProgram* program : {&first, &second}) {
        QTRY_VERIFY_WITH_TIMEOUT(isReady(*program), 120'000);
        program->tell("press downloadBtn");
    }
    const auto downloads = [this] {
        return m_window->server().requests().count(u"/soft/tool.dmg"_s);
    };
    QTRY_COMPARE_WITH_TIMEOUT(downloads(), 2, 30'000);
    QTRY_COMPARE_WITH_TIMEOUT(m_window->saved(u"tool.dmg"_s), "installer", 30'000);
    for (SteeredProgram* program : {&first, &second}) {
        QTRY_VERIFY_WITH_TIMEOUT(isReady(*program), 120'000);
        program->tell("close");
        QVERIFY(program->waitForEnd());
        QCOMPARE(program->process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(program->process().exitCode(), 0);
        QCOMPARE(program->complaints(), QString());
    }
    QVERIFY(config().startsWith("<?xml"));
    QVERIFY(config().endsWith("</root>"));
    QVERIFY(config().contains("<csvPath>" + m_window->catalogueAddress().toUtf8() + "</csvPath>"));
    // One log for both: the second start has emptied it, so the first one's beginning is lost.
    const QByteArray log = PrivateHome::read(m_window->machine().home().logPath());
    QVERIFY(log.startsWith("=== Quillmere 26.3.0"));
    QCOMPARE(log.count("[INFO] Quillmere START"), 1);

    m_window->create();
    QVERIFY(m_window->windowStillWorks());
}

void TestMachine::twoProgramsStartTogetherInAnEmptyHome()
{
    QFile defaults(u":/resources/default-config.xml"_s);
    QVERIFY(defaults.open(QIODevice::ReadOnly));
    const QByteArray expected = defaults.readAll();
    const QString proxy = m_window->server().url();
    for (int attempt = 0; attempt < 5; ++attempt) {
        inject("rm -rf Library\n");
        SteeredProgram programs[2];
        for (SteeredProgram& program : programs) {
            program.environment().insert(u"http_proxy"_s, proxy);
            program.environment().insert(u"https_proxy"_s, proxy);
            QVERIFY(program.start());
        }
        for (SteeredProgram& program : programs) {
            QVERIFY(!program.windows().isEmpty());
            program.tell("quit");
        }
        for (SteeredProgram& program : programs) {
            QVERIFY(program.waitForEnd());
            QCOMPARE(program.process().exitStatus(), QProcess::NormalExit);
            QCOMPARE(program.process().exitCode(), 0);
            const QByteArray said = program.process().readAllStandardError();
            QVERIFY2(said.contains("[INFO] Config - CSV: config/01_MacOS.csv"), said.constData());
        }
        QCOMPARE(config(), expected);
    }
    Debug::init();
    m_window->create();
    QVERIFY(m_window->windowStillWorks());
}

void TestMachine::programRunsOnAFullFileSystem()
{
    // A file system of its own for the program's folder, with room for the settings alone.
    const QString wrapper = m_window->machine().home().write(
        u"wrapper"_s,
        "#!/bin/sh\nset -e\nmount -t tmpfs -o size=8k none \"$HOME/Library/Quillmere\"\n"
        "cp \"$HOME/config\" \"$HOME/Library/Quillmere/config.xml\"\n"
        "dd if=/dev/zero of=\"$HOME/Library/Quillmere/filler\" 2>/dev/null || true\n"
        "touch \"$HOME/mounted\"\n'" +
            QByteArray(QUILLMERE_STEERED) +
            "'\nstatus=$?\n"
            "cp \"$HOME/Library/Quillmere/config.xml\" \"$HOME/config.after\"\n"
            "cp \"$HOME/Library/Quillmere/quillmere.log\" \"$HOME/log.after\"\n"
            "exit $status\n");
    QFile::setPermissions(wrapper, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_window->machine().install(u"Atlas"_s, u"1.0"_s);
    m_window->list({{.name = u"Atlas"_s}});
    m_window->offer(u"tool.dmg"_s, {.body = "installer"});
    const QByteArray settings = m_window->settings();
    m_window->machine().home().write(u"config"_s, settings);

    SteeredProgram program(u"unshare"_s);
    QVERIFY(program.start({u"-rm"_s, wrapper}));
    QTRY_VERIFY_WITH_TIMEOUT(!program.isRunning() || QFile::exists(home() + "/mounted"_L1), 30'000);
    if (!QFile::exists(home() + "/mounted"_L1)) {
        QSKIP("no file system can be mounted here");
    }
    const QStringList ready = {u"Quillmere v26.3.0"_s};
    QTRY_COMPARE_WITH_TIMEOUT(m_window->server().requests(), QStringList{u"/catalogue.csv"_s},
                              30'000);
    QVERIFY(comesToHold([&] { return program.windows() == ready; }));
    program.tell("trigger actionPreferences");
    QVERIFY(comesToHold([&] { return program.windows().size() == 2; }));
    program.tell("press OK");
    QVERIFY(comesToHold([&] { return program.windows() == (QStringList{u"Error"_s} + ready); }));
    program.tell("press OK");
    QVERIFY(comesToHold([&] { return program.windows() == ready; }));
    // Again until it works: during the reload the rows have no records.
    QVERIFY(comesToHold([&] {
        program.tell("press downloadBtn");
        return program.windows() == ready &&
               m_window->server().requests().contains(u"/soft/tool.dmg"_s);
    }));
    QTRY_COMPARE_WITH_TIMEOUT(m_window->saved(u"tool.dmg"_s), "installer", 30'000);
    QVERIFY(comesToHold([&] { return program.windows() == ready; }));
    // Again until it ends: what is closed may be the wait dialog of the scan.
    QVERIFY(comesToHold([&] {
        program.tell("close");
        return program.waitForEnd(300);
    }));
    QCOMPARE(program.process().exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.process().exitCode(), 0);
    QCOMPARE(program.complaints(), QString());
    QCOMPARE(PrivateHome::read(home() + "/config.after"_L1), settings);
    QVERIFY(PrivateHome::read(home() + "/log.after"_L1).isEmpty());

    m_window->create();
    QVERIFY(m_window->windowStillWorks());
}

int main(int argc, char* argv[])
{
    obeyPermissions(argv);
    QApplication application(argc, argv);
    TestMachine test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}
#include "tst_machine.moc"
