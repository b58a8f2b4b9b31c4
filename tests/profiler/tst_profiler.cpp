#include "profiler/profiler.h"

#include "profiler/versionorder.h"
#include "support/cataloguetext.h"
#include "support/httpserver.h"
#include "support/samplemachine.h"

#include <QElapsedTimer>
#include <QNetworkProxyFactory>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <atomic>

using namespace Qt::Literals::StringLiterals;

namespace {

struct Bundle
{
    QString name;
    QString version;
};
using Bundles = QList<Bundle>;

void installAll(SampleMachine& machine, const Bundles& bundles)
{
    for (const Bundle& bundle : bundles) {
        machine.install(bundle.name, bundle.version);
    }
}

/// A profiler for tests that load no catalogue.
class ScanOnlyProfiler : public Profiler
{
public:
    ScanOnlyProfiler() : Profiler(u"http://127.0.0.1:1/"_s, u"none.csv"_s, u","_s, u"soft/"_s) {}
};

const QByteArray catalogue = catalogueTitles + "Synth,2.0,2026-03-01,Synth 2.0.dmg,0\n"
                                               "Hidden,9.0,2026-01-01,Hidden.pkg,1\n"
                                               "Éditeur,1.5,1 août 2025,éditeur.zip,0\n"
                                               "Synth,2.1,2026-04-01,Synth 2.1.dmg,0\n";

QString catalogueSizeError(qsizetype size)
{
    return u"CSV reçu (%1 octets) mais aucune entrée valide — format inattendu"_s.arg(size);
}

} // namespace

class TestProfiler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void constructionNeitherScansNorDownloads();

    void findMatches_data();
    void findMatches();
    void onlyDigitsDotsAndBlanksTakePart_data();
    void onlyDigitsDotsAndBlanksTakePart();
    void orderOfTheScanDoesNotMatter();
    void unknownNameIsNotLoggedBeforeAnyScan();
    void unknownNameIsNotLoggedAfterClearing();
    void unknownNameIsNotLoggedDuringAScan();
    void versionAskedForDuringAScanIsReadAfterIt();
    void missingVersionIsWarnedOfOncePerScan();
    void missingVersionsOfCandidatesAreWarnedOfBeforeTheMatch();
    void matchFollowsTheLatestScan();
    void nameAskedForItsVersionCanBeFound();
    void logLinesAreUtf8();

    void scanRunsFindOverApplications();
    void systemQueriesReachTheScan();
    void scanGivesNoPropertyButTheLocation();
    void isInstallIsAPrefixTest();
    void clearingForgetsTheScan();
    void scanInTheCallingThreadEmitsNothing();
    void threadedScanReturnsAtOnceAndEndsWithItsResult();
    void workFinishedComesOncePerThreadedScan();
    void workFinishedIsDeliveredOnTheInterfaceThread();
    void scanAskedForWhenOneHasJustFinishedIsNotLost();
    void scansAskedForDuringAScanDoNothing();
    void destructionWaitsForARunningScan();

    void catalogueQueriesReachTheCatalogue();
    void unknownCatalogueNameIsEmpty();
    void clearingTheCatalogueEmptiesItsData();
    void newCatalogueReplacesTheFormerOne();
    void settingsTakeEffectAtTheNextDownload();
    void reasonOfAFailedDownloadIsPassedOn();
    void cancellingEndsADownload();

    void versionsAreComparedByNumber_data();
    void versionsAreComparedByNumber();
    void regexMatchAcceptsDigitsDotsAndBlanks_data();
    void regexMatchAcceptsDigitsDotsAndBlanks();
};

void TestProfiler::initTestCase()
{
    // A proxy in the environment would be asked for the pages of 127.0.0.1.
    QNetworkProxyFactory::setUseSystemConfiguration(false);
}

void TestProfiler::constructionNeitherScansNorDownloads()
{
    SampleMachine machine;
    machine.standIns().addRecording(u"find"_s);
    HttpServer server;
    QSignalSpy connections(&server, &HttpServer::newConnection);
    const Profiler profiler(server.url(), u"apps.csv"_s, u","_s, u"soft/"_s);

    const QStringList lines = {u"[INFO] SysProfiler - Initialized"_s,
                               u"[INFO] SysProfiler - System search engine: find"_s,
                               u"[INFO] Init WebProfiler"_s};
    QCOMPARE(machine.takeLog(), lines);
    QCOMPARE(profiler.parent(), nullptr);
    QVERIFY(!profiler.sysData_hasData());
    QCOMPARE(profiler.getWebAppList(), QStringList());
    QCOMPARE(profiler.webData_lastError(), QString());
    QCoreApplication::processEvents();
    QCOMPARE(connections.count(), 0);
    QCOMPARE(machine.standIns().calls(u"find"_s), QByteArray());
}

// Which application a catalogue name stands for

