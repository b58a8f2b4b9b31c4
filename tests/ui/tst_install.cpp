#include "support/downloadbench.h"

#include "support/archives.h"
#include "support/limits.h"
#include "support/modalbox.h"
#include "support/testline.h"
#include "system/system.h"
#include "ui/waitdialog.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QProcess>
#include <QTest>
#include <QTimer>

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

using Entry = DownloadBench::Entry;

/// "arm64" or "x86_64" as a file's name spells it, for this machine and the other one.
QString ownWord()
{
    return System::cpuArchitecture() == "arm64"_L1 ? u"arm64"_s : u"x86_64"_s;
}

QString otherWord()
{
    return System::cpuArchitecture() == "arm64"_L1 ? u"x86_64"_s : u"arm64"_s;
}

/// OWN and OTHER stand for those words.
QString spelt(QString text)
{
    return text.replace("OWN"_L1, ownWord()).replace("OTHER"_L1, otherWord());
}

QStringList spelt(const QStringList& texts)
{
    QStringList all;
    for (const QString& text : texts) {
        all.append(spelt(text));
    }
    return all;
}

const QString workFolder = u".quillmere_extract"_s;

/// The titles of the windows that are shown while it lives, each as often as it is shown.
class ShownWindows : public QObject
{
public:
    ShownWindows() { qApp->installEventFilter(this); }
    [[nodiscard]] QStringList titles() const { return m_titles; }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        const auto* widget = qobject_cast<QWidget*>(watched);
        if (event->type() == QEvent::Show && widget && widget->isWindow()) {
            m_titles.append(widget->windowTitle());
        }
        return false;
    }

private:
    QStringList m_titles;
};

} // namespace

/// Archives: what is taken out of them and opened; and the launch of what has been downloaded.
class TestInstall : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // Extraction
    void opensTheItemOfAnArchive();
    void showsTheWaitDialogWhileItUnpacks();
    void choosesAndTellsWhy_data();
    void choosesAndTellsWhy();
    void bundleIsMovedWhole();
    void nothingInstallableIsOpened_data();
    void nothingInstallableIsOpened();
    void failedUnzipLeavesEverything_data();
    void failedUnzipLeavesEverything();
    void encryptedArchiveFails();
    void linkIsKeptALink();
    void linkWrittenThroughIsRefused();
    void nothingLeavesTheWorkFolder_data();
    void nothingLeavesTheWorkFolder();
    void leftOversTakePart();
    void existingItemIsTheOneOpened_data();
    void existingItemIsTheOneOpened();
    void archiveInASubFolderIsUnpackedInTheDownloadFolder();
    void archiveNames_data();
    void archiveNames();
    void workFolderThatCannotBeMadeIsAFailure();
    void tenThousandEntries();
    void twoArchivesAtOnceBothEnd();
    void killedUnzipIsAFailure();
    void windowClosedWhileUnzipRunsStaysSilent();
    void windowDestroyedWhileUnzipRuns();
    void windowDestroyedWhileDownloadsAndUnzipRun();
    void rowIsIdleWhileUnzipRuns();
    void unzipThatCannotBeStartedIsLogged();

    // Launch
    void opensAnyPath_data();
    void opensAnyPath();
    void failedOpeningIsNotTold();
    void restartIsAskedForAnOwnUpdate();
    void decliningTheRestartOpensNothing_data();
    void decliningTheRestartOpensNothing();
    void acceptedRestartOpensAndQuits_data();
    void acceptedRestartOpensAndQuits();
    void ownUpdateInAnArchiveIsAskedAbout_data();
    void ownUpdateInAnArchiveIsAskedAbout();
    void rowGoneWhileTheRestartIsAsked();

private:
    /// Shows a window whose only row downloads @p archive.
    void serve(const QByteArray& archive, const QString& fileName,
               const QString& name = u"Atlas"_s);
    /// Downloads @p archive and waits until all that follows has been done.
    void install(const QByteArray& archive, const QString& fileName = u"tool.zip"_s);
    void waitForTheEnd(TestLine at = {});
    /// Downloads an archive with a "Tool.pkg" whose unzip stands still.
    void startAndStopUnzip(TestLine at = {});
    /// The log's lines up to the start of unzip.
    [[nodiscard]] QStringList beginning(const QString& fileName) const;
    [[nodiscard]] QString path(const QString& name) const
    {
        return m_bench->downloads() + u'/' + name;
    }
    [[nodiscard]] QProcess* unzip() const
    {
        return m_bench->window().findChild<QProcess*>(QString(), Qt::FindDirectChildrenOnly);
    }

    mutable std::optional<DownloadBench> m_bench;
    QStringList m_lines; ///< the log's lines so far, see DownloadBench::takeActivity()
};

void TestInstall::init()
{
    // As on the machines that the program is for; else unzip would rename what has accents.
    qputenv("LC_ALL", "C.UTF-8");
    m_bench.emplace();
    m_lines.clear();
}

