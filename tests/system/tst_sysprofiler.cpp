#include "system/sysprofiler.h"

#include "support/propertylist.h"
#include "support/samplemachine.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QMetaMethod>
#include <QRegularExpression>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QTestEventLoop>

#include <algorithm>
#include <atomic>
#include <memory>
#include <optional>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

const char report[] = R"(Applications:

    Synth:

      Version: 2.1 (77)
      Obtained from: Identified Developer
      Last Modified: 3/14/26, 09:26
      Kind: Universal
      Signed by: Developer ID Application: Example
      Location: /Applications/Synth.app
      Get Info String: Synth 2.1

    Mixer:

      Version: 1.0
      Location: /Applications/Audio/Mixer.app

)";

QString path(const QString& name)
{
    return "/Applications/"_L1 + name + ".app"_L1;
}

QStringList paths(const QStringList& names)
{
    QStringList result;
    for (const QString& name : names) {
        result.append(path(name));
    }
    return result;
}

/// The log's lines with "#" for a scan's duration, where it is written as a number of seconds is.
QStringList withoutDuration(QStringList lines)
{
    static const QRegularExpression duration(u"(?<=\\(execution duration: )"
                                             "(0|[1-9]\\d*|\\d+\\.\\d{0,2}[1-9])(?=s\\)$)"_s);
    return lines.replaceInStrings(duration, u"#"_s);
}

/// The duration that the only line of its kind in @p lines tells, in seconds.
double loggedDuration(const QStringList& lines)
{
    const QString before = u"(execution duration: "_s;
    return lines.filter(before).value(0).section(before, 1).chopped(2).toDouble();
}

/// Counts the scans that have finished, as the interface thread learns of them.
class FinishedScans : public QObject
{
public:
    explicit FinishedScans(const SysProfiler& profiler)
    {
        connect(&profiler, &SysProfiler::workFinished, this, [this] {
            if (++m_count == m_awaited) {
                m_loop.exitLoop();
            }
        });
    }
    [[nodiscard]] int count() const { return m_count; }
    /// Whether there are @p count of them, now or soon.
    [[nodiscard]] bool reach(int count)
    {
        m_awaited = count;
        if (m_count < count) {
            m_loop.enterLoopMSecs(20'000);
        }
        return m_count >= count;
    }

private:
    int m_count = 0;
    int m_awaited = 0;
    QTestEventLoop m_loop;
};

/// Runs a background scan to the end of its thread.
bool scanInBackground(SysProfiler& profiler)
{
    FinishedScans finished(profiler);
    profiler.threadUpdate();
    return finished.reach(1) && profiler.wait(20'000);
}

} // namespace

class TestSysProfiler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { m_machine.emplace(); }
    void cleanup() { m_machine.reset(); }

    void enginesHaveNamesAndCommands();
    void constructionLogsTheEngine_data();
    void constructionLogsTheEngine();
    void engineIsFindUnlessToldOtherwise();
    void constructionFindsNothingYet();
    void signalAndSlotsAreInvokableByName();

    void scanRunsExactlyTheEnginesCommand_data();
    void scanRunsExactlyTheEnginesCommand();
    void realFindReachesThreeLevelsDeep();
    void scanOfPathsLogsEveryApplication_data();
    void scanOfPathsLogsEveryApplication();
    void logNamesApplicationsInAscendingOrder();
    void scanOfTheSystemReportLogsNoList();
    void systemReportFillsEveryProperty();
    void pathsFillTheLocationAlone();
    void registryScansToAnEmptyMap();
    void commandThatCannotStartYieldsAnEmptyResult_data();
    void commandThatCannotStartYieldsAnEmptyResult();
    void onlyStandardOutputCountsHoweverTheCommandEnds();
    void loggedDurationIsInSeconds();
    void changedEngineTakesEffectAtTheNextScan();
    void changedEngineLeavesTheScanUnderWayAlone();
    void laterScanReplacesTheEarlierResult();
    void clearForgetsEverything();

    void findIsAPrefixSearchInAscendingOrder_data();
    void findIsAPrefixSearchInAscendingOrder();
    void isInstallIsAPrefixTest_data();
    void isInstallIsAPrefixTest();
    void propertiesAreThoseOfExactlyTheName();
    void unknownNamesAndKeysGiveNullTexts();
    void lookingUpInsertsNothing();
    void accessorsReadTheirProperty();

    void nameAskedForItsVersionBecomesAKnownOne();
    void nullNameAskedForItsVersionIsFoundLikeTheOthers();
    void namesStayInOrderWhenOneIsInserted();
    void nameInsertedIsForgottenByTheNextScan();
    void systemReportVersionIsReturnedWhole();
    void unknownNameGetsAnEmptyVersionFromTheSystemReport();

    void synchronousScanDoesNotEmitWorkFinished();
    void backgroundScanLogsAndStoresLikeASynchronousOne();
    void workFinishedIsEmittedOnceFromTheWorkerThread();
    void resultIsStoredWhenWorkFinishedIsEmitted();
    void failedBackgroundScanFinishesToo_data();
    void failedBackgroundScanFinishesToo();
    void duringABackgroundScanThereIsNoData();
    void requestsDuringAScanDoNothing();
    void requestAfterAScanStartsAnother();
    void requestInTheSlotOfWorkFinishedIsNotLost_data();
    void requestInTheSlotOfWorkFinishedIsNotLost();
    void requestInTheInstantOfTheEmissionIsNotLost_data();
    void requestInTheInstantOfTheEmissionIsNotLost();
    void workFinishedMayBeConnectedToTheNextRequest();
    void versionAskedForDuringAScanIsForgottenWhenTheResultIsStored();
    void nameAskedForDuringAScanIsForgottenWhenTheResultIsStored();
    void queriesDoNotWaitForTheCommand();
    void queriesFromOtherThreadsSeeAllOrNothing();
    void destructionWaitsForARunningScan();
    void destructionRightAfterWorkFinishedIsSafe();

private:
    [[nodiscard]] SampleMachine& machine() { return *m_machine; }

    std::optional<SampleMachine> m_machine;
};

void TestSysProfiler::initTestCase()
{
    // The log is read from its file; on the console its thousands of lines would hide failures.
    QLoggingCategory::setFilterRules(u"default.debug=false"_s);
}

// The engines