void TestProfiler::findMatches_data() // NOLINT(readability-function-size): a table
{
    QTest::addColumn<Bundles>("installed");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("match");
    QTest::addColumn<QString>("line");

    const auto row = [](const char* what, const Bundles& installed, const QString& name,
                        const QString& match, const QString& line) {
        QTest::newRow(what) << installed << name << match << line;
    };

    row("nothing installed", {}, u"Synth"_s, {},
        u"[WARNING] Profiler - 'Synth' → NOT FOUND in system"_s);
    row("other application installed", {{u"Mixer"_s, u"1.0"_s}}, u"Synth"_s, {},
        u"[WARNING] Profiler - 'Synth' → NOT FOUND in system"_s);
    row("letter case counts", {{u"synth"_s, u"1.0"_s}}, u"Synth"_s, {},
        u"[WARNING] Profiler - 'Synth' → NOT FOUND in system"_s);
    row("a shorter name is not enough", {{u"Syn"_s, u"1.0"_s}}, u"Synth"_s, {},
        u"[WARNING] Profiler - 'Synth' → NOT FOUND in system"_s);
    row("name inside another one is not enough", {{u"My Synth"_s, u"1.0"_s}}, u"Synth"_s, {},
        u"[WARNING] Profiler - 'Synth' → NOT FOUND in system"_s);
    row("place marker in an unknown name", {}, u"50%1 'off' %2"_s, {},
        u"[WARNING] Profiler - '50%1 'off' %2' → NOT FOUND in system"_s);

    row("one candidate, same name", {{u"Synth"_s, u"1.0"_s}}, u"Synth"_s, u"Synth"_s,
        u"[INFO] Profiler - 'Synth' → matched 'Synth' v1.0"_s);
    row("one candidate, longer name, no pattern test", {{u"Synth Pro"_s, u"3.1"_s}}, u"Synth"_s,
        u"Synth Pro"_s, u"[INFO] Profiler - 'Synth' → matched 'Synth Pro' v3.1"_s);
    row("one candidate, longer word, no pattern test", {{u"Synthesizer"_s, u"3.1"_s}}, u"Synth"_s,
        u"Synthesizer"_s, u"[INFO] Profiler - 'Synth' → matched 'Synthesizer' v3.1"_s);
    row("one candidate's version is its first word", {{u"Synth"_s, u"2.0.1 build 7"_s}}, u"Synth"_s,
        u"Synth"_s, u"[INFO] Profiler - 'Synth' → matched 'Synth' v2.0.1"_s);
    row("accents", {{u"Éditeur"_s, u"1.5"_s}}, u"Éditeur"_s, u"Éditeur"_s,
        u"[INFO] Profiler - 'Éditeur' → matched 'Éditeur' v1.5"_s);
    row("place marker in a name", {{u"Mix %1"_s, u"1.%2"_s}}, u"Mix %1"_s, u"Mix %1"_s,
        u"[INFO] Profiler - 'Mix %1' → matched 'Mix %1' v1.%2"_s);

    row("newest of two", {{u"Synth"_s, u"1.0"_s}, {u"Synth 2"_s, u"2.0"_s}}, u"Synth"_s,
        u"Synth 2"_s,
        u"[INFO] Profiler - 'Synth' → 2 candidates: ['Synth' v1.0, 'Synth 2' v2.0]"
        " → matched 'Synth 2' v2.0"_s);
    row("first one may be the newest", {{u"Synth"_s, u"3.0"_s}, {u"Synth 2"_s, u"2.0"_s}},
        u"Synth"_s, u"Synth"_s,
        u"[INFO] Profiler - 'Synth' → 2 candidates: ['Synth' v3.0, 'Synth 2' v2.0]"
        " → matched 'Synth' v3.0"_s);
    row("middle one may be the newest",
        {{u"Synth"_s, u"1.0"_s}, {u"Synth 2"_s, u"5.0"_s}, {u"Synth 3"_s, u"3.0"_s}}, u"Synth"_s,
        u"Synth 2"_s,
        u"[INFO] Profiler - 'Synth' → 3 candidates: ['Synth' v1.0, 'Synth 2' v5.0,"
        " 'Synth 3' v3.0] → matched 'Synth 2' v5.0"_s);
    row("versions are numbers, not text", {{u"Synth"_s, u"1.9"_s}, {u"Synth 2"_s, u"1.10"_s}},
        u"Synth"_s, u"Synth 2"_s,
        u"[INFO] Profiler - 'Synth' → 2 candidates: ['Synth' v1.9, 'Synth 2' v1.10]"
        " → matched 'Synth 2' v1.10"_s);
    row("candidates listed in ascending order, as text",
        {{u"Synth 2"_s, u"2.0"_s}, {u"Synth"_s, u"1.0"_s}, {u"Synth 10"_s, u"10.0"_s}}, u"Synth"_s,
        u"Synth 10"_s,
        u"[INFO] Profiler - 'Synth' → 3 candidates: ['Synth' v1.0, 'Synth 10' v10.0,"
        " 'Synth 2' v2.0] → matched 'Synth 10' v10.0"_s);
    row("equal versions, the later one wins", {{u"Synth"_s, u"1.0"_s}, {u"Synth 2"_s, u"1.0"_s}},
        u"Synth"_s, u"Synth 2"_s,
        u"[INFO] Profiler - 'Synth' → 2 candidates: ['Synth' v1.0, 'Synth 2' v1.0]"
        " → matched 'Synth 2' v1.0"_s);
    row("equal versions, the last of three wins",
        {{u"Synth 2"_s, u"1.0"_s}, {u"Synth"_s, u"1.0"_s}, {u"Synth 10"_s, u"1.0"_s}}, u"Synth"_s,
        u"Synth 2"_s,
        u"[INFO] Profiler - 'Synth' → 3 candidates: ['Synth' v1.0, 'Synth 10' v1.0,"
        " 'Synth 2' v1.0] → matched 'Synth 2' v1.0"_s);
    row("equal as far as the shorter version goes, the later one wins",
        {{u"Synth"_s, u"2.0.5"_s}, {u"Synth 2"_s, u"2.0"_s}}, u"Synth"_s, u"Synth 2"_s,
        u"[INFO] Profiler - 'Synth' → 2 candidates: ['Synth' v2.0.5, 'Synth 2' v2.0]"
        " → matched 'Synth 2' v2.0"_s);
    row("version 0 takes part", {{u"Synth"_s, u"0"_s}, {u"Synth Pro"_s, u"1.0"_s}}, u"Synth"_s,
        u"Synth"_s,
        u"[INFO] Profiler - 'Synth' → 2 candidates: ['Synth' v0, 'Synth Pro' v1.0]"
        " → matched 'Synth' v0"_s);
    row("version without a number takes part",
        {{u"Synth Lite"_s, u"1.0"_s}, {u"Synth 2"_s, u"beta"_s}}, u"Synth"_s, u"Synth 2"_s,
        u"[INFO] Profiler - 'Synth' → 2 candidates: ['Synth 2' vbeta, 'Synth Lite' v1.0]"
        " → matched 'Synth 2' vbeta"_s);
    row("too large version counts as 0",
        {{u"Synth"_s, u"0.1"_s}, {u"Synth 2"_s, u"2147483648.0"_s}, {u"Synth 3"_s, u"0.1"_s}},
        u"Synth"_s, u"Synth 3"_s,
        u"[INFO] Profiler - 'Synth' → 3 candidates: ['Synth' v0.1,"
        " 'Synth 2' v2147483648.0, 'Synth 3' v0.1] → matched 'Synth 3' v0.1"_s);

    row("other product takes no part, though newer",
        {{u"Synth"_s, u"1.0"_s}, {u"Synth Pro"_s, u"9.0"_s}}, u"Synth"_s, u"Synth"_s,
        u"[INFO] Profiler - 'Synth' → 2 candidates: ['Synth' v1.0, 'Synth Pro' v9.0]"
        " → matched 'Synth' v1.0"_s);
    row("other product listed first takes no part",
        {{u"Synth (old)"_s, u"9.0"_s}, {u"Synth 2"_s, u"1.0"_s}}, u"Synth"_s, u"Synth 2"_s,
        u"[INFO] Profiler - 'Synth' → 2 candidates: ['Synth (old)' v9.0, 'Synth 2' v1.0]"
        " → matched 'Synth 2' v1.0"_s);
    row("none takes part, the first is returned with 0",
        {{u"Synth Pro"_s, u"9.0"_s}, {u"Synth Lite"_s, u"3.0"_s}}, u"Synth"_s, u"Synth Lite"_s,
        u"[INFO] Profiler - 'Synth' → 2 candidates: ['Synth Lite' v3.0, 'Synth Pro' v9.0]"
        " → matched 'Synth Lite' v0"_s);
    row("every occurrence of the name is removed", {{u"Go"_s, u"1.0"_s}, {u"Go 2 Go"_s, u"2.0"_s}},
        u"Go"_s, u"Go 2 Go"_s,
        u"[INFO] Profiler - 'Go' → 2 candidates: ['Go' v1.0, 'Go 2 Go' v2.0]"
        " → matched 'Go 2 Go' v2.0"_s);
    row("name in another letter case is not removed",
        {{u"Go"_s, u"1.0"_s}, {u"Go 2 GO"_s, u"2.0"_s}}, u"Go"_s, u"Go"_s,
        u"[INFO] Profiler - 'Go' → 2 candidates: ['Go' v1.0, 'Go 2 GO' v2.0]"
        " → matched 'Go' v1.0"_s);
    row("name is no pattern", {{u"C++ (x)"_s, u"1.0"_s}, {u"C++ (x) 2"_s, u"2.0"_s}}, u"C++ (x)"_s,
        u"C++ (x) 2"_s,
        u"[INFO] Profiler - 'C++ (x)' → 2 candidates: ['C++ (x)' v1.0, 'C++ (x) 2' v2.0]"
        " → matched 'C++ (x) 2' v2.0"_s);
    row("place marker among candidates", {{u"%1"_s, u"%2"_s}, {u"%1 2"_s, u"%3"_s}}, u"%1"_s,
        u"%1 2"_s,
        u"[INFO] Profiler - '%1' → 2 candidates: ['%1' v%2, '%1 2' v%3]"
        " → matched '%1 2' v%3"_s);
    row("empty name, every application is a candidate",
        {{u"Synth"_s, u"1.0"_s}, {u"2048"_s, u"1.0"_s}, {u"Mixer"_s, u"7.0"_s}}, {}, u"2048"_s,
        u"[INFO] Profiler - '' → 3 candidates: ['2048' v1.0, 'Mixer' v7.0, 'Synth' v1.0]"
        " → matched '2048' v1.0"_s);
}