void TestInstall::cleanup()
{
    m_bench.reset();
}

void TestInstall::serve(const QByteArray& archive, const QString& fileName, const QString& name)
{
    m_bench->list({{.name = name, .fileName = fileName}});
    const QByteArray asked = QUrl(fileName).toEncoded();
    m_bench->offer(QString::fromLatin1(asked), {.body = archive});
    m_bench->open();
}

void TestInstall::install(const QByteArray& archive, const QString& fileName)
{
    serve(archive, fileName);
    m_bench->pressDownload(0);
    waitForTheEnd();
}

void TestInstall::waitForTheEnd(TestLine at)
{
    const auto hasEnded = [this] {
        m_lines += m_bench->takeActivity();
        return std::any_of(m_lines.cbegin(), m_lines.cend(), [](const QString& line) {
            return line.contains("Extract - Done"_L1) || line.contains("Extract - Failed"_L1);
        });
    };
    VERIFY_AT(at, comesToHold(hasEnded));
    VERIFY_AT(at, m_bench->waitForScan());
    VERIFY_AT(at, comesToHold([this] { return !unzip(); }));
    m_lines += m_bench->takeActivity();
}

void TestInstall::startAndStopUnzip(TestLine at)
{
    // Long enough to be stopped in the middle of it.
    QByteArray script = "archive.writestr('Tool.pkg', 'of Tool.pkg')\n"
                        "for i in range(2000): archive.writestr(f'files/{i}.txt', '')";
    serve(zippedBy(script), u"tool.zip"_s);
    QTimer watch;
    watch.callOnTimeout(&watch, [this, &watch] {
        if (QProcess* process = unzip(); process && process->state() == QProcess::Running) {
            ::kill(pid_t(process->processId()), SIGSTOP);
            watch.stop();
        }
    });
    watch.start(0);
    m_bench->pressDownload(0, at);
    TRY_VERIFY_AT(at, !watch.isActive(), 5'000);
    VERIFY_AT(at, unzip());
    m_lines = m_bench->takeActivity();
    VERIFY2_AT(at, m_lines.constLast().startsWith("[INFO] Extract - Starting: "_L1),
               "unzip was faster than the test");
}

QStringList TestInstall::beginning(const QString& fileName) const
{
    const QString address = m_bench->server().url("soft/"_L1 + fileName);
    return {u"[INFO] Download - 'Atlas' → "_s + address,
            "[INFO] Download - Saved: "_L1 + path(fileName),
            u"[INFO] Extract - Starting: %1 → %2"_s.arg(fileName, path(workFolder))};
}

void TestInstall::opensTheItemOfAnArchive()
{
    m_bench->machine().install(u"Atlas"_s, u"2.0"_s);
    install(zipped({u"Tool.pkg"_s}));
    QStringList expected = beginning(u"tool.zip"_s);
    expected += {u"[INFO] Extract - Done"_s,
                 u"[INFO] Extract - 1 candidate(s) found:"_s,
                 u"[INFO]   · [score 0] Tool.pkg"_s,
                 u"[INFO] Extract - Selected: Tool.pkg"_s,
                 "[INFO] Install - Launching: "_L1 + path(u"Tool.pkg"_s),
                 u"scan"_s};
    QCOMPARE(m_lines, expected);
    QCOMPARE(m_bench->openedUrls(), QList<QUrl>{QUrl::fromLocalFile(path(u"Tool.pkg"_s))});
    QCOMPARE(m_bench->saved(u"Tool.pkg"_s), "of Tool.pkg");
    // The archive and the work folder are gone.
    QCOMPARE(m_bench->savedNames(), QStringList{u"Tool.pkg"_s});
    QVERIFY(!m_bench->isWaitDialogVisible());
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #daffda"_s);
}

void TestInstall::showsTheWaitDialogWhileItUnpacks()
{
    startAndStopUnzip();
    const auto* dialog = m_bench->window().findChild<WaitDialog*>();
    QVERIFY(dialog);
    QVERIFY(dialog->isVisible());
    QVERIFY(dialog->isModal());
    QStringList texts;
    for (const QLabel* label : dialog->findChildren<QLabel*>()) {
        texts.append(label->text());
    }
    QVERIFY2(texts.contains(u"Extraction en cours..."_s), qUtf8Printable(texts.join(u'|')));
    // A session of its own: no password is asked for at the terminal.
    const pid_t id = pid_t(unzip()->processId());
    QCOMPARE(::getsid(id), id);
    QCOMPARE(unzip()->program(), u"/usr/bin/unzip"_s);
    QCOMPARE(unzip()->arguments(),
             (QStringList{u"-o"_s, path(u"tool.zip"_s), u"-d"_s, path(workFolder)}));
    ::kill(id, SIGCONT);
    waitForTheEnd();
    QVERIFY(!dialog->isVisible());
    QCOMPARE(m_bench->window().findChildren<WaitDialog*>().size(), 1);
}

void TestInstall::choosesAndTellsWhy_data()
{
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QStringList>("candidates"); // as logged, the chosen one first

    QTest::newRow("uninstallers and other files are no candidates")
        << QStringList{u"App Installer.pkg"_s, u"Uninstall App.pkg"_s, u"ReadMe.pdf"_s}
        << QStringList{u"· [score 0] App Installer.pkg"_s};
    QTest::newRow("this machine's processor wins")
        << QStringList{u"Tool-OTHER.dmg"_s, u"Tool-OWN.dmg"_s, u"Tool.dmg"_s}
        << QStringList{u"★ [score 2] Tool-OWN.dmg"_s, u"· [score 0] Tool.dmg"_s,
                       u"✗ [score -1] Tool-OTHER.dmg"_s};
    QTest::newRow("both processors in a name")
        << QStringList{u"Tool-universal-arm64-x86_64.pkg"_s, u"Tool.pkg"_s}
        << QStringList{u"★ [score 1] Tool-universal-arm64-x86_64.pkg"_s, u"· [score 0] Tool.pkg"_s};
    QTest::newRow("the other processor's alone is taken nevertheless")
        << QStringList{u"Tool-OTHER.pkg"_s} << QStringList{u"✗ [score -1] Tool-OTHER.pkg"_s};
    QTest::newRow("several for one processor, by name")
        << QStringList{u"b-OWN.pkg"_s, u"a-OWN.dmg"_s}
        << QStringList{u"★ [score 2] a-OWN.dmg"_s, u"★ [score 2] b-OWN.pkg"_s};
    QTest::newRow("upper-case ending")
        << QStringList{u"Installer.PKG"_s} << QStringList{u"· [score 0] Installer.PKG"_s};
    QTest::newRow("accents and blanks") << QStringList{u"Mes outils/Éditeur de schémas.dmg"_s}
                                        << QStringList{u"· [score 0] Éditeur de schémas.dmg"_s};
    QTest::newRow("special characters")
        << QStringList{u"C# 100% a?b*.dmg"_s} << QStringList{u"· [score 0] C# 100% a?b*.dmg"_s};
    QTest::newRow("a bundle and the one inside it")
        << QStringList{u"Tool.app/Contents/Helper.app/Contents/Info.plist"_s}
        << QStringList{u"· [score 0] Tool.app"_s, u"· [score 0] Helper.app"_s};
    QTest::newRow("the Finder's shadow comes second")
        << QStringList{u"__MACOSX/Tool.app/._x"_s, u"sub/Tool.app/x"_s}
        << QStringList{u"· [score 0] Tool.app"_s, u"· [score 0] Tool.app"_s};
    QTest::newRow("hidden items are none")
        << QStringList{u"._Tool.pkg"_s, u".hidden/Tool.dmg"_s, u"deep/down/Tool.mpkg/"_s}
        << QStringList{u"· [score 0] Tool.mpkg"_s};
}

void TestInstall::choosesAndTellsWhy()
{
    QFETCH(QStringList, entries);
    QFETCH(QStringList, candidates);
    install(zipped(spelt(entries)));
    QStringList expected = beginning(u"tool.zip"_s);
    expected += {u"[INFO] Extract - Done"_s,
                 u"[INFO] Extract - %1 candidate(s) found:"_s.arg(candidates.size())};
    for (const QString& candidate : std::as_const(candidates)) {
        expected.append("[INFO]   "_L1 + spelt(candidate));
    }
    const QString chosen = spelt(candidates.constFirst().section(u"] "_s, 1));
    expected += {"[INFO] Extract - Selected: "_L1 + chosen,
                 "[INFO] Install - Launching: "_L1 + path(chosen), u"scan"_s};
    QCOMPARE(m_lines, expected);
    QCOMPARE(m_bench->opened(), QStringList{path(chosen)});
    QCOMPARE(m_bench->savedNames(), QStringList{chosen});
}

void TestInstall::bundleIsMovedWhole()
{
    install(zipped({u"disk/Tool.app/Contents/Info.plist"_s, u"disk/Tool.app/Contents/MacOS/Tool"_s,
                    u"__MACOSX/Tool.app/Contents/x"_s}));
    // The least deep wins: the shadow, were it not as deep as the bundle.
    QCOMPARE(m_bench->saved(u"Tool.app/Contents/MacOS/Tool"_s),
             "of disk/Tool.app/Contents/MacOS/Tool");
    QCOMPARE(m_bench->saved(u"Tool.app/Contents/Info.plist"_s),
             "of disk/Tool.app/Contents/Info.plist");
    QVERIFY(!QFileInfo::exists(path(u"Tool.app/Contents/x"_s)));
}

void TestInstall::nothingInstallableIsOpened_data()
{
    QTest::addColumn<QStringList>("entries");
    QTest::newRow("other files") << QStringList{u"ReadMe.pdf"_s, u"tool.exe"_s};
    QTest::newRow("uninstallers alone")
        << QStringList{u"UNINSTALL.app/x"_s, u"MyUninstaller.pkg"_s};
    QTest::newRow("an archive within the archive") << QStringList{u"inner.zip"_s};
    QTest::newRow("hidden items alone") << QStringList{u"._Tool.app"_s};
}

void TestInstall::nothingInstallableIsOpened()
{
    QFETCH(QStringList, entries);
    BoxAnswerer answers(QMessageBox::Ok);
    install(zipped(entries));
    QCOMPARE(
        m_lines.mid(3),
        (QStringList{u"[INFO] Extract - Done"_s,
                     u"[WARNING] Extract - No installable file found in archive"_s, u"scan"_s}));
    QVERIFY(m_bench->opened().isEmpty());
    QVERIFY(m_bench->savedNames().isEmpty());
    QCOMPARE(answers.count(), 0);
}

void TestInstall::failedUnzipLeavesEverything_data()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<int>("exitCode");

    const QByteArray whole = zipped({u"Tool.pkg"_s, u"ReadMe.pdf"_s});
    QByteArray damaged = whole;
    damaged.replace("of Tool.pkg", "OF tOOL.PKG");
    QTest::newRow("a login page") << QByteArray("<html>Please log in</html>") << 9;
    QTest::newRow("nothing at all") << QByteArray() << 9;
    QTest::newRow("cut") << whole.first(whole.size() / 2) << 9;
    QTest::newRow("damaged contents") << damaged << 2;
    QTest::newRow("without entries") << QByteArray("PK\5\6" + QByteArray(18, '\0')) << 1;
}