void TestSysProfiler::enginesHaveNamesAndCommands()
{
    QCOMPARE(int(SysProfiler::FIND), 0);
    QCOMPARE(int(SysProfiler::MDFIND), 1);
    QCOMPARE(int(SysProfiler::SYSTEM_PROFILER), 2);
    QCOMPARE(int(SysProfiler::REGISTRY), 3);
    QCOMPARE(SysProfiler::SEARCH_ENGINE_NAME,
             QStringList({u"find"_s, u"mdfind"_s, u"system_profiler"_s, u"registry"_s}));
    const QList<QStringList> commands = {
        {u"find"_s, u"/Applications"_s, u"-maxdepth"_s, u"3"_s, u"-type"_s, u"d"_s, u"-name"_s,
         u"*.app"_s},
        {u"mdfind"_s, u"-onlyin"_s, u"/Applications"_s, u"kMDItemFSName == '*.app'"_s},
        {u"system_profiler"_s, u"SPApplicationsDataType"_s}};
    QCOMPARE(SysProfiler::COMMAND, commands);
}

void TestSysProfiler::constructionLogsTheEngine_data()
{
    QTest::addColumn<SysProfiler::SearchEngine>("engine");
    QTest::addColumn<QString>("line");

    const auto row = [](const char* name, SysProfiler::SearchEngine engine) {
        QTest::newRow(name) << engine
                            << u"[INFO] SysProfiler - System search engine: "_s +
                                   QString::fromLatin1(name);
    };
    row("find", SysProfiler::FIND);
    row("mdfind", SysProfiler::MDFIND);
    row("system_profiler", SysProfiler::SYSTEM_PROFILER);
    row("registry", SysProfiler::REGISTRY);
}

void TestSysProfiler::constructionLogsTheEngine()
{
    QFETCH(SysProfiler::SearchEngine, engine);
    QFETCH(QString, line);
    const SysProfiler profiler(engine);
    QCOMPARE(machine().takeLog(), QStringList({u"[INFO] SysProfiler - Initialized"_s, line}));
}

void TestSysProfiler::engineIsFindUnlessToldOtherwise()
{
    SysProfiler profiler;
    QCOMPARE(machine().takeLog().value(1), u"[INFO] SysProfiler - System search engine: find"_s);
    profiler.update();
    QCOMPARE(machine().calls(u"find"_s).size(), 1);
}

void TestSysProfiler::constructionFindsNothingYet()
{
    machine().list({path(u"Foo"_s)});
    const SysProfiler profiler;
    QVERIFY(!profiler.hasData());
    QCOMPARE(profiler.size(), 0);
    QCOMPARE(profiler.find(u""_s), QStringList());
    QVERIFY(!profiler.isInstall(u"Foo"_s));
    QVERIFY(!profiler.isRunning());
    QCOMPARE(profiler.parent(), nullptr);
    QCOMPARE(machine().calls(u"find"_s), QList<QStringList>());
}

void TestSysProfiler::signalAndSlotsAreInvokableByName()
{
    const QMetaObject& meta = SysProfiler::staticMetaObject;
    QCOMPARE(meta.superClass(), &QThread::staticMetaObject);
    const auto kind = [](const char* signature) {
        const QMetaObject& own = SysProfiler::staticMetaObject;
        return own.method(own.indexOfMethod(signature)).methodType();
    };
    QCOMPARE(kind("workFinished()"), QMetaMethod::Signal);
    QCOMPARE(kind("update()"), QMetaMethod::Slot);
    QCOMPARE(kind("threadUpdate()"), QMetaMethod::Slot);
}

// One scan

void TestSysProfiler::scanRunsExactlyTheEnginesCommand_data()
{
    QTest::addColumn<SysProfiler::SearchEngine>("engine");
    QTest::addColumn<QString>("command");
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("find") << SysProfiler::FIND << u"find"_s
                          << QStringList({u"/Applications"_s, u"-maxdepth"_s, u"3"_s, u"-type"_s,
                                          u"d"_s, u"-name"_s, u"*.app"_s});
    QTest::newRow("mdfind") << SysProfiler::MDFIND << u"mdfind"_s
                            << QStringList({u"-onlyin"_s, u"/Applications"_s,
                                            u"kMDItemFSName == '*.app'"_s});
    QTest::newRow("system_profiler") << SysProfiler::SYSTEM_PROFILER << u"system_profiler"_s
                                     << QStringList({u"SPApplicationsDataType"_s});
    QTest::newRow("registry") << SysProfiler::REGISTRY << u"registry"_s << QStringList();
}

void TestSysProfiler::scanRunsExactlyTheEnginesCommand()
{
    QFETCH(SysProfiler::SearchEngine, engine);
    QFETCH(QString, command);
    QFETCH(QStringList, arguments);
    for (const QString& name : SysProfiler::SEARCH_ENGINE_NAME) {
        machine().answer(name, {});
    }
    // Run in a folder with matches, so that an unquoted pattern would become their names.
    machine().home().write(u"A.app"_s, {});
    const QString formerFolder = QDir::currentPath();
    QDir::setCurrent(machine().home().path());
    SysProfiler profiler(engine);
    profiler.update();
    QDir::setCurrent(formerFolder);

    for (const QString& name : SysProfiler::SEARCH_ENGINE_NAME) {
        const bool expected = name == command && engine != SysProfiler::REGISTRY;
        QCOMPARE(machine().calls(name),
                 expected ? QList<QStringList>{arguments} : QList<QStringList>());
    }
}

void TestSysProfiler::realFindReachesThreeLevelsDeep()
{
    const QDir folder(machine().home().path());
    for (const char* bundle :
         {"Foo.app", "Tools/Bar.app", "Folder/Sub/Deep.app", "Folder/Sub/Deeper/TooDeep.app",
          "Foo.app/Contents/Nested.app", "Foo.app/Contents/Library/Bar.app", "Capitals.APP",
          "Éditeur 2.0.app", "My.appliance.app", "Plain folder"}) {
        QVERIFY(folder.mkpath("Installed/"_L1 + QString::fromUtf8(bundle)));
    }
    machine().home().write(u"Installed/File.app"_s, "no folder");
    QVERIFY(QFile::link(folder.filePath(u"Installed/Foo.app"_s),
                        folder.filePath(u"Installed/Link.app"_s)));
    machine().findIn(u"Installed"_s);
    SysProfiler profiler;
    profiler.update();

    QCOMPARE(profiler.find(u""_s),
             QStringList({u"Bar"_s, u"Deep"_s, u"Foo"_s, u"Myliance"_s, u"Éditeur 2.0"_s}));
    QCOMPARE(profiler.getLocation(u"Foo"_s), u"/Applications/Foo.app"_s);
    QCOMPARE(profiler.getLocation(u"Bar"_s), u"/Applications/Tools/Bar.app"_s);
    QCOMPARE(profiler.getLocation(u"Deep"_s), u"/Applications/Folder/Sub/Deep.app"_s);
    QCOMPARE(profiler.getLocation(u"Myliance"_s), u"/Applications/My.appliance.app"_s);
    QCOMPARE(profiler.getLocation(u"Éditeur 2.0"_s), u"/Applications/Éditeur 2.0.app"_s);
    QCOMPARE(machine().calls(u"find"_s), QList<QStringList>{SysProfiler::COMMAND[0].sliced(1)});
}