void TestProfiler::findMatches()
{
    QFETCH(Bundles, installed);
    QFETCH(QString, name);
    QFETCH(QString, match);
    QFETCH(QString, line);

    SampleMachine machine;
    installAll(machine, installed);
    ScanOnlyProfiler profiler;
    profiler.sysData_update();
    machine.takeLog();

    QCOMPARE(profiler.find(name), match);
    QCOMPARE(machine.takeLog(), QStringList{line});
}

void TestProfiler::onlyDigitsDotsAndBlanksTakePart_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<bool>("takesPart");

    QTest::newRow("digit") << u"2"_s << true;
    QTest::newRow("blank and digit") << u" 2"_s << true;
    QTest::newRow("number with a dot") << u" 1.5"_s << true;
    QTest::newRow("several numbers") << u" 2 2026.1"_s << true;
    QTest::newRow("dots alone") << u"..."_s << true;
    QTest::newRow("blanks alone") << u"  "_s << true;
    QTest::newRow("word") << u" Pro"_s << false;
    QTest::newRow("word behind a number") << u" 2 Pro"_s << false;
    QTest::newRow("word before a number") << u" Pro 2"_s << false;
    QTest::newRow("letter before a number") << u" v2"_s << false;
    QTest::newRow("number in brackets") << u" (2)"_s << false;
    QTest::newRow("hyphen") << u"-2"_s << false;
    QTest::newRow("underscore") << u"_2"_s << false;
    QTest::newRow("tab") << u"\t2"_s << false;
    QTest::newRow("no-break space") << u"\u00A02"_s << false;
    QTest::newRow("Arabic-Indic digit") << u" \u0662"_s << false;
}

