#include "companion/fleet/forecast.h"

#include "commandrun.h"
#include "companion/fleet/machineforecast.h"
#include "companion/preview/previewtable.h"
#include "fleetsample.h"
#include "randomcatalogues.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

/// What the published and the new catalogue of most tests offer.
const QByteArray published = FleetSample::catalogue({"Synth,1.0", "Schist,3", "Gneiss,2"});
const QByteArray next = FleetSample::catalogue({"Synth,2.0", "Gneiss,2", "Basaltine,5"});

/// The table's lines "entry | before | after | machines" without the last sum.
QStringList turns(const QString& out)
{
    QStringList found;
    const QStringList lines = out.split(u'\n');
    for (const QString& line : lines.sliced(std::max(qsizetype(0), lines.indexOf(QString()) + 2))) {
        if (line.isEmpty() || line.startsWith("All entries"_L1)) {
            break;
        }
        static const QRegularExpression gap(u" {2,}"_s);
        found.append(QString(line).replace(gap, u" | "_s));
    }
    return found;
}

} // namespace

/// `forecast` on made fleets.
class TestForecast : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { silenceClientLog(); }
    void init();

    void printsWhatChanges();
    void saysThatNothingChanges();
    void ofSeveralRecordsTheNewestCounts_data();
    void ofSeveralRecordsTheNewestCounts();
    void changesAreReplayed_data();
    void changesAreReplayed();
    void changesOfNothingAreRefused();
    void damagedRecordCostsItsMachineAlone_data();
    void damagedRecordCostsItsMachineAlone();
    void tableMayBeInAnyOrder_data();
    void tableMayBeInAnyOrder();
    void logIsRead();
    void logOfAnOldFolderNamesItsMachine();
    void whatIsNoInventoryIsNamed();
    void versionThatIsMissingIsUnknown();
    void twoBundlesOfOneNameAreUnknown();
    void numberOfThreadsChangesNothing();
    void whatDiffersIsAllThatMatters();
    void wrongUsageIsOneLine_data();
    void wrongUsageIsOneLine();

private:
    [[nodiscard]] CommandRun forecast(const QStringList& places,
                                      const QStringList& options = {}) const;
    [[nodiscard]] CommandRun forecastOf(const QByteArray& lines) const;

    std::unique_ptr<FleetSample> m_fleet;
    QString m_published;
    QString m_next;
};

void TestForecast::init()
{
    m_fleet = std::make_unique<FleetSample>();
    m_published = m_fleet->write(u"old.csv"_s, published);
    m_next = m_fleet->write(u"new.csv"_s, next);
}

CommandRun TestForecast::forecast(const QStringList& places, const QStringList& options) const
{
    QStringList arguments = {u"forecast"_s, m_next, u"--published"_s, m_published};
    for (const QString& place : places) {
        arguments += {u"--machines"_s, place};
    }
    return run(runForecast, arguments + options);
}

CommandRun TestForecast::forecastOf(const QByteArray& lines) const
{
    return forecast({m_fleet->write(u"fleet.log"_s, lines)});
}

void TestForecast::printsWhatChanges()
{
    const CommandRun run =
        forecastOf(FleetSample::snapshot(u"a"_s, {u"Synth 1.0"_s, u"Schist 2"_s}) +
                   FleetSample::snapshot(u"b"_s, {u"Synth 2.5"_s, u"Basaltine 5.1"_s}) +
                   FleetSample::snapshot(u"c"_s, {u"Gneiss 1"_s}));
    QCOMPARE(run.err, QString());
    QCOMPARE(run.out, u"3 machines, 3 touched; 3 entries differ\n"
                      "\n"
                      "Entry        Before            After             Machines\n"
                      "Synth        up to date        update available  1\n"
                      "Basaltine    no row            not installed     2\n"
                      "Basaltine    no row            up to date        1\n"
                      "Schist       not installed     no row            2\n"
                      "Schist       update available  no row            1\n"
                      "All entries  no row            not installed     2\n"
                      "All entries  no row            up to date        1\n"
                      "All entries  not installed     no row            2\n"
                      "All entries  update available  no row            1\n"
                      "All entries  up to date        update available  1\n"
                      "\n"
                      "Going back: once users have updated, publishing the old catalogue again "
                      "turns 1 row newer\n"
                      "Traffic: at most 1 download\n"_s);
    QCOMPARE(run.status, 0);
}