void TestSysProfiler::scanOfPathsLogsEveryApplication_data()
{
    QTest::addColumn<SysProfiler::SearchEngine>("engine");
    QTest::addColumn<QStringList>("found");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("find, some") << SysProfiler::FIND
                                << QStringList({u"/Applications/Tools/Bar.app"_s,
                                                u"/Applications/Éditeur.app"_s,
                                                u"/Applications/Foo.app"_s})
                                << QStringList(
                                       {u"[INFO] SysProfiler [find] — 3 apps found"_s,
                                        u"[INFO]   + Bar (/Applications/Tools/Bar.app)"_s,
                                        u"[INFO]   + Foo (/Applications/Foo.app)"_s,
                                        u"[INFO]   + Éditeur (/Applications/Éditeur.app)"_s});
    QTest::newRow("find, none") << SysProfiler::FIND << QStringList()
                                << QStringList({u"[INFO] SysProfiler [find] — 0 apps found"_s});
    QTest::newRow("mdfind, one") << SysProfiler::MDFIND << QStringList({u"/Applications/Foo.app"_s})
                                 << QStringList({u"[INFO] SysProfiler [mdfind] — 1 apps found"_s,
                                                 u"[INFO]   + Foo (/Applications/Foo.app)"_s});
    QTest::newRow("number of applications, not of lines")
        << SysProfiler::FIND
        << QStringList({u"/Applications/Foo.app"_s, u"/Applications/Old/Foo.app"_s,
                        u"/Applications/Foo.app/Contents/Bar.app"_s})
        << QStringList({u"[INFO] SysProfiler [find] — 1 apps found"_s,
                        u"[INFO]   + Foo (/Applications/Old/Foo.app)"_s});
    QTest::newRow("percent signs are no place holders")
        << SysProfiler::FIND << QStringList({u"/Applications/100 %1 %s.app"_s})
        << QStringList({u"[INFO] SysProfiler [find] — 1 apps found"_s,
                        u"[INFO]   + 100 %1 %s (/Applications/100 %1 %s.app)"_s});
}

void TestSysProfiler::scanOfPathsLogsEveryApplication()
{
    QFETCH(SysProfiler::SearchEngine, engine);
    QFETCH(QStringList, found);
    QFETCH(QStringList, lines);
    const QByteArray output = found.isEmpty() ? "" : found.join(u'\n').toUtf8() + '\n';
    machine().answer(SysProfiler::SEARCH_ENGINE_NAME[engine], output);
    SysProfiler profiler(engine);
    machine().takeLog();
    profiler.update();

    lines.prepend(u"[INFO] SysProfiler - data Updating..."_s);
    lines.append(u"[INFO] SysProfiler - data updated (execution duration: #s)"_s);
    QCOMPARE(withoutDuration(machine().takeLog()), lines);
}

void TestSysProfiler::logNamesApplicationsInAscendingOrder()
{
    machine().list(paths({u"b"_s, u"Foo 10"_s, u"\uFF21"_s, u"é"_s, u"Foo"_s, u"a"_s, u"Foo 2"_s,
                          u"\U0001F600"_s, u"B"_s, u"Foo Pro"_s, u"10"_s, u"9"_s, u"_"_s}));
    SysProfiler profiler;
    profiler.update();
    // By UTF-16 code unit: capitals first, no language's rules, surrogates before U+E000.
    const QStringList ascending = {u"10"_s,    u"9"_s,          u"B"_s,     u"Foo"_s, u"Foo 10"_s,
                                   u"Foo 2"_s, u"Foo Pro"_s,    u"_"_s,     u"a"_s,   u"b"_s,
                                   u"é"_s,     u"\U0001F600"_s, u"\uFF21"_s};
    QStringList lines;
    for (const QString& name : ascending) {
        lines.append("[INFO]   + "_L1 + name + " ("_L1 + path(name) + ')'_L1);
    }
    QCOMPARE(machine().takeLog(u"  + "_s), lines);
    QCOMPARE(profiler.find(u""_s), ascending);
}

void TestSysProfiler::scanOfTheSystemReportLogsNoList()
{
    machine().answer(u"system_profiler"_s, report);
    SysProfiler profiler(SysProfiler::SYSTEM_PROFILER);
    machine().takeLog();
    profiler.update();
    QCOMPARE(withoutDuration(machine().takeLog()),
             QStringList({u"[INFO] SysProfiler - data Updating..."_s,
                          u"[INFO] SysProfiler - data updated (execution duration: #s)"_s}));
    QCOMPARE(profiler.find(u""_s), QStringList({u"Mixer"_s, u"Synth"_s}));
}

void TestSysProfiler::systemReportFillsEveryProperty()
{
    machine().answer(u"system_profiler"_s, report);
    SysProfiler profiler(SysProfiler::SYSTEM_PROFILER);
    profiler.update();
    QHash<QString, QString> properties = {{u"Version"_s, u"2.1 (77)"_s},
                                          {u"Obtained from"_s, u"Identified Developer"_s},
                                          {u"Last Modified"_s, u"3/14/26, 09:26"_s},
                                          {u"Kind"_s, u"Universal"_s},
                                          {u"Signed by"_s, u"Developer ID Application: Example"_s},
                                          {u"Location"_s, u"/Applications/Synth.app"_s},
                                          {u"Get Info String"_s, u"Synth 2.1"_s}};
    QCOMPARE(profiler.getInfo(u"Synth"_s), properties);
    properties[u"Version"_s] = u"1.0"_s;
    properties[u"Location"_s] = u"/Applications/Audio/Mixer.app"_s;
    QCOMPARE(profiler.getInfo(u"Mixer"_s), properties);
}