void TestProfiler::onlyDigitsDotsAndBlanksTakePart()
{
    QFETCH(QString, suffix);
    QFETCH(bool, takesPart);

    SampleMachine machine;
    machine.install(u"Synth"_s, u"1.0"_s);
    machine.install("Synth"_L1 + suffix, u"2.0"_s);
    ScanOnlyProfiler profiler;
    profiler.sysData_update();

    QCOMPARE(profiler.find(u"Synth"_s), takesPart ? "Synth"_L1 + suffix : u"Synth"_s);
}

void TestProfiler::orderOfTheScanDoesNotMatter()
{
    SampleMachine machine;
    QStringList paths;
    for (const QString& name : {u"Synth"_s, u"Synth 1.5"_s, u"Synth 2"_s, u"Synth Pro"_s}) {
        machine.install(name, u"1.0"_s);
        paths.append(machine.location(name));
    }
    const QString line =
        u"[INFO] Profiler - 'Synth' → 4 candidates: ['Synth' v1.0, 'Synth 1.5' v1.0,"
        " 'Synth 2' v1.0, 'Synth Pro' v1.0] → matched 'Synth 2' v1.0"_s;
    ScanOnlyProfiler profiler;
    std::sort(paths.begin(), paths.end());
    do {
        machine.standIns().addPrinting(u"find"_s, paths.join(u'\n').toUtf8() + '\n');
        profiler.sysData_update();
        machine.takeLog();
        QCOMPARE(profiler.find(u"Synth"_s), u"Synth 2"_s);
        QCOMPARE(machine.takeLog(), QStringList{line});
    } while (std::next_permutation(paths.begin(), paths.end()));
}

void TestProfiler::unknownNameIsNotLoggedBeforeAnyScan()
{
    SampleMachine machine;
    machine.install(u"Synth"_s, u"1.0"_s);
    ScanOnlyProfiler profiler;
    machine.takeLog();

    QCOMPARE(profiler.find(u"Synth"_s), QString());
    QCOMPARE(machine.takeLog(), QStringList());
}

void TestProfiler::unknownNameIsNotLoggedAfterClearing()
{
    SampleMachine machine;
    machine.install(u"Synth"_s, u"1.0"_s);
    ScanOnlyProfiler profiler;
    profiler.sysData_update();
    QCOMPARE(profiler.find(u"Synth"_s), u"Synth"_s);
    profiler.sysData_clear();
    machine.takeLog();

    QCOMPARE(profiler.find(u"Synth"_s), QString());
    QCOMPARE(machine.takeLog(), QStringList());
}

void TestProfiler::unknownNameIsNotLoggedDuringAScan()
{
    SampleMachine machine;
    machine.install(u"Synth"_s, u"1.0"_s);
    ScanOnlyProfiler profiler;
    QSignalSpy finished(&profiler, &Profiler::workFinished);
    machine.holdScans();
    profiler.sysData_update_thread();
    QTRY_COMPARE(machine.heldScans(), 1);
    machine.takeLog();

    QVERIFY(!profiler.sysData_hasData());
    QCOMPARE(profiler.find(u"Synth"_s), QString());
    QCOMPARE(machine.takeLog(), QStringList());

    machine.releaseScans();
    QVERIFY(finished.wait());
    QCOMPARE(profiler.find(u"Synth"_s), u"Synth"_s);
}

void TestProfiler::versionAskedForDuringAScanIsReadAfterIt()
{
    SampleMachine machine;
    machine.install(u"Synth"_s, u"1.0"_s);
    ScanOnlyProfiler profiler;
    QSignalSpy finished(&profiler, &Profiler::workFinished);
    machine.holdScans();
    profiler.sysData_update_thread();
    QTRY_COMPARE(machine.heldScans(), 1);
    QCOMPARE(profiler.getSysVersion(u"Synth"_s), QString());

    machine.releaseScans();
    QVERIFY(finished.wait());
    QCOMPARE(profiler.getSysVersion(u"Synth"_s), u"1.0"_s);
}