void TestInstall::failedUnzipLeavesEverything()
{
    QFETCH(QByteArray, archive);
    QFETCH(int, exitCode);
    BoxAnswerer answers(QMessageBox::Ok);
    install(archive);

    // What the real one says of the same archive.
    const QTemporaryDir elsewhere;
    QProcess again;
    again.start(u"/usr/bin/unzip"_s, {u"-o"_s, path(u"tool.zip"_s), u"-d"_s, elsewhere.path()});
    QVERIFY(again.waitForFinished());
    QCOMPARE(again.exitCode(), exitCode);
    const QByteArray reason = again.readAllStandardError().trimmed();
    const QByteArray line = "[ERROR] Extract - Failed (exit code " + QByteArray::number(exitCode) +
                            ")" + (reason.isEmpty() ? "" : ": " + reason) + '\n';
    QVERIFY2(PrivateHome::read(m_bench->machine().home().logPath()).endsWith(line),
             line.constData());

    // No box, no launch, no scan; all files stay.
    QCOMPARE(m_lines.size(), 4);
    QCOMPARE(answers.count(), 0);
    QVERIFY(m_bench->opened().isEmpty());
    QCOMPARE(m_bench->saved(u"tool.zip"_s), archive);
    QVERIFY(QFileInfo(path(workFolder)).isDir());
    QVERIFY(!m_bench->isWaitDialogVisible());
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
}