void TestSysProfiler::pathsFillTheLocationAlone()
{
    machine().list({path(u"Foo"_s)});
    SysProfiler profiler;
    profiler.update();
    const QHash<QString, QString> locationAlone = {{u"Location"_s, path(u"Foo"_s)}};
    QCOMPARE(profiler.getInfo(u"Foo"_s), locationAlone);
}

void TestSysProfiler::registryScansToAnEmptyMap()
{
    machine().list({path(u"Foo"_s)});
    SysProfiler profiler(SysProfiler::REGISTRY);
    machine().takeLog();
    profiler.update();
    QCOMPARE(withoutDuration(machine().takeLog()),
             QStringList({u"[INFO] SysProfiler - data Updating..."_s,
                          u"[INFO] SysProfiler [registry] — 0 apps found"_s,
                          u"[INFO] SysProfiler - data updated (execution duration: #s)"_s}));
    QVERIFY(profiler.hasData());
    QCOMPARE(profiler.size(), 0);
}

void TestSysProfiler::commandThatCannotStartYieldsAnEmptyResult_data()
{
    QTest::addColumn<SysProfiler::SearchEngine>("engine");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("find") << SysProfiler::FIND
                          << QStringList({u"[INFO] SysProfiler [find] — 0 apps found"_s});
    QTest::newRow("mdfind") << SysProfiler::MDFIND
                            << QStringList({u"[INFO] SysProfiler [mdfind] — 0 apps found"_s});
    QTest::newRow("system_profiler") << SysProfiler::SYSTEM_PROFILER << QStringList();
}

void TestSysProfiler::commandThatCannotStartYieldsAnEmptyResult()
{
    QFETCH(SysProfiler::SearchEngine, engine);
    QFETCH(QStringList, lines);
    machine().withdrawCommands();
    SysProfiler profiler(engine);
    machine().takeLog();
    profiler.update();

    lines.prepend(u"[INFO] SysProfiler - data Updating..."_s);
    lines.append(u"[INFO] SysProfiler - data updated (execution duration: #s)"_s);
    QCOMPARE(withoutDuration(machine().takeLog()), lines);
    QVERIFY(profiler.hasData());
    QCOMPARE(profiler.size(), 0);
}

void TestSysProfiler::onlyStandardOutputCountsHoweverTheCommandEnds()
{
    machine().standIns().add(u"find"_s, "echo /Applications/Foo.app\n"
                                        "echo /Applications/Locked.app >&2\n"
                                        "exit 1\n");
    SysProfiler profiler;
    profiler.update();
    QCOMPARE(profiler.find(u""_s), QStringList{u"Foo"_s});
}

void TestSysProfiler::loggedDurationIsInSeconds()
{
    machine().standIns().add(u"find"_s, "sleep 0.25\n");
    SysProfiler profiler;
    QElapsedTimer timer;
    timer.start();
    profiler.update();
    const double atMost = static_cast<double>(timer.elapsed()) / 1000.0;
    const double logged = loggedDuration(machine().takeLog());
    QVERIFY2(logged >= 0.25, qPrintable(QString::number(logged)));
    QVERIFY2(logged <= atMost, qPrintable(u"%1 of %2"_s.arg(logged).arg(atMost)));
}

void TestSysProfiler::changedEngineTakesEffectAtTheNextScan()
{
    machine().list({path(u"Foo"_s)});
    machine().answer(u"mdfind"_s, "/Applications/Bar.app\n");
    SysProfiler profiler;
    profiler.update();
    machine().takeLog();

    profiler.changeEngine(SysProfiler::MDFIND);
    QCOMPARE(machine().takeLog(), QStringList());
    QVERIFY(profiler.hasData());
    QCOMPARE(profiler.find(u""_s), QStringList{u"Foo"_s});
    QCOMPARE(machine().calls(u"mdfind"_s), QList<QStringList>());

    profiler.update();
    QCOMPARE(profiler.find(u""_s), QStringList{u"Bar"_s});
    QCOMPARE(machine().calls(u"find"_s).size(), 1);
    QCOMPARE(machine().calls(u"mdfind"_s).size(), 1);
}

void TestSysProfiler::changedEngineLeavesTheScanUnderWayAlone()
{
    machine().list({path(u"Foo"_s)});
    machine().answer(u"system_profiler"_s, "Applications:\n\n    Bar:\n\n      Version: 1\n\n");
    SysProfiler profiler;
    FinishedScans finished(profiler);
    const HeldCommand find(machine(), u"find"_s);
    profiler.threadUpdate();
    QTRY_COMPARE(machine().calls(u"find"_s).size(), 1);
    profiler.changeEngine(SysProfiler::SYSTEM_PROFILER);
    machine().takeLog();
    find.release();
    QVERIFY(finished.reach(1));
    QCOMPARE(machine().takeLog().value(0), u"[INFO] SysProfiler [find] — 1 apps found"_s);
    QCOMPARE(profiler.find(u""_s), QStringList{u"Foo"_s});

    profiler.update();
    QCOMPARE(profiler.find(u""_s), QStringList{u"Bar"_s});
    QCOMPARE(machine().takeLog(u"apps found"_s), QStringList());
}

void TestSysProfiler::laterScanReplacesTheEarlierResult()
{
    machine().list(paths({u"Foo"_s, u"Gone"_s}));
    SysProfiler profiler;
    profiler.update();
    machine().list({u"/Applications/Moved/Foo.app"_s, path(u"New"_s)});
    profiler.update();
    QCOMPARE(profiler.find(u""_s), QStringList({u"Foo"_s, u"New"_s}));
    QCOMPARE(profiler.size(), 2);
    QCOMPARE(profiler.getLocation(u"Foo"_s), u"/Applications/Moved/Foo.app"_s);
    QVERIFY(profiler.getInfo(u"Gone"_s).isEmpty());
}

void TestSysProfiler::clearForgetsEverything()
{
    machine().list({machine().putBundle(u"Foo"_s, versionPlist("1.0"))});
    SysProfiler profiler;
    profiler.update();
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"1.0"_s);
    machine().takeLog();

    profiler.clear();
    QVERIFY(!profiler.hasData());
    QCOMPARE(profiler.size(), 0);
    QCOMPARE(profiler.find(u""_s), QStringList());
    QVERIFY(!profiler.isInstall(u"Foo"_s));
    QVERIFY(profiler.getInfo(u"Foo"_s).isEmpty());
    QCOMPARE(machine().takeLog(), QStringList());
    QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
}