void TestProfiler::missingVersionIsWarnedOfOncePerScan()
{
    SampleMachine machine;
    machine.install(u"Synth"_s, {});
    ScanOnlyProfiler profiler;
    const QString warning = u"[WARNING] SysProfiler - Cannot read version for 'Synth' — plist: "_s +
                            machine.location(u"Synth"_s) + "/Contents/Info.plist"_L1;
    const QString match = u"[INFO] Profiler - 'Synth' → matched 'Synth' v"_s;
    for (int scan = 0; scan < 2; ++scan) {
        profiler.sysData_update();
        machine.takeLog();
        QCOMPARE(profiler.find(u"Synth"_s), u"Synth"_s);
        QCOMPARE(machine.takeLog(), (QStringList{warning, match}));
        QCOMPARE(profiler.find(u"Synth"_s), u"Synth"_s);
        QCOMPARE(machine.takeLog(), QStringList{match});
    }
}

void TestProfiler::missingVersionsOfCandidatesAreWarnedOfBeforeTheMatch()
{
    SampleMachine machine;
    installAll(machine, {{u"Synth 2"_s, {}}, {u"Synth Pro"_s, {}}, {u"Synth"_s, u"0.9"_s}});
    ScanOnlyProfiler profiler;
    profiler.sysData_update();
    machine.takeLog();

    // No version counts as 0, as does the first number of 0.9; one part is all there is to compare.
    QCOMPARE(profiler.find(u"Synth"_s), u"Synth 2"_s);
    const auto warning = [&machine](const QString& name) {
        return "[WARNING] SysProfiler - Cannot read version for '"_L1 + name + u"' — plist: "_s +
               machine.location(name) + "/Contents/Info.plist"_L1;
    };
    const QStringList lines = {
        warning(u"Synth 2"_s), warning(u"Synth Pro"_s),
        u"[INFO] Profiler - 'Synth' → 3 candidates: ['Synth' v0.9, 'Synth 2' v, 'Synth Pro' v]"
        " → matched 'Synth 2' v"_s};
    QCOMPARE(machine.takeLog(), lines);
}

void TestProfiler::matchFollowsTheLatestScan()
{
    SampleMachine machine;
    machine.install(u"Synth"_s, u"1.0"_s);
    ScanOnlyProfiler profiler;
    profiler.sysData_update();
    QCOMPARE(profiler.find(u"Synth"_s), u"Synth"_s);

    machine.install(u"Synth 2"_s, u"2.0"_s);
    QCOMPARE(profiler.find(u"Synth"_s), u"Synth"_s);
    profiler.sysData_update();
    QCOMPARE(profiler.find(u"Synth"_s), u"Synth 2"_s);

    machine.install(u"Synth"_s, u"3.0"_s);
    QCOMPARE(profiler.find(u"Synth"_s), u"Synth 2"_s);
    profiler.sysData_update();
    QCOMPARE(profiler.find(u"Synth"_s), u"Synth"_s);
}

void TestProfiler::nameAskedForItsVersionCanBeFound()
{
    SampleMachine machine;
    ScanOnlyProfiler profiler;
    profiler.sysData_update();
    QCOMPARE(profiler.getSysVersion(u"Ghost"_s), QString());
    machine.takeLog();

    QCOMPARE(profiler.find(u"Gho"_s), u"Ghost"_s);
    QCOMPARE(machine.takeLog(), QStringList{u"[INFO] Profiler - 'Gho' → matched 'Ghost' v"_s});
}

void TestProfiler::logLinesAreUtf8()
{
    SampleMachine machine;
    installAll(machine, {{u"Éditeur"_s, u"1.0"_s}, {u"Éditeur 2"_s, u"2.0"_s}});
    ScanOnlyProfiler profiler;
    profiler.sysData_update();
    const qsizetype before = PrivateHome::read(machine.home().logPath()).size();
    QCOMPARE(profiler.find(u"Éditeur"_s), u"Éditeur 2"_s);
    QCOMPARE(profiler.find(u"Absent"_s), QString());

    const QByteArray log = PrivateHome::read(machine.home().logPath()).mid(before);
    const QList<QByteArray> lines = log.split('\n');
    const QRegularExpression time(u"^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d $"_s);
    const qsizetype timeLength = 20;
    QCOMPARE(lines.size(), 3);
    QVERIFY(time.match(QString::fromLatin1(lines[0].first(timeLength))).hasMatch());
    QCOMPARE(lines[0].mid(timeLength), "[INFO] Profiler - '\xC3\x89"
                                       "diteur' \xE2\x86\x92 2 candidates: ['\xC3\x89"
                                       "diteur' v1.0, '\xC3\x89"
                                       "diteur 2' v2.0] \xE2\x86\x92 matched '\xC3\x89"
                                       "diteur 2' v2.0");
    QVERIFY(time.match(QString::fromLatin1(lines[1].first(timeLength))).hasMatch());
    QCOMPARE(lines[1].mid(timeLength),
             "[WARNING] Profiler - 'Absent' \xE2\x86\x92 NOT FOUND in system");
    QCOMPARE(lines[2], QByteArray());
}

// The scan of installed applications

void TestProfiler::scanRunsFindOverApplications()
{
    const SampleMachine machine;
    machine.standIns().addRecording(u"find"_s);
    ScanOnlyProfiler profiler;
    profiler.sysData_update();
    QCOMPARE(machine.standIns().calls(u"find"_s),
             "/Applications\n-maxdepth\n3\n-type\nd\n-name\n*.app\n\n");
}