void TestForecast::saysThatNothingChanges()
{
    m_next = m_published;
    const CommandRun run = forecastOf(FleetSample::snapshot(u"a"_s, {u"Synth 1.0"_s}));
    QCOMPARE(run.out, u"1 machine, 0 touched; 0 entries differ\n\n"
                      "No row changes on any machine.\n\n"_s);
}

void TestForecast::ofSeveralRecordsTheNewestCounts_data()
{
    QTest::addColumn<QByteArrayList>("files");

    const QByteArray before = FleetSample::snapshot(u"a"_s, {u"Synth 0.5"_s, u"Gneiss 2"_s}, 1'000);
    const QByteArray newest = FleetSample::snapshot(u"a"_s, {u"Synth 1.0"_s, u"Gneiss 2"_s}, 2'000);
    QTest::newRow("alone") << QByteArrayList{newest};
    QTest::newRow("last") << QByteArrayList{before + newest};
    QTest::newRow("first") << QByteArrayList{newest + before};
    QTest::newRow("in another file") << QByteArrayList{newest, before};
    QTest::newRow("twice") << QByteArrayList{newest, newest + newest};
    QTest::newRow("other query's lines between")
        << QByteArrayList{before +
                          "{\"snapshot\":[{\"path\":\"/x\"}],\"hostIdentifier\":\"a\","
                          "\"unixTime\":9000}\n\n" +
                          newest};
}

void TestForecast::ofSeveralRecordsTheNewestCounts()
{
    QFETCH(QByteArrayList, files);
    QStringList places;
    for (const QByteArray& file : files) {
        places.append(m_fleet->write(u"fleet%1.log"_s.arg(places.size()), file));
    }
    const CommandRun run = forecast(places);
    QCOMPARE(run.out.section(u';', 0, 0), u"1 machine, 1 touched"_s);
    QCOMPARE(turns(run.out).constFirst(), u"Synth | up to date | update available | 1"_s);
}

void TestForecast::changesAreReplayed_data()
{
    QTest::addColumn<QByteArray>("lines");

    const auto change = [](const char* action, const char* installed, qint64 time, int counter) {
        return FleetSample::change(u"a"_s, QString::fromUtf8(action), QString::fromUtf8(installed),
                                   time, counter);
    };
    const QByteArray first =
        change("added", "Gneiss 2", 10, 0) + change("added", "Synth 0.5", 10, 0);
    const QByteArray update =
        change("added", "Synth 1.0", 20, 1) + change("removed", "Synth 0.5", 20, 1);
    QTest::newRow("in order") << first + update;
    QTest::newRow("out of order") << update + first;
    QTest::newRow("after a snapshot")
        << FleetSample::snapshot(u"a"_s, {u"Synth 0.5"_s}, 15) + update;
    QTest::newRow("begun anew") << first + update + change("added", "Synth 9", 30, 2) +
                                       change("added", "Synth 1.0", 40, 0);
    QTest::newRow("a batch") << first +
                                    R"({"diffResults":{"added":[{"path":"/Applications/Synth.app",)"
                                    R"("bundle_short_version":"1.0","bundle_identifier":"x"}],)"
                                    R"("removed":[{"bundle_identifier":"org.example.synth",)"
                                    R"("path":"/Applications/Synth.app","bundle_short_version":)"
                                    R"("0.5"}]},"hostIdentifier":"a","unixTime":20,"counter":1})"
                                    "\n";
    QTest::newRow("nothing removed")
        << change("added", "Gneiss 2", 10, 0) +
               R"({"diffResults":{"added":[{"path":"/Applications/Synth.app","bundle_identifier":)"
               R"("","bundle_short_version":"1.0"}],"removed":""},"hostIdentifier":"a",)"
               R"("unixTime":20,"counter":1})";
}

void TestForecast::changesAreReplayed()
{
    QFETCH(QByteArray, lines);
    const CommandRun run = forecastOf(lines);
    QCOMPARE(run.out.section(u';', 0, 0), u"1 machine, 1 touched"_s);
    QCOMPARE(turns(run.out).constFirst(), u"Synth | up to date | update available | 1"_s);
}

void TestForecast::changesOfNothingAreRefused()
{
    const CommandRun run =
        forecastOf(FleetSample::change(u"a"_s, u"added"_s, u"Synth 1.0"_s, 20, 3) +
                   FleetSample::snapshot(u"b"_s, {u"Synth 1.0"_s}));
    QCOMPARE(run.out.section(u';', 0, 0), u"1 machine, 1 touched"_s);
    QVERIFY2(run.out.contains(u"Unknown: 1 of 2 machines, changes are recorded, but not what they "
                              "change\n"_s),
             qUtf8Printable(run.out));
}

void TestForecast::damagedRecordCostsItsMachineAlone_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("damaged");

    const QByteArray whole = FleetSample::snapshot(u"b"_s, {u"Synth 1.0"_s});
    QTest::newRow("cut line") << u"b.log"_s << whole.first(40) + "\n";
    QTest::newRow("no JSON") << u"b.log"_s << QByteArray("{\"snapshot\":[}\n");
    QTest::newRow("text behind the end") << u"b.log"_s << whole.trimmed() + "}\n";
    QTest::newRow("cut rows") << u"b.json"_s
                              << QByteArray(R"([{"path":"/Applications/Synth.app",)"
                                            R"("bundle_short_version":"1.0"},{"path":"/App)");
    QTest::newRow("cut log") << u"b.log"_s
                             << QByteArray("2026-09-21T14:05:01 [INFO] SysProfiler [find] — 2 apps "
                                           "found\n2026-09-21T14:05:01 [INFO]   + Synth "
                                           "(/Applications/Synth.app)\n");
    QTest::newRow("log without a scan")
        << u"b.log"_s << QByteArray("2026-09-21T14:05:01 [INFO] Quillmere START\n");
}

void TestForecast::damagedRecordCostsItsMachineAlone()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, damaged);
    const QString good =
        m_fleet->write(u"fleet.log"_s, FleetSample::snapshot(u"a"_s, {u"Synth 1.0"_s}) +
                                           FleetSample::snapshot(u"c"_s, {u"Synth 1.0"_s}));
    const CommandRun run = forecast({m_fleet->write(name, damaged), good});
    QCOMPARE(run.out.section(u';', 0, 0), u"2 machines, 2 touched"_s);
    QVERIFY2(run.out.contains(u"Unknown: 1 of 3 machines, the record is damaged\n"_s),
             qUtf8Printable(run.out));
    QVERIFY2(run.err.contains(u"damaged"_s) && run.err.contains(u'b'), qUtf8Printable(run.err));
}