void TestInstall::encryptedArchiveFails()
{
    install(zipped({u"Tool.pkg"_s}, {u"-P"_s, u"secret"_s}));
    const QString line = m_lines.constLast();
    QVERIFY2(line.startsWith("[ERROR] Extract - Failed (exit code 5)"_L1) ||
                 line.startsWith("[ERROR] Extract - Failed (exit code 82)"_L1),
             qUtf8Printable(line));
    QVERIFY(m_bench->opened().isEmpty());
    QVERIFY(m_bench->savedNames().contains(u"tool.zip"_s));
}

void TestInstall::linkIsKeptALink()
{
    install(zippedBy("link(archive, 'Tool.pkg', 'real.txt')\n"
                     "archive.writestr('real.txt', 'real')"));
    // Moved as it is: it leads nowhere now, and nothing tells.
    QCOMPARE(m_bench->opened(), QStringList{path(u"Tool.pkg"_s)});
    QVERIFY(QFileInfo(path(u"Tool.pkg"_s)).isSymLink());
    QVERIFY(!QFileInfo::exists(path(u"Tool.pkg"_s)));
}

void TestInstall::linkWrittenThroughIsRefused()
{
    const QTemporaryDir outside;
    install(zippedBy("link(archive, 'out', '" + outside.path().toUtf8() + "')\n" +
                     "archive.writestr('out/Evil.pkg', 'evil')"));
    QVERIFY2(m_lines.constLast().startsWith("[ERROR] Extract - Failed (exit code 2)"_L1),
             qUtf8Printable(m_lines.join(u'\n')));
    QVERIFY(QDir(outside.path()).isEmpty());
    QVERIFY(m_bench->opened().isEmpty());
}