void TestProfiler::systemQueriesReachTheScan()
{
    SampleMachine machine;
    installAll(machine, {{u"Synth"_s, u"1.0"_s}, {u"Mixer"_s, u"4.2 (77)"_s}});
    ScanOnlyProfiler profiler;
    QVERIFY(!profiler.sysData_hasData());
    QVERIFY(!profiler.isInstall(u"Synth"_s));
    QCOMPARE(profiler.getLocation(u"Synth"_s), QString());

    profiler.sysData_update();
    QVERIFY(profiler.sysData_hasData());
    QVERIFY(profiler.isInstall(u"Synth"_s));
    QCOMPARE(profiler.getLocation(u"Synth"_s), machine.location(u"Synth"_s));
    QCOMPARE(profiler.getLocation(u"Mixer"_s), machine.location(u"Mixer"_s));
    QCOMPARE(profiler.getSysVersion(u"Synth"_s), u"1.0"_s);
    QCOMPARE(profiler.getSysVersion(u"Mixer"_s), u"4.2"_s);
}

void TestProfiler::scanGivesNoPropertyButTheLocation()
{
    SampleMachine machine;
    machine.install(u"Synth"_s, u"1.0"_s);
    ScanOnlyProfiler profiler;
    profiler.sysData_update();
    QCOMPARE(profiler.getLocation(u"Synth"_s), machine.location(u"Synth"_s));
    QVERIFY(profiler.getObtainedFrom(u"Synth"_s).isNull());
    QVERIFY(profiler.getLastModified(u"Synth"_s).isNull());
    QVERIFY(profiler.getKind(u"Synth"_s).isNull());
    QVERIFY(profiler.getSignedBy(u"Synth"_s).isNull());
    QVERIFY(profiler.getInfoString(u"Synth"_s).isNull());
    QVERIFY(profiler.getLocation(u"Syn"_s).isNull());
}

void TestProfiler::isInstallIsAPrefixTest()
{
    SampleMachine machine;
    machine.install(u"Synth Pro"_s, u"1.0"_s);
    ScanOnlyProfiler profiler;
    profiler.sysData_update();
    QVERIFY(profiler.isInstall(u"Synth Pro"_s));
    QVERIFY(profiler.isInstall(u"Synth"_s));
    QVERIFY(!profiler.isInstall(u"synth"_s));
    QVERIFY(!profiler.isInstall(u"Synth Pro 2"_s));
    QVERIFY(!profiler.isInstall({}));
}

void TestProfiler::clearingForgetsTheScan()
{
    SampleMachine machine;
    machine.install(u"Synth"_s, u"1.0"_s);
    ScanOnlyProfiler profiler;
    profiler.sysData_update();
    QCOMPARE(profiler.getSysVersion(u"Synth"_s), u"1.0"_s);

    profiler.sysData_clear();
    QVERIFY(!profiler.sysData_hasData());
    QVERIFY(!profiler.isInstall(u"Synth"_s));
    QCOMPARE(profiler.getLocation(u"Synth"_s), QString());
    QCOMPARE(profiler.getSysVersion(u"Synth"_s), QString());
}

void TestProfiler::scanInTheCallingThreadEmitsNothing()
{
    SampleMachine machine;
    machine.install(u"Synth"_s, u"1.0"_s);
    ScanOnlyProfiler profiler;
    QSignalSpy finished(&profiler, &Profiler::workFinished);
    machine.takeLog();

    profiler.sysData_update();
    QVERIFY(profiler.sysData_hasData());
    const QStringList lines = machine.takeLog();
    QCOMPARE(lines.value(0), u"[INFO] SysProfiler - data Updating..."_s);
    QCoreApplication::processEvents();
    QCOMPARE(finished.count(), 0);
}

void TestProfiler::threadedScanReturnsAtOnceAndEndsWithItsResult()
{
    SampleMachine machine;
    machine.install(u"Synth"_s, u"1.0"_s);
    ScanOnlyProfiler profiler;
    bool hadData = false;
    connect(&profiler, &Profiler::workFinished, this,
            [&] { hadData = profiler.sysData_hasData() && profiler.isInstall(u"Synth"_s); });
    QSignalSpy finished(&profiler, &Profiler::workFinished);
    machine.holdScans();
    machine.takeLog();

    profiler.sysData_update_thread();
    QVERIFY(!profiler.sysData_hasData());
    machine.releaseScans();
    QVERIFY(finished.wait());
    QVERIFY(hadData);
    QCOMPARE(machine.takeLog().value(0), u"[INFO] SysProfiler - New thread start"_s);
}

void TestProfiler::workFinishedComesOncePerThreadedScan()
{
    const SampleMachine machine;
    ScanOnlyProfiler profiler;
    QSignalSpy finished(&profiler, &Profiler::workFinished);
    for (int scans = 1; scans <= 5; ++scans) {
        profiler.sysData_update_thread();
        QVERIFY(finished.wait());
        QCOMPARE(finished.count(), scans);
    }
    QCoreApplication::processEvents();
    QCOMPARE(finished.count(), 5);
}

void TestProfiler::workFinishedIsDeliveredOnTheInterfaceThread()
{
    const SampleMachine machine;
    ScanOnlyProfiler profiler;
    std::atomic<QThread*> thread = nullptr;
    // Without a receiver, so in whichever thread the profiler emits.
    connect(&profiler, &Profiler::workFinished,
            [&thread] { thread.store(QThread::currentThread()); });
    profiler.sysData_update_thread();
    QTRY_VERIFY(thread.load() != nullptr);
    QCOMPARE(thread.load(), QThread::currentThread());
}