// Queries

void TestSysProfiler::findIsAPrefixSearchInAscendingOrder_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("found");

    const auto row = [](const char* what, const QString& name, const QStringList& found) {
        QTest::newRow(what) << name << found;
    };
    const QStringList all = {u"Bar"_s,       u"Foo 10"_s, u"Foo 2"_s, u"Foo Pro"_s,
                             u"Foo Pro 2"_s, u"Fop"_s,    u"foo"_s,   u"Édit"_s};
    row("empty text gives every name", u""_s, all);
    row("null text gives every name", QString(), all);
    row("prefix of several", u"Foo"_s, {u"Foo 10"_s, u"Foo 2"_s, u"Foo Pro"_s, u"Foo Pro 2"_s});
    row("whole name is a prefix of itself", u"Foo Pro"_s, {u"Foo Pro"_s, u"Foo Pro 2"_s});
    row("one name", u"Bar"_s, {u"Bar"_s});
    row("first letter", u"F"_s, {u"Foo 10"_s, u"Foo 2"_s, u"Foo Pro"_s, u"Foo Pro 2"_s, u"Fop"_s});
    row("letter case counts", u"foo"_s, {u"foo"_s});
    row("other letter case of one name", u"BAR"_s, {});
    row("longer than every name", u"Foo Pro 2 Plus"_s, {});
    row("inside a name is no prefix", u"Pro"_s, {});
    row("end of a name is no prefix", u"oo"_s, {});
    row("before every name", u"!"_s, {});
    row("behind every name", u"\uFFFF"_s, {});
    row("blank counts", u"Foo "_s, {u"Foo 10"_s, u"Foo 2"_s, u"Foo Pro"_s, u"Foo Pro 2"_s});
    row("blank before the name counts", u" Foo"_s, {});
    row("accent", u"É"_s, {u"Édit"_s});
    row("accent is not ignored", u"E"_s, {});
    row("no pattern", u"Foo*"_s, {});
}

void TestSysProfiler::findIsAPrefixSearchInAscendingOrder()
{
    QFETCH(QString, name);
    QFETCH(QStringList, found);
    machine().list(paths({u"Foo 2"_s, u"foo"_s, u"Foo Pro 2"_s, u"Bar"_s, u"Édit"_s, u"Fop"_s,
                          u"Foo Pro"_s, u"Foo 10"_s}));
    SysProfiler profiler;
    profiler.update();
    QCOMPARE(profiler.find(name), found);
    QCOMPARE(profiler.isInstall(name), !name.isEmpty() && !found.isEmpty());
}

void TestSysProfiler::isInstallIsAPrefixTest_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("installed");

    QTest::newRow("whole name") << u"Foo Pro"_s << true;
    QTest::newRow("beginning of a name") << u"Foo"_s << true;
    QTest::newRow("one letter") << u"F"_s << true;
    QTest::newRow("empty text") << u""_s << false;
    QTest::newRow("null text") << QString() << false;
    QTest::newRow("letter case counts") << u"foo"_s << false;
    QTest::newRow("more than the name") << u"Foo Prox"_s << false;
    QTest::newRow("end of a name") << u"Pro"_s << false;
}

void TestSysProfiler::isInstallIsAPrefixTest()
{
    QFETCH(QString, name);
    QFETCH(bool, installed);
    machine().list({path(u"Foo Pro"_s)});
    SysProfiler profiler;
    profiler.update();
    QCOMPARE(profiler.isInstall(name), installed);
}

void TestSysProfiler::propertiesAreThoseOfExactlyTheName()
{
    machine().list({path(u"Foo Pro"_s)});
    SysProfiler profiler;
    profiler.update();
    QVERIFY(profiler.isInstall(u"Foo"_s));
    QVERIFY(profiler.getInfo(u"Foo"_s).isEmpty());
    QVERIFY(profiler.getValue(u"Foo"_s, u"Location"_s).isNull());
    QVERIFY(profiler.getValue(u"foo pro"_s, u"Location"_s).isNull());
    QCOMPARE(profiler.getValue(u"Foo Pro"_s, u"Location"_s), path(u"Foo Pro"_s));
}

void TestSysProfiler::unknownNamesAndKeysGiveNullTexts()
{
    machine().list({path(u"Foo"_s)});
    SysProfiler profiler;
    profiler.update();
    QVERIFY(profiler.getValue(u"Bar"_s, u"Location"_s).isNull());
    QVERIFY(profiler.getValue(u"Foo"_s, u"Version"_s).isNull());
    QVERIFY(profiler.getValue(u"Foo"_s, u"location"_s).isNull());
    QVERIFY(profiler.getValue(u""_s, u""_s).isNull());
    QVERIFY(profiler.getLocation(u"Bar"_s).isNull());
    QVERIFY(profiler.getKind(u"Foo"_s).isNull());
}

void TestSysProfiler::lookingUpInsertsNothing()
{
    machine().list({path(u"Foo"_s)});
    SysProfiler profiler;
    profiler.update();
    const QHash<QString, QString> before = profiler.getInfo(u"Foo"_s);
    for (const QString& name : {u"Foo"_s, u"Bar"_s, u""_s}) {
        QVERIFY(profiler.getValue(name, u"No such key"_s).isNull());
        QVERIFY(profiler.getSignedBy(name).isNull());
        (void)profiler.getInfo(name);
        (void)profiler.find(name);
        (void)profiler.isInstall(name);
        (void)profiler.findPlistVersion(name);
    }
    QCOMPARE(profiler.size(), 1);
    QCOMPARE(profiler.find(u""_s), QStringList{u"Foo"_s});
    QCOMPARE(profiler.getInfo(u"Foo"_s), before);
}

void TestSysProfiler::accessorsReadTheirProperty()
{
    machine().answer(u"system_profiler"_s, report);
    SysProfiler profiler(SysProfiler::SYSTEM_PROFILER);
    profiler.update();
    QCOMPARE(profiler.getObtainedFrom(u"Synth"_s), u"Identified Developer"_s);
    QCOMPARE(profiler.getLastModified(u"Synth"_s), u"3/14/26, 09:26"_s);
    QCOMPARE(profiler.getKind(u"Synth"_s), u"Universal"_s);
    QCOMPARE(profiler.getSignedBy(u"Synth"_s), u"Developer ID Application: Example"_s);
    QCOMPARE(profiler.getLocation(u"Synth"_s), u"/Applications/Synth.app"_s);
    QCOMPARE(profiler.getInfoString(u"Synth"_s), u"Synth 2.1"_s);
    QCOMPARE(profiler.getValue(u"Synth"_s, u"Version"_s), u"2.1 (77)"_s);
}