void TestForecast::tableMayBeInAnyOrder_data()
{
    QTest::addColumn<QByteArray>("table");

    QTest::newRow("by machine") << QByteArray("Mac,Path,Version\n"
                                              "a,/Applications/Synth.app,1.0\n"
                                              "a,/Applications/Gneiss.app,1\n"
                                              "b,/Applications/Synth.app,1.0\n");
    QTest::newRow("by application") << QByteArray("Path,Version,Mac,Owner\r\n"
                                                  "/Applications/Synth.app,1.0,a,x\r\n"
                                                  "/Applications/Synth.app,1.0,b,y\r\n"
                                                  "/Applications/Gneiss.app,1,a,z\r\n");
    QTest::newRow("quoted, by semicolons")
        << QByteArray("\xEF\xBB\xBF\"Mac\";\"Version\";\"Path\"\n"
                      "\"a\";\"1.0\";\"/Applications/Synth.app\"\n"
                      "\"a\";\"1.0\";\"/Applications/Say \"\"Hi; there\"\"\n.app\"\n"
                      "b;1.0;/Applications/Synth.app\n");
}

void TestForecast::tableMayBeInAnyOrder()
{
    QFETCH(QByteArray, table);
    const CommandRun run = forecast({m_fleet->write(u"fleet.csv"_s, table)},
                                    {u"--columns"_s, u"machine=Mac,path=Path,version=Version"_s});
    QCOMPARE(run.err, QString());
    QCOMPARE(run.out.section(u';', 0, 0), u"2 machines, 2 touched"_s);
    QCOMPARE(turns(run.out).constFirst(), u"Synth | up to date | update available | 2"_s);
}