void TestProfiler::scanAskedForWhenOneHasJustFinishedIsNotLost()
{
    const SampleMachine machine;
    ScanOnlyProfiler profiler;
    int finished = 0;
    connect(&profiler, &Profiler::workFinished, this, [&] {
        if (++finished < 50) {
            profiler.sysData_update_thread();
        }
    });
    profiler.sysData_update_thread();
    QTRY_COMPARE(finished, 50);
}

void TestProfiler::scansAskedForDuringAScanDoNothing()
{
    SampleMachine machine;
    ScanOnlyProfiler profiler;
    QSignalSpy finished(&profiler, &Profiler::workFinished);
    machine.holdScans();
    profiler.sysData_update_thread();
    QTRY_COMPARE(machine.heldScans(), 1);
    profiler.sysData_update_thread();
    profiler.sysData_update_thread();
    machine.releaseScans();
    QVERIFY(finished.wait());

    // The next scan is the second one, and its signal the second.
    profiler.sysData_update_thread();
    QVERIFY(finished.wait());
    QCOMPARE(machine.heldScans(), 2);
    QCOMPARE(finished.count(), 2);
}

void TestProfiler::destructionWaitsForARunningScan()
{
    SampleMachine machine;
    int finished = 0;
    {
        ScanOnlyProfiler profiler;
        connect(&profiler, &Profiler::workFinished, this, [&finished] { ++finished; });
        machine.holdScans();
        profiler.sysData_update_thread();
        QTRY_COMPARE(machine.heldScans(), 1);
        machine.releaseScans();
    }
    QVERIFY(machine.takeLog().constLast().startsWith("[INFO] SysProfiler - data updated"_L1));
    QCoreApplication::processEvents();
    QCOMPARE(finished, 0);
}

// The catalogue

void TestProfiler::catalogueQueriesReachTheCatalogue()
{
    const SampleMachine machine;
    HttpServer server;
    server.reply(u"csv/apps.csv"_s, {.body = catalogue});
    Profiler profiler(server.url(), u"csv/apps.csv"_s, u","_s, u"soft/"_s);
    profiler.webData_update();

    QCOMPARE(server.requests(), QStringList{u"/csv/apps.csv"_s});
    QCOMPARE(profiler.webData_lastError(), QString());
    QCOMPARE(profiler.getWebAppList(), (QStringList{u"Synth"_s, u"Éditeur"_s, u"Synth"_s}));
    QCOMPARE(profiler.getWebVersion(u"Synth"_s), u"2.1"_s);
    QCOMPARE(profiler.getReleaseDate(u"Synth"_s), u"2026-04-01"_s);
    QCOMPARE(profiler.getFilename(u"Synth"_s), u"Synth 2.1.dmg"_s);
    QCOMPARE(profiler.getUrlToFile(u"Synth"_s), server.url() + "soft/Synth 2.1.dmg"_L1);
    QVERIFY(profiler.isIgnored(u"Synth"_s));
    QCOMPARE(profiler.getWebVersion(u"Éditeur"_s), u"1.5"_s);
    QCOMPARE(profiler.getReleaseDate(u"Éditeur"_s), u"1 août 2025"_s);
    QCOMPARE(profiler.getUrlToFile(u"Éditeur"_s), server.url() + u"soft/éditeur.zip"_s);
}

void TestProfiler::unknownCatalogueNameIsEmpty()
{
    const SampleMachine machine;
    HttpServer server;
    server.reply(u"apps.csv"_s, {.body = catalogue});
    Profiler profiler(server.url(), u"apps.csv"_s, u","_s, u"soft/"_s);
    profiler.webData_update();

    // Neither the start of a name nor an entry that is not offered is known.
    for (const QString& name : {u"Syn"_s, u"Hidden"_s}) {
        QCOMPARE(profiler.getWebVersion(name), QString());
        QCOMPARE(profiler.getReleaseDate(name), QString());
        QCOMPARE(profiler.getFilename(name), QString());
        QCOMPARE(profiler.getUrlToFile(name), server.url() + "soft/"_L1);
        QVERIFY(!profiler.isIgnored(name));
    }
}

void TestProfiler::clearingTheCatalogueEmptiesItsData()
{
    SampleMachine machine;
    HttpServer server;
    server.reply(u"apps.csv"_s, {.body = catalogue});
    Profiler profiler(server.url(), u"apps.csv"_s, u","_s, u"soft/"_s);
    profiler.webData_update();
    QCOMPARE(profiler.getWebVersion(u"Éditeur"_s), u"1.5"_s);
    machine.takeLog();

    profiler.webData_clear();
    QCOMPARE(machine.takeLog(), QStringList{u"[INFO] WebProfiler - Clear Data"_s});
    QCOMPARE(profiler.getWebVersion(u"Éditeur"_s), QString());
    QCOMPARE(server.requests().size(), 1);
}

void TestProfiler::newCatalogueReplacesTheFormerOne()
{
    const SampleMachine machine;
    HttpServer server;
    server.reply(u"apps.csv"_s, {.body = catalogue});
    server.reply(u"apps.csv"_s, {.body = "Name,Version,Ignored\nMixer,3.0,0\n"});
    Profiler profiler(server.url(), u"apps.csv"_s, u","_s, u"soft/"_s);
    profiler.webData_update();
    profiler.webData_update();
    QCOMPARE(profiler.getWebAppList(), QStringList{u"Mixer"_s});
    QCOMPARE(profiler.getWebVersion(u"Mixer"_s), u"3.0"_s);
    QCOMPARE(profiler.getWebVersion(u"Synth"_s), QString());
}