// Names that become known by being asked for

void TestSysProfiler::nameAskedForItsVersionBecomesAKnownOne()
{
    machine().list({path(u"Foo"_s)});
    SysProfiler profiler;
    profiler.update();
    QCOMPARE(profiler.getVersion(u"Bar"_s), QString());
    QCOMPARE(profiler.size(), 2);
    QCOMPARE(profiler.find(u"Bar"_s), QStringList{u"Bar"_s});
    QVERIFY(profiler.isInstall(u"Bar"_s));
    const QHash<QString, QString> emptyLocation = {{u"Location"_s, u""_s}};
    QCOMPARE(profiler.getInfo(u"Bar"_s), emptyLocation);
    QCOMPARE(profiler.getVersion(u"Bar"_s), QString());
    QCOMPARE(profiler.size(), 2);
}

void TestSysProfiler::nullNameAskedForItsVersionIsFoundLikeTheOthers()
{
    machine().list({path(u"Foo"_s)});
    SysProfiler profiler;
    profiler.update();
    QVERIFY(profiler.getVersion(QString()).isEmpty());
    const QStringList all = {QString(), u"Foo"_s};
    QCOMPARE(profiler.find(u""_s), all);
    QCOMPARE(profiler.find(QString()), all);
    QCOMPARE(profiler.size(), 2);
    QVERIFY(!profiler.isInstall(u""_s));
}

void TestSysProfiler::namesStayInOrderWhenOneIsInserted()
{
    machine().list(paths({u"Foo"_s, u"Bar"_s, u"Synth"_s}));
    SysProfiler profiler;
    profiler.update();
    QStringList expected = {u"Bar"_s, u"Foo"_s, u"Synth"_s};
    qsizetype size = 3;
    for (const QString& name : {u"Mixer"_s, u"Abc"_s, u"Zoom"_s, u"Foo Pro"_s, u"foo"_s, u"Fo"_s,
                                u"\uFF21"_s, u"\U0001F600"_s, u"A"_s}) {
        QVERIFY(profiler.getVersion(name).isEmpty());
        expected.append(name);
        QCOMPARE(profiler.size(), ++size);
        std::sort(expected.begin(), expected.end());
        QCOMPARE(profiler.find(u""_s), expected);
    }
    QCOMPARE(profiler.find(u"Fo"_s), QStringList({u"Fo"_s, u"Foo"_s, u"Foo Pro"_s}));
}

void TestSysProfiler::nameInsertedIsForgottenByTheNextScan()
{
    machine().list({path(u"Foo"_s)});
    SysProfiler profiler;
    profiler.update();
    QVERIFY(profiler.getVersion(u"Bar"_s).isEmpty());
    profiler.update();
    QCOMPARE(profiler.find(u""_s), QStringList{u"Foo"_s});
    QCOMPARE(profiler.size(), 1);
}

void TestSysProfiler::systemReportVersionIsReturnedWhole()
{
    machine().answer(u"system_profiler"_s,
                     "Applications:\n\n    Foo:\n\n      Version: 1.2.3 (456)\n\n");
    SysProfiler profiler(SysProfiler::SYSTEM_PROFILER);
    profiler.update();
    machine().takeLog();
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"1.2.3 (456)"_s);
    QCOMPARE(machine().takeLog(), QStringList());
    QCOMPARE(profiler.size(), 1);
}

void TestSysProfiler::unknownNameGetsAnEmptyVersionFromTheSystemReport()
{
    machine().answer(u"system_profiler"_s, report);
    SysProfiler profiler(SysProfiler::SYSTEM_PROFILER);
    profiler.update();
    machine().takeLog();
    QCOMPARE(profiler.getVersion(u"Nobody"_s), QString());
    QCOMPARE(machine().takeLog(), QStringList());
    QCOMPARE(profiler.size(), 3);
    QCOMPARE(profiler.find(u""_s), QStringList({u"Mixer"_s, u"Nobody"_s, u"Synth"_s}));
    const QHash<QString, QString> emptyVersion = {{u"Version"_s, u""_s}};
    QCOMPARE(profiler.getInfo(u"Nobody"_s), emptyVersion);
}

// Scans in the background

void TestSysProfiler::synchronousScanDoesNotEmitWorkFinished()
{
    SysProfiler profiler;
    QSignalSpy finished(&profiler, &SysProfiler::workFinished);
    QSignalSpy started(&profiler, &QThread::started);
    profiler.update();
    profiler.update();
    QCoreApplication::processEvents();
    QVERIFY(profiler.hasData());
    QCOMPARE(finished.count(), 0);
    QCOMPARE(started.count(), 0);
}

void TestSysProfiler::backgroundScanLogsAndStoresLikeASynchronousOne()
{
    machine().list(paths({u"Foo"_s, u"Bar"_s}));
    SysProfiler profiler;
    machine().takeLog();
    QVERIFY(scanInBackground(profiler));
    QCOMPARE(withoutDuration(machine().takeLog()),
             QStringList({u"[INFO] SysProfiler - New thread start"_s,
                          u"[INFO] SysProfiler - data Updating..."_s,
                          u"[INFO] SysProfiler [find] — 2 apps found"_s,
                          u"[INFO]   + Bar (/Applications/Bar.app)"_s,
                          u"[INFO]   + Foo (/Applications/Foo.app)"_s,
                          u"[INFO] SysProfiler - data updated (execution duration: #s)"_s}));
    QVERIFY(profiler.hasData());
    QCOMPARE(profiler.find(u""_s), QStringList({u"Bar"_s, u"Foo"_s}));
}

void TestSysProfiler::workFinishedIsEmittedOnceFromTheWorkerThread()
{
    std::atomic<int> emissions = 0;
    std::atomic<bool> alwaysFromTheWorker = true;
    SysProfiler profiler;
    connect(
        &profiler, &SysProfiler::workFinished, &profiler,
        [&] {
            ++emissions;
            alwaysFromTheWorker = alwaysFromTheWorker && QThread::currentThread() == &profiler;
        },
        Qt::DirectConnection);
    for (int scans = 1; scans <= 3; ++scans) {
        QVERIFY(scanInBackground(profiler));
        QCOMPARE(emissions.load(), scans);
        QVERIFY(alwaysFromTheWorker);
    }
}