void TestForecast::logIsRead()
{
    const CommandRun run =
        forecastOf("2026-09-21T14:05:01 [INFO] SysProfiler [find] — 2 apps found\n"
                   "2026-09-21T14:05:01 [INFO]   + Basaltine (/Applications/Basaltine.app)\n"
                   "2026-09-21T14:05:01 [INFO]   + Synth (/Applications/Synth.app)\n"
                   "2026-09-21T14:05:02 [INFO] Profiler - 'Synth' → matched 'Synth' v1.0\n");
    QCOMPARE(turns(run.out).join(u'\n'), u"Synth | up to date | update available | 1\n"
                                         "Basaltine | no row | unknown | 1\n"
                                         "Schist | not installed | no row | 1"_s);
    QVERIFY2(run.out.contains(u"Unknown: 1 of 2 rows, the record has no version\n"_s),
             qUtf8Printable(run.out));
}

void TestForecast::logOfAnOldFolderNamesItsMachine()
{
    const QByteArray log = "2026-09-21T14:05:01 [INFO] SysProfiler [find] — 0 apps found\n";
    m_fleet->write(u"logs/anna/quillmere.log"_s, log);
    m_fleet->write(u"logs/bert/quillmere.log"_s, log);
    const CommandRun run = forecast({m_fleet->path() + "/logs"_L1});
    QCOMPARE(run.out.section(u',', 0, 0), u"2 machines"_s);
}

void TestForecast::whatIsNoInventoryIsNamed()
{
    m_fleet->write(u"folder/fleet.log"_s, FleetSample::snapshot(u"a"_s, {u"Synth 1.0"_s}));
    const QString other = m_fleet->write(u"folder/notes.txt"_s, "Nothing to see.\n");
    const CommandRun folder = forecast({m_fleet->path() + "/folder"_L1});
    QCOMPARE(folder.err, other + ": no inventory of a known format\n"_L1);
    QCOMPARE(folder.status, 0);
    const CommandRun file = forecast({other});
    QCOMPARE(file.err,
             u"quillmere-catalogue forecast: %1: no inventory of a known format\n"_s.arg(other));
    QCOMPARE(file.status, 2);
}

void TestForecast::versionThatIsMissingIsUnknown()
{
    const CommandRun run =
        forecastOf(R"({"snapshot":[{"path":"/Applications/Synth.app","bundle_short_version":""}],)"
                   R"("hostIdentifier":"a"})");
    QCOMPARE(turns(run.out).value(0), u"Basaltine | no row | not installed | 1"_s);
    QVERIFY2(run.out.contains(u"Unknown: 1 of 2 rows, the record has no version\n"_s),
             qUtf8Printable(run.out));
}

void TestForecast::twoBundlesOfOneNameAreUnknown()
{
    const CommandRun run = forecastOf(FleetSample::snapshot(
        u"a"_s, {u"Synth 1.0"_s, u"Music/Synth 2.0"_s, u"Basaltine 5"_s, u"Old/Basaltine 5"_s}));
    QCOMPARE(turns(run.out).value(0), u"Basaltine | no row | up to date | 1"_s);
    QVERIFY2(run.out.contains(
                 u"Unknown: 1 of 2 rows, two bundles have the name, with different versions\n"_s),
             qUtf8Printable(run.out));
}