void TestProfiler::settingsTakeEffectAtTheNextDownload()
{
    const SampleMachine machine;
    HttpServer former;
    former.reply(u"apps.csv"_s, {.body = catalogue});
    HttpServer next;
    next.reply(u"lists/all.csv"_s, {.body = "Name;Version;Filename;Ignored\nA,b;1;a.pkg;0\n"});
    Profiler profiler(former.url(), u"apps.csv"_s, u","_s, u"soft/"_s);
    profiler.webData_update();

    profiler.webData_setConfig(next.url(), u"lists/all.csv"_s, u";"_s, u"installers/"_s);
    QCOMPARE(next.requests(), QStringList());
    QCOMPARE(profiler.getWebVersion(u"Éditeur"_s), u"1.5"_s);

    profiler.webData_update();
    QCOMPARE(former.requests().size(), 1);
    QCOMPARE(next.requests(), QStringList{u"/lists/all.csv"_s});
    QCOMPARE(profiler.getWebAppList(), QStringList{u"A,b"_s});
    QCOMPARE(profiler.getUrlToFile(u"A,b"_s), next.url() + "installers/a.pkg"_L1);
}

void TestProfiler::reasonOfAFailedDownloadIsPassedOn()
{
    const SampleMachine machine;
    HttpServer server;
    server.reply(u"apps.csv"_s, {.body = catalogueTitles});
    server.reply(u"apps.csv"_s, {.body = catalogue});
    Profiler profiler(server.url(), u"apps.csv"_s, u","_s, u"soft/"_s);

    profiler.webData_update();
    QCOMPARE(profiler.webData_lastError(), catalogueSizeError(catalogueTitles.size()));
    QCOMPARE(profiler.getWebAppList(), QStringList());

    profiler.webData_update();
    QCOMPARE(profiler.webData_lastError(), QString());
}

void TestProfiler::cancellingEndsADownload()
{
    const SampleMachine machine;
    HttpServer server;
    server.reply(u"apps.csv"_s, {.body = {}, .manner = HttpReply::Silent});
    Profiler profiler(server.url(), u"apps.csv"_s, u","_s, u"soft/"_s);
    connect(&server, &HttpServer::newConnection, this, [&profiler] { profiler.webData_cancel(); });
    QElapsedTimer timer;
    timer.start();
    profiler.webData_update();
    QVERIFY2(timer.elapsed() < 10'000, "waited for the time-out");
    QCOMPARE(profiler.getWebAppList(), QStringList());
}

// The decisions of its own

void TestProfiler::versionsAreComparedByNumber_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<int>("order");

    QTest::newRow("numeric order") << u"1.10"_s << u"1.9"_s << 1;
    QTest::newRow("older") << u"1.2b4"_s << u"1.3"_s << -1;
    QTest::newRow("further parts ignored") << u"2.0"_s << u"2.0.1"_s << 0;
    QTest::newRow("note in brackets ignored") << u"1.0 (123)"_s << u"1.0"_s << 0;
    QTest::newRow("empty text counts as 0") << QString() << u"1.0"_s << -1;
    QTest::newRow("too large counts as 0") << u"99999999999"_s << u"1.1"_s << -1;
}

void TestProfiler::versionsAreComparedByNumber()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(int, order);
    const SampleMachine machine;
    const ScanOnlyProfiler profiler;
    QCOMPARE(profiler.versionCompare(a, b), order);
    QCOMPARE(profiler.versionCompare(b, a), -order);
    QCOMPARE(compareVersions(a, b), order);
}

void TestProfiler::regexMatchAcceptsDigitsDotsAndBlanks_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("matches");

    QTest::newRow("empty") << u""_s << true;
    QTest::newRow("null") << QString() << true;
    QTest::newRow("digits") << u"0123456789"_s << true;
    QTest::newRow("blank and digit") << u" 2"_s << true;
    QTest::newRow("number with a dot") << u"1.5"_s << true;
    QTest::newRow("only dots") << u"..."_s << true;
    QTest::newRow("only blanks") << u"   "_s << true;
    QTest::newRow("blank and word") << u" Pro"_s << false;
    QTest::newRow("word before digits") << u"Pro 2"_s << false;
    QTest::newRow("word behind digits") << u"2 Pro"_s << false;
    QTest::newRow("letter between digits") << u"1x2"_s << false;
    QTest::newRow("minus") << u"-2"_s << false;
    QTest::newRow("plus") << u"+2"_s << false;
    QTest::newRow("comma") << u"1,5"_s << false;
    QTest::newRow("brackets") << u"(2)"_s << false;
    QTest::newRow("tab") << u"\t2"_s << false;
    QTest::newRow("no-break space") << u"\u00A02"_s << false;
    QTest::newRow("Arabic-Indic digit") << u"\u0662"_s << false;
    QTest::newRow("fullwidth digit") << u"\uFF12"_s << false;
    QTest::newRow("word on the line before") << u"Pro\n2"_s << false;
    QTest::newRow("word on the line behind") << u"2\nPro"_s << false;
}

void TestProfiler::regexMatchAcceptsDigitsDotsAndBlanks()
{
    QFETCH(QString, text);
    QFETCH(bool, matches);
    const SampleMachine machine;
    const ScanOnlyProfiler profiler;
    QCOMPARE(profiler.regexMatch(text), matches);
}

QTEST_GUILESS_MAIN(TestProfiler)
#include "tst_profiler.moc"