void TestSysProfiler::resultIsStoredWhenWorkFinishedIsEmitted()
{
    machine().list({path(u"Foo"_s)});
    QStringList names;
    QStringList log;
    bool hadData = false;
    SysProfiler profiler;
    connect(
        &profiler, &SysProfiler::workFinished, &profiler,
        [&] {
            hadData = profiler.hasData();
            names = profiler.find(u""_s);
            log = machine().takeLog(u"data updated"_s);
        },
        Qt::DirectConnection);
    QVERIFY(scanInBackground(profiler));
    QVERIFY(hadData);
    QCOMPARE(names, QStringList{u"Foo"_s});
    QCOMPARE(log.size(), 1);
}

void TestSysProfiler::failedBackgroundScanFinishesToo_data()
{
    QTest::addColumn<SysProfiler::SearchEngine>("engine");

    QTest::newRow("find") << SysProfiler::FIND;
    QTest::newRow("mdfind") << SysProfiler::MDFIND;
    QTest::newRow("system_profiler") << SysProfiler::SYSTEM_PROFILER;
    QTest::newRow("registry") << SysProfiler::REGISTRY;
}

void TestSysProfiler::failedBackgroundScanFinishesToo()
{
    QFETCH(SysProfiler::SearchEngine, engine);
    machine().withdrawCommands();
    SysProfiler profiler(engine);
    QVERIFY(scanInBackground(profiler));
    QVERIFY(profiler.hasData());
    QCOMPARE(profiler.size(), 0);
}

void TestSysProfiler::duringABackgroundScanThereIsNoData()
{
    machine().list(paths({u"Foo"_s, u"Bar"_s}));
    SysProfiler profiler;
    profiler.update();
    QCOMPARE(profiler.size(), 2);

    FinishedScans finished(profiler);
    const HeldCommand find(machine(), u"find"_s);
    profiler.threadUpdate();
    QTRY_COMPARE(machine().calls(u"find"_s).size(), 2);
    QVERIFY(!profiler.hasData());
    QCOMPARE(profiler.size(), 0);
    QCOMPARE(profiler.find(u""_s), QStringList());
    QVERIFY(!profiler.isInstall(u"Foo"_s));
    QVERIFY(profiler.getInfo(u"Foo"_s).isEmpty());
    QVERIFY(profiler.getLocation(u"Foo"_s).isNull());
    QCOMPARE(finished.count(), 0);

    find.release();
    QVERIFY(finished.reach(1));
    QVERIFY(profiler.hasData());
    QCOMPARE(profiler.size(), 2);
}