void TestForecast::numberOfThreadsChangesNothing()
{
    QByteArray lines;
    for (int machine = 0; machine < 9'000; ++machine) {
        lines += FleetSample::snapshot(
            u"mac%1"_s.arg(machine % 8'000),
            {u"Synth %1.0"_s.arg(machine % 3), u"Gneiss 1"_s, u"Basaltine %1"_s.arg(machine % 7)},
            machine);
    }
    const QString file = m_fleet->write(u"fleet.log"_s, lines);
    const CommandRun one = forecast({file}, {u"--threads"_s, u"1"_s});
    QCOMPARE(one.out.section(u',', 0, 1), u"8,000 machines"_s);
    for (const QString& threads : {u"2"_s, u"8"_s}) {
        QCOMPARE(forecast({file}, {u"--threads"_s, threads}).out, one.out);
    }
}

/// Judging only what differs tells what judging all tells, and both tell what the two previews do.
void TestForecast::whatDiffersIsAllThatMatters()
{
    int changedRows = 0;
    for (quint32 seed = 1; seed <= 400; ++seed) {
        RandomCatalogues random(seed);
        const QByteArray before = random.catalogue();
        const QByteArray after = random.catalogue();
        QList<RecordedApplication> recorded;
        for (int i = random.number(0, 14); i > 0; --i) {
            recorded.append(
                {u"/Applications/%1.app"_s.arg(random.name().remove(u'/')), random.version(), {}});
        }
        const Offer former = readOffer(before, random.separator());
        const Offer coming = readOffer(after, random.separator());
        const CatalogueChange all(former, coming, true);
        const CatalogueChange some(former, coming, false);
        const InstalledApplications installed = installedOf(recorded);
        const QList<RowForecast> allRows = forecastMachine(all, installed);
        const QList<RowForecast> someRows = forecastMachine(some, installed);
        InstalledApplications admitted = installed;
        admitted.removeIf([&some](const auto& entry) { return !some.filter.admits(entry.key()); });
        QVERIFY(forecastMachine(some, admitted) == someRows);

        qsizetype next = 0;
        for (qsizetype i = 0; i < all.entries.size(); ++i) {
            if (all.entries[i].isDifferent()) {
                QVERIFY2(allRows[i] == someRows[next++], qPrintable(all.entries[i].name));
            } else {
                QVERIFY2(!allRows[i].isTouched(), qPrintable(all.entries[i].name));
            }
        }

        const Inventory inventory = inventoryOf(installed);
        const PreviewDifference difference =
            previewDifference(previewRows(before, random.separator(), inventory),
                              previewRows(after, random.separator(), inventory));
        for (qsizetype i = 0; i < some.entries.size(); ++i) {
            const EntryChange& entry = some.entries[i];
            const bool moves = std::any_of(
                difference.matches.cbegin(), difference.matches.cend(),
                [&entry](const MatchChange& match) {
                    return entry.isComingOrGoing() && !match.before.isEmpty() &&
                           !match.after.isEmpty() &&
                           (match.before.contains(entry.name) || match.after.contains(entry.name));
                });
            QCOMPARE(someRows[i].changesRow, moves);
            changedRows += moves ? 1 : 0;
        }
    }
    QVERIFY(changedRows > 50);
}

void TestForecast::wrongUsageIsOneLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("reason");

    const auto row = [](const char* what, const QStringList& arguments, const QString& reason) {
        QTest::newRow(what) << arguments << reason;
    };
    const QStringList rest = {u"NEW"_s, u"--published"_s, u"OLD"_s, u"--machines"_s, u"FLEET"_s};
    row("no published catalogue", {u"NEW"_s, u"--machines"_s, u"FLEET"_s},
        u"--published is missing (try --help)"_s);
    row("no machines", rest.first(3), u"--machines is missing (try --help)"_s);
    row("format", rest + QStringList{u"--format"_s, u"x"_s},
        u"--format 'x' is unknown (try --help)"_s);
    row("columns", rest + QStringList{u"--columns"_s, u"machine=a,path=b"_s},
        u"--columns 'machine=a,path=b' does not name machine, path or name, and version"_s);
    row("list and JSON", rest + QStringList{u"--list"_s, u"Synth"_s, u"--json"_s},
        u"--list goes with neither --json nor --csv (try --help)"_s);
    row("threads", rest + QStringList{u"--threads"_s, u"0"_s},
        u"--threads '0' is no number of threads"_s);
}

void TestForecast::wrongUsageIsOneLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, reason);
    arguments.replaceInStrings(u"NEW"_s, m_next);
    arguments.replaceInStrings(u"OLD"_s, m_published);
    arguments.replaceInStrings(
        u"FLEET"_s,
        m_fleet->write(u"fleet.log"_s, FleetSample::snapshot(u"a"_s, {u"Synth 1.0"_s})));
    const CommandRun wrong = run(runForecast, QStringList{u"forecast"_s} + arguments);
    QCOMPARE(wrong.err, u"quillmere-catalogue forecast: %1\n"_s.arg(reason));
    QCOMPARE(wrong.out, QString());
    QCOMPARE(wrong.status, 2);
}

QTEST_GUILESS_MAIN(TestForecast)
#include "tst_forecast.moc"