void TestInstall::nothingLeavesTheWorkFolder_data()
{
    QTest::addColumn<QString>("name"); // "HOME" stands for the home folder's path
    QTest::newRow("absolute name") << u"HOME/Evil.pkg"_s;
    QTest::newRow("steps out") << u"../../Evil.pkg"_s;
    QTest::newRow("steps out behind one in") << u"in/../../../Evil.pkg"_s;
}

void TestInstall::nothingLeavesTheWorkFolder()
{
    QFETCH(QString, name);
    const QString home = m_bench->machine().home().path();
    install(zippedBy("archive.writestr('" + name.replace("HOME"_L1, home).toUtf8() + "', 'evil')"));
    QVERIFY2(m_lines.constLast().startsWith("[ERROR] Extract - Failed (exit code 1)"_L1),
             qUtf8Printable(m_lines.join(u'\n')));
    QVERIFY(!QFileInfo::exists(home + "/Evil.pkg"_L1));
    QVERIFY(!QFileInfo::exists(path(u"Evil.pkg"_s)));
    QVERIFY(m_bench->opened().isEmpty());
}

void TestInstall::leftOversTakePart()
{
    const QString left = spelt(u"Left-OWN.dmg"_s);
    m_bench->machine().home().write("Downloads/"_L1 + workFolder + u'/' + left, "left over");
    install(zipped({u"Tool.dmg"_s}));
    QCOMPARE(m_bench->opened(), QStringList{path(left)});
    QCOMPARE(m_bench->saved(left), "left over");
    QCOMPARE(m_bench->savedNames(), QStringList{left});
}

void TestInstall::existingItemIsTheOneOpened_data()
{
    QTest::addColumn<QString>("existing");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("item");
    QTest::newRow("a file") << u"Tool.pkg"_s << u"Tool.pkg"_s << u"Tool.pkg"_s;
    QTest::newRow("a bundle") << u"Tool.app/old"_s << u"Tool.app/new"_s << u"Tool.app"_s;
    QTest::newRow("a folder in a file's place")
        << u"Tool.pkg/old"_s << u"Tool.pkg"_s << u"Tool.pkg"_s;
}

void TestInstall::existingItemIsTheOneOpened()
{
    QFETCH(QString, existing);
    QFETCH(QString, entry);
    QFETCH(QString, item);
    m_bench->machine().home().write("Downloads/"_L1 + existing, "old");
    install(zipped({entry}));
    QCOMPARE(m_lines.mid(m_lines.size() - 3),
             (QStringList{"[INFO] Extract - Selected: "_L1 + item,
                          "[INFO] Install - Launching: "_L1 + path(item), u"scan"_s}));
    QCOMPARE(m_bench->opened(), QStringList{path(item)});
    QCOMPARE(m_bench->saved(existing), "old");
    QCOMPARE(m_bench->savedNames(), QStringList{item});
    QVERIFY(!QFileInfo::exists(path(u"Tool.app/new"_s)));
}

void TestInstall::archiveInASubFolderIsUnpackedInTheDownloadFolder()
{
    QVERIFY(QDir(m_bench->downloads()).mkpath(u"sub"_s));
    install(zipped({u"Tool.pkg"_s}), u"sub/tool.zip"_s);
    QCOMPARE(m_lines.first(3), beginning(u"sub/tool.zip"_s));
    QCOMPARE(m_bench->opened(), QStringList{path(u"Tool.pkg"_s)});
    QCOMPARE(m_bench->savedNames(), (QStringList{u"Tool.pkg"_s, u"sub"_s}));
    QVERIFY(QDir(path(u"sub"_s)).isEmpty());
}

void TestInstall::archiveNames_data()
{
    QTest::addColumn<QString>("fileName");
    for (const char* name : {"Tool.ZIP", "Mon éditeur 2.zip", "-o.zip", "a;b&c.zip", "$HOME.zip",
                             "it's.zip", "Tool [1].zip", ".zip", "a\\b.zip"}) {
        QTest::newRow(name) << QString::fromUtf8(name);
    }
}

void TestInstall::archiveNames()
{
    QFETCH(QString, fileName);
    m_bench->list({{.name = u"Atlas"_s, .fileName = fileName}});
    m_bench->open();
    // Whatever the address makes of the name.
    const QByteArray archive = zipped({u"Tool.pkg"_s});
    connect(&m_bench->server(), &HttpServer::requested, this, [&](const QString& target) {
        m_bench->server().reply(target.mid(1), {.body = archive});
    });
    m_bench->pressDownload(0);
    waitForTheEnd();
    QCOMPARE(m_lines.value(2),
             u"[INFO] Extract - Starting: %1 → %2"_s.arg(fileName, path(workFolder)));
    QCOMPARE(m_bench->opened(), QStringList{path(u"Tool.pkg"_s)});
    QCOMPARE(m_bench->savedNames(), QStringList{u"Tool.pkg"_s});
}