void TestSysProfiler::requestsDuringAScanDoNothing()
{
    SysProfiler profiler;
    machine().takeLog();
    FinishedScans finished(profiler);
    const HeldCommand find(machine(), u"find"_s);
    profiler.threadUpdate();
    profiler.threadUpdate();
    QTRY_COMPARE(machine().calls(u"find"_s).size(), 1);
    profiler.threadUpdate();
    profiler.threadUpdate();
    find.release();
    QVERIFY(finished.reach(1));
    QVERIFY(profiler.wait(20'000));
    QCoreApplication::processEvents();
    QVERIFY(!profiler.isRunning());
    QCOMPARE(finished.count(), 1);
    QCOMPARE(machine().calls(u"find"_s).size(), 1);
    QCOMPARE(machine().takeLog(u"New thread start"_s).size(), 1);
}

void TestSysProfiler::requestAfterAScanStartsAnother()
{
    machine().list({path(u"Foo"_s)});
    SysProfiler profiler;
    QVERIFY(scanInBackground(profiler));
    QVERIFY(profiler.isFinished());
    machine().list({path(u"Bar"_s)});
    QVERIFY(scanInBackground(profiler));
    QCOMPARE(profiler.find(u""_s), QStringList{u"Bar"_s});
    QCOMPARE(machine().calls(u"find"_s).size(), 2);
}

void TestSysProfiler::requestInTheSlotOfWorkFinishedIsNotLost_data()
{
    QTest::addColumn<SysProfiler::SearchEngine>("engine");
    QTest::addColumn<int>("scans");

    QTest::newRow("scans that take no time") << SysProfiler::REGISTRY << 200;
    QTest::newRow("scans by a command") << SysProfiler::FIND << 30;
}

void TestSysProfiler::requestInTheSlotOfWorkFinishedIsNotLost()
{
    QFETCH(SysProfiler::SearchEngine, engine);
    QFETCH(int, scans);
    SysProfiler profiler(engine);
    FinishedScans finished(profiler);
    connect(&profiler, &SysProfiler::workFinished, &finished, [&] {
        if (finished.count() < scans) {
            profiler.threadUpdate();
        }
    });
    machine().takeLog();
    profiler.threadUpdate();
    QVERIFY2(finished.reach(scans), qPrintable(u"scan %1 was lost"_s.arg(finished.count() + 1)));
    QVERIFY(profiler.wait(20'000));
    QCoreApplication::processEvents();
    QCOMPARE(finished.count(), scans);
    QCOMPARE(machine().takeLog(u"New thread start"_s).size(), scans);
}

void TestSysProfiler::requestInTheInstantOfTheEmissionIsNotLost_data()
{
    QTest::addColumn<int>("scans");
    QTest::addColumn<unsigned long>("emissionTime");

    QTest::newRow("thread about to end") << 200 << 0UL;
    QTest::newRow("emission still under way") << 20 << 5UL;
}

void TestSysProfiler::requestInTheInstantOfTheEmissionIsNotLost()
{
    QFETCH(int, scans);
    QFETCH(unsigned long, emissionTime);
    QSemaphore emitted;
    SysProfiler profiler(SysProfiler::REGISTRY);
    connect(
        &profiler, &SysProfiler::workFinished, &profiler,
        [&emitted, emissionTime] {
            emitted.release();
            QThread::msleep(emissionTime);
        },
        Qt::DirectConnection);
    machine().takeLog();
    for (int scan = 1; scan <= scans; ++scan) {
        profiler.threadUpdate();
        QVERIFY2(emitted.tryAcquire(1, 10'000), qPrintable(u"scan %1 was lost"_s.arg(scan)));
    }
    QVERIFY(profiler.wait(20'000));
    QCOMPARE(emitted.available(), 0);
    QCOMPARE(machine().takeLog(u"New thread start"_s).size(), scans);
}

void TestSysProfiler::workFinishedMayBeConnectedToTheNextRequest()
{
    SysProfiler profiler(SysProfiler::REGISTRY);
    connect(&profiler, &SysProfiler::workFinished, &profiler, &SysProfiler::threadUpdate);
    FinishedScans finished(profiler);
    profiler.threadUpdate();
    QVERIFY(finished.reach(50));
}

void TestSysProfiler::versionAskedForDuringAScanIsForgottenWhenTheResultIsStored()
{
    machine().list({machine().putBundle(u"Foo"_s, versionPlist("2.0"))});
    SysProfiler profiler;
    FinishedScans finished(profiler);
    const HeldCommand find(machine(), u"find"_s);
    profiler.threadUpdate();
    QTRY_COMPARE(machine().calls(u"find"_s).size(), 1);
    machine().takeLog();
    QCOMPARE(profiler.getVersion(u"Foo"_s), QString());
    QCOMPARE(machine().takeLog(),
             QStringList{u"[WARNING] SysProfiler - Cannot read version for 'Foo' — plist: "
                         "/Contents/Info.plist"_s});

    find.release();
    QVERIFY(finished.reach(1));
    QCOMPARE(profiler.getVersion(u"Foo"_s), u"2.0"_s);
    QCOMPARE(machine().takeLog(u"Cannot read version"_s), QStringList());
}

void TestSysProfiler::nameAskedForDuringAScanIsForgottenWhenTheResultIsStored()
{
    machine().list({path(u"Foo"_s)});
    SysProfiler profiler;
    FinishedScans finished(profiler);
    const HeldCommand find(machine(), u"find"_s);
    profiler.threadUpdate();
    QTRY_COMPARE(machine().calls(u"find"_s).size(), 1);
    QVERIFY(profiler.getVersion(u"Bar"_s).isEmpty());
    QCOMPARE(profiler.find(u""_s), QStringList{u"Bar"_s});
    QCOMPARE(profiler.size(), 1);
    QVERIFY(!profiler.hasData());

    find.release();
    QVERIFY(finished.reach(1));
    QCOMPARE(profiler.find(u""_s), QStringList{u"Foo"_s});
    QCOMPARE(profiler.size(), 1);
}

void TestSysProfiler::queriesDoNotWaitForTheCommand()
{
    SysProfiler profiler;
    FinishedScans finished(profiler);
    const HeldCommand find(machine(), u"find"_s);
    profiler.threadUpdate();
    QTRY_COMPARE(machine().calls(u"find"_s).size(), 1);

    const std::unique_ptr<QThread> asking(QThread::create([&profiler] {
        (void)profiler.hasData();
        (void)profiler.size();
        (void)profiler.find(u""_s);
        (void)profiler.isInstall(u"Foo"_s);
        (void)profiler.getInfo(u"Foo"_s);
        (void)profiler.getLocation(u"Foo"_s);
        (void)profiler.getVersion(u"Foo"_s);
        profiler.clear();
    }));
    asking->start();
    const bool answered = asking->wait(5'000);
    QCOMPARE(finished.count(), 0);
    find.release();
    asking->wait();
    QVERIFY2(answered, "a query waited for the scan's command");
    QVERIFY(finished.reach(1));
}

void TestSysProfiler::queriesFromOtherThreadsSeeAllOrNothing()
{
    const QStringList all = {u"Bar"_s, u"Baz"_s, u"Foo"_s, u"Foo Pro"_s};
    machine().list(paths(all));
    SysProfiler profiler;
    std::atomic<bool> stop = false;
    std::atomic<int> odd = 0;
    const auto ask = [&] {
        while (!stop) {
            const QStringList names = profiler.find(u""_s);
            const qsizetype size = profiler.size();
            const QString location = profiler.getLocation(u"Foo"_s);
            odd += names != all && !names.isEmpty();
            odd += size != all.size() && size != 0;
            odd += location != path(u"Foo"_s) && !location.isNull();
            QThread::yieldCurrentThread();
        }
    };
    std::vector<std::unique_ptr<QThread>> asking;
    for (int i = 0; i < 3; ++i) {
        asking.emplace_back(QThread::create(ask))->start();
    }
    bool scanned = true;
    for (int scan = 0; scan < 15; ++scan) {
        scanned = scanned && scanInBackground(profiler);
    }
    stop = true;
    for (const auto& thread : asking) {
        thread->wait();
    }
    QVERIFY(scanned);
    QCOMPARE(odd.load(), 0);
}

void TestSysProfiler::destructionWaitsForARunningScan()
{
    machine().standIns().add(u"find"_s, ": >\"$HOME/begun\"\nsleep 0.3\n"
                                        "echo /Applications/Foo.app\n");
    std::atomic<int> emissions = 0;
    {
        SysProfiler profiler;
        connect(
            &profiler, &SysProfiler::workFinished, &profiler, [&emissions] { ++emissions; },
            Qt::DirectConnection);
        profiler.threadUpdate();
        QTRY_VERIFY(QFile::exists(machine().home().path() + "/begun"_L1));
        QCOMPARE(machine().takeLog(u"apps found"_s), QStringList());
    }
    QCOMPARE(emissions.load(), 1);
    QCOMPARE(withoutDuration(machine().takeLog()),
             QStringList({u"[INFO] SysProfiler [find] — 1 apps found"_s,
                          u"[INFO]   + Foo (/Applications/Foo.app)"_s,
                          u"[INFO] SysProfiler - data updated (execution duration: #s)"_s}));
}

void TestSysProfiler::destructionRightAfterWorkFinishedIsSafe()
{
    for (int i = 0; i < 50; ++i) {
        QSemaphore emitted;
        SysProfiler profiler(SysProfiler::REGISTRY);
        connect(
            &profiler, &SysProfiler::workFinished, &profiler, [&emitted] { emitted.release(); },
            Qt::DirectConnection);
        profiler.threadUpdate();
        QVERIFY(emitted.tryAcquire(1, 10'000));
    }
}

QTEST_GUILESS_MAIN(TestSysProfiler)
#include "tst_sysprofiler.moc"