void TestInstall::workFolderThatCannotBeMadeIsAFailure()
{
    m_bench->machine().home().write("Downloads/"_L1 + workFolder, "a file");
    install(zipped({u"Tool.pkg"_s}));
    QVERIFY2(m_lines.constLast().startsWith("[ERROR] Extract - Failed (exit code "_L1),
             qUtf8Printable(m_lines.join(u'\n')));
    QCOMPARE(m_bench->saved(workFolder), "a file");
    QCOMPARE(m_bench->savedNames(), (QStringList{workFolder, u"tool.zip"_s}));
}

void TestInstall::tenThousandEntries()
{
    install(zippedBy("for i in range(9900): archive.writestr(f'd{i % 7}/{i}.txt', '')\n"
                     "for i in range(100): archive.writestr(f'd{i % 7}/Tool {i:02}.pkg', '')"));
    QCOMPARE(m_lines.value(4), u"[INFO] Extract - 100 candidate(s) found:"_s);
    QCOMPARE(m_bench->opened(), QStringList{path(u"Tool 00.pkg"_s)});
    QCOMPARE(m_bench->savedNames(), QStringList{u"Tool 00.pkg"_s});
}

void TestInstall::twoArchivesAtOnceBothEnd()
{
    m_bench->list(
        {{.name = u"A"_s, .fileName = u"a.zip"_s}, {.name = u"B"_s, .fileName = u"b.zip"_s}});
    m_bench->offer(u"a.zip"_s, {.body = zipped({u"A.pkg"_s})});
    m_bench->offer(u"b.zip"_s, {.body = zipped({u"B.pkg"_s})});
    m_bench->open();
    m_bench->pressDownload(0);
    m_bench->pressDownload(1);
    const auto ends = [this] {
        m_lines += m_bench->takeActivity();
        return m_lines.filter(u"Extract - Done"_s).size() +
               m_lines.filter(u"Extract - Failed"_s).size();
    };
    QTRY_COMPARE_WITH_TIMEOUT(ends(), 2, 30'000);
    QTRY_VERIFY(!unzip());
    QVERIFY(m_bench->waitForScan());
    // They share the work folder: one may take the other's item, or lose its own.
    QVERIFY(!m_bench->opened().isEmpty());
    QCOMPARE(m_bench->looks(), QStringList(2, u"2.0 ⤓ #d4d4d4"_s));
    QVERIFY(!m_bench->isWaitDialogVisible());
}

void TestInstall::killedUnzipIsAFailure()
{
    startAndStopUnzip();
    unzip()->kill();
    waitForTheEnd();
    QCOMPARE(m_lines.constLast(), u"[ERROR] Extract - Failed (exit code 9)"_s);
    QVERIFY(m_bench->opened().isEmpty());
    QVERIFY(!m_bench->isWaitDialogVisible());
    QCOMPARE(m_bench->savedNames(), (QStringList{workFolder, u"tool.zip"_s}));
}

void TestInstall::windowClosedWhileUnzipRunsStaysSilent()
{
    startAndStopUnzip();
    m_bench->window().close();
    ::kill(pid_t(unzip()->processId()), SIGCONT);
    QTRY_VERIFY_WITH_TIMEOUT(!unzip(), 60'000);
    QVERIFY(m_bench->takeActivity().isEmpty());
    QVERIFY(m_bench->opened().isEmpty());
    QVERIFY(m_bench->savedNames().contains(u"tool.zip"_s));
}

void TestInstall::windowDestroyedWhileUnzipRuns()
{
    startAndStopUnzip();
    const pid_t id = pid_t(unzip()->processId());
    m_bench->destroy();
    QCOMPARE(::kill(id, 0), -1); // neither running nor left for its parent to collect
    QVERIFY(m_bench->takeActivity().isEmpty());
    QVERIFY(m_bench->opened().isEmpty());
}

void TestInstall::windowDestroyedWhileDownloadsAndUnzipRun()
{
    startAndStopUnzip();
    m_bench->offer(u"tool.zip"_s,
                   {.body = "begun", .manner = HttpReply::Stall, .announcedLength = 1'000'000});
    m_bench->window().startDownload(0); // behind the wait dialog
    QTRY_COMPARE(m_bench->server().openConnections(), 1);
    m_bench->window().action_loadSysData();
    (void)m_bench->takeActivity();
    m_bench->destroy();
    QTRY_COMPARE(m_bench->server().openConnections(), 0);
    QVERIFY(!m_bench->takeActivity().join(u'\n').contains("Extract"_L1));
}

void TestInstall::rowIsIdleWhileUnzipRuns()
{
    startAndStopUnzip();
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
    // The same row may start again meanwhile, behind the wait dialog; both end.
    m_bench->window().startDownload(0);
    QCOMPARE(m_bench->look(0), u"0% ✕ #d4d4d4"_s);
    m_bench->window().cancelDownload(0);
    ::kill(pid_t(unzip()->processId()), SIGCONT);
    waitForTheEnd();
    QCOMPARE(m_bench->opened(), QStringList{path(u"Tool.pkg"_s)});
}

void TestInstall::unzipThatCannotBeStartedIsLogged()
{
    m_bench.emplace(DownloadBench::Held);
    m_bench->list({{.name = u"Atlas"_s, .fileName = u"tool.zip"_s}});
    m_bench->open();
    QVERIFY(m_bench->scan()); // creates the wait dialog
    m_bench->pressDownload(0);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/tool.zip"_s), 1);
    (void)m_bench->takeActivity();
    m_bench->held().begin(u"soft/tool.zip"_s, 3);
    m_bench->held().send(u"soft/tool.zip"_s, "zip");
    {
        // Open files enough are left to save the archive, but not for a process's three pipes.
        const FewFiles few(3);
        QTRY_VERIFY(QFileInfo(path(workFolder)).isDir());
        QTest::qWait(0);
    }
    const QStringList lines = m_bench->takeActivity();
    QCOMPARE(lines.size(), 3);
    QVERIFY2(lines[2].startsWith("[ERROR] Extract - Cannot start unzip: "_L1) &&
                 !lines[2].endsWith(": "_L1),
             qUtf8Printable(lines.join(u'\n')));
    QTRY_VERIFY(!unzip());
    QCOMPARE(m_bench->saved(u"tool.zip"_s), "zip");
    QVERIFY(m_bench->opened().isEmpty());
    QCOMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
    // Nothing closes the wait dialog but the user.
    QVERIFY(m_bench->isWaitDialogVisible());
    QTest::keyClick(m_bench->window().findChild<WaitDialog*>(), Qt::Key_Escape);
    QVERIFY(!m_bench->isWaitDialogVisible());
}

void TestInstall::opensAnyPath_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : {"Tool.dmg", "My Tool.dmg", "Éditeur.dmg", "a%20b.dmg", "C#.dmg",
                             "a?b=c.dmg", "100%.dmg", "-rf.dmg", "a;b|c&d.dmg", "$(id).dmg",
                             "\"quoted\".dmg", "a\\b.dmg", "missing.dmg", "日本語.dmg"}) {
        QTest::newRow(name) << QString::fromUtf8(name);
    }
}

void TestInstall::opensAnyPath()
{
    QFETCH(QString, name);
    serve({}, u"x"_s);
    m_bench->window().launchInstaller(path(name), false);
    QCOMPARE(m_bench->takeActivity(), QStringList{"[INFO] Install - Launching: "_L1 + path(name)});
    QCOMPARE(m_bench->openedUrls(), QList<QUrl>{QUrl::fromLocalFile(path(name))});
    QCOMPARE(m_bench->opened(), QStringList{path(name)});
}

void TestInstall::failedOpeningIsNotTold()
{
    serve({}, u"x"_s);
    QDesktopServices::unsetUrlHandler(u"file"_s);
    BoxAnswerer answers(QMessageBox::Ok);
    m_bench->window().launchInstaller(path(u"missing.dmg"_s), false);
    QCOMPARE(m_bench->takeActivity(),
             QStringList{"[INFO] Install - Launching: "_L1 + path(u"missing.dmg"_s)});
    QCOMPARE(answers.count(), 0);
}

void TestInstall::restartIsAskedForAnOwnUpdate()
{
    serve({}, u"x"_s);
    BoxAnswerer answers(QMessageBox::No);
    QStringList linesBefore;
    QMessageBox::StandardButtons buttons;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    answers.inspect([&](const QMessageBox& box) {
        linesBefore = m_bench->takeActivity();
        buttons = box.standardButtons();
        icon = box.icon();
    });
    m_bench->window().launchInstaller(path(u"New.dmg"_s), true);
    QCOMPARE(answers.titles(), QStringList{u"Restart?"_s});
    QCOMPARE(answers.texts(),
             QStringList{u"The new version of Quillmere is ready.\nThe application will close to "
                         "proceed with the installation.\n\nRestart now?"_s});
    QCOMPARE(buttons, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(icon, QMessageBox::Question);
    QCOMPARE(linesBefore, QStringList{"[INFO] Install - Launching: "_L1 + path(u"New.dmg"_s)});
}

void TestInstall::decliningTheRestartOpensNothing_data()
{
    QTest::addColumn<int>("answer");
    QTest::newRow("No") << int(QMessageBox::No);
    // A button that the box lacks: it is closed instead.
    QTest::newRow("closed") << int(QMessageBox::Abort);
}

void TestInstall::decliningTheRestartOpensNothing()
{
    QFETCH(int, answer);
    serve("new", u"New.dmg"_s, u"Quillmere"_s);
    {
        const BoxAnswerer first(QMessageBox::Ok);
        m_bench->pressDownload(0);
        QCOMPARE(first.titles(), QStringList{u"Restart required"_s});
    }
    const BoxAnswerer second(static_cast<QMessageBox::StandardButton>(answer));
    QTRY_COMPARE(second.titles(), QStringList{u"Restart?"_s});
    QTRY_COMPARE(m_bench->look(0), u"2.0 ⤓ #d4d4d4"_s);
    QVERIFY(m_bench->waitForScan());
    QVERIFY(m_bench->opened().isEmpty());
    QCOMPARE(m_bench->saved(u"New.dmg"_s), "new");
    QCOMPARE(m_bench->takeActivity().mid(1),
             (QStringList{"[INFO] Download - Saved: "_L1 + path(u"New.dmg"_s),
                          "[INFO] Install - Launching: "_L1 + path(u"New.dmg"_s), u"scan"_s}));
    QVERIFY(m_bench->window().isVisible());
}

void TestInstall::acceptedRestartOpensAndQuits_data()
{
    QTest::addColumn<bool>("canOpen");
    QTest::newRow("opened") << true;
    QTest::newRow("opening fails") << false;
}

void TestInstall::acceptedRestartOpensAndQuits()
{
    QFETCH(bool, canOpen);
    serve({}, u"x"_s);
    if (!canOpen) {
        QDesktopServices::unsetUrlHandler(u"file"_s);
    }
    const BoxAnswerer answers(QMessageBox::Yes);
    QTimer::singleShot(0, &m_bench->window(), [this] {
        m_bench->window().launchInstaller(path(u"New.dmg"_s), true);
        m_bench->window().action_loadSysData(); // as its callers do
    });
    QTimer guard;
    guard.callOnTimeout([] { QCoreApplication::exit(99); });
    guard.start(10'000);
    (void)m_bench->takeActivity();
    const ShownWindows shown;
    QCOMPARE(QCoreApplication::exec(), 0);
    QCOMPARE(m_bench->opened(), canOpen ? QStringList{path(u"New.dmg"_s)} : QStringList());
    QVERIFY(!m_bench->window().isVisible());
    QCOMPARE(answers.count(), 1);
    // The rescan is asked for, and nobody sees it.
    QCOMPARE(shown.titles(), QStringList{u"Restart?"_s});
    m_bench->destroy(); // waits for the scan
    QCOMPARE(m_bench->takeActivity(),
             (QStringList{"[INFO] Install - Launching: "_L1 + path(u"New.dmg"_s), u"scan"_s}));
}

void TestInstall::ownUpdateInAnArchiveIsAskedAbout_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isAsked");
    QTest::newRow("this program") << u"Quillmere"_s << true;
    QTest::newRow("lower case in a longer name") << u"the quillmere app"_s << true;
    QTest::newRow("another program") << u"Quill"_s << false;
}

void TestInstall::ownUpdateInAnArchiveIsAskedAbout()
{
    QFETCH(QString, name);
    QFETCH(bool, isAsked);
    serve(zipped({u"Quillmere.app/Contents/x"_s}), u"new.zip"_s, name);
    QStringList titles;
    {
        const BoxAnswerer first(QMessageBox::Ok);
        m_bench->pressDownload(0);
        titles += first.titles();
    }
    const BoxAnswerer second(QMessageBox::No);
    waitForTheEnd();
    titles += second.titles();
    QCOMPARE(titles, isAsked ? (QStringList{u"Restart required"_s, u"Restart?"_s}) : QStringList());
    QCOMPARE(m_bench->opened(), isAsked ? QStringList() : QStringList{path(u"Quillmere.app"_s)});
    QVERIFY(QFileInfo(path(u"Quillmere.app"_s)).isDir());
    QCOMPARE(m_lines.constLast(), u"scan"_s);
}

void TestInstall::rowGoneWhileTheRestartIsAsked()
{
    serve("new", u"New.dmg"_s, u"Quillmere"_s);
    {
        const BoxAnswerer first(QMessageBox::Ok);
        m_bench->pressDownload(0);
    }
    m_bench->list({{.name = u"Atlas"_s}, {.name = u"Bench"_s}});
    BoxAnswerer second(QMessageBox::No);
    second.inspect([this](const QMessageBox&) { QVERIFY(m_bench->window().action_loadWebData()); });
    QTRY_COMPARE(second.count(), 1);
    QTRY_COMPARE(m_bench->looks(), QStringList(2, u"2.0 ⤓ #d4d4d4"_s));
    QVERIFY(m_bench->waitForScan());
}

QTEST_MAIN(TestInstall)
#include "tst_install.moc"
