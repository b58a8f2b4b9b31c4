#include "companion/preview/preview.h"

#include "commandrun.h"
#include "companion/preview/inventory.h"
#include "companion/preview/previewtable.h"
#include "support/cataloguetext.h"
#include "support/httpserver.h"
#include "support/privatehome.h"
#include "support/propertylist.h"
#include "support/standin.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray& header = catalogueTitles;

/// A log as a client writes it, of one scan and the matches of one catalogue.
const QByteArray sampleLog =
    "=== Quillmere 26.3.0 — 2026-09-21 14:05:00 ===\n"
    "2026-09-21T14:05:00 [INFO] Quillmere START\n"
    "2026-09-21T14:05:01 [INFO] SysProfiler - data Updating...\n"
    "2026-09-21T14:05:01 [INFO] SysProfiler [find] — 5 apps found\n"
    "2026-09-21T14:05:01 [INFO]   + Basaltine (/Applications/Basaltine.app)\n"
    "2026-09-21T14:05:01 [INFO]   + Gneiss (old) (/Applications/Gneiss (old).app)\n"
    "2026-09-21T14:05:01 [INFO]   + Synth (/Applications/Synth.app)\n"
    "2026-09-21T14:05:01 [INFO]   + Synth 2 (/Applications/Music/Synth 2.app)\n"
    "2026-09-21T14:05:01 [INFO]   + Synth Pro (/Applications/Synth Pro.app)\n"
    "2026-09-21T14:05:01 [INFO] SysProfiler - data updated (execution duration: 0.2s)\n"
    "2026-09-21T14:05:02 [WARNING] SysProfiler - Cannot read version for 'Basaltine' — plist: "
    "/Applications/Basaltine.app/Contents/Info.plist\n"
    "2026-09-21T14:05:02 [INFO] Profiler - 'Basaltine' → matched 'Basaltine' v\n"
    "2026-09-21T14:05:02 [WARNING] Profiler - 'Schist' → NOT FOUND in system\n"
    "2026-09-21T14:05:02 [INFO] Profiler - 'Synth' → 3 candidates: ['Synth' v1.0, 'Synth 2' v2.5, "
    "'Synth Pro' v9] → matched 'Synth 2' v2.5\n";

/// "name | installed | catalogue | verdict | matches", "?" for what is open.
QString text(const PreviewRow& row)
{
    return QStringList{row.name, row.installedVersion.value_or(u"?"_s), row.catalogueVersion,
                       row.verdict.isEmpty() ? u"?"_s : row.verdict, row.matches.join(u'+')}
        .join(u" | "_s);
}

QStringList texts(const QList<PreviewRow>& rows)
{
    QStringList found;
    for (const PreviewRow& row : rows) {
        found.append(text(row));
    }
    return found;
}

Inventory inventoryOf(const QHash<QString, QString>& versions)
{
    QStringList names = versions.keys();
    names.sort();
    return {names, [versions](const QString& name) { return std::optional(versions.value(name)); }};
}

QStringList difference(const PreviewDifference& found)
{
    QStringList lines;
    for (const RowChange& change : found.rows) {
        lines.append((change.before ? text(*change.before) : u"none"_s) + " => "_L1 +
                     (change.after ? text(*change.after) : u"none"_s));
    }
    for (const MatchChange& change : found.matches) {
        lines.append(change.application + ": "_L1 + change.before.join(u'+') + " => "_L1 +
                     change.after.join(u'+'));
    }
    return lines;
}

} // namespace

/// The table of a catalogue and a machine, and the command that prints it.
class TestPreview : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void rowFollowsCatalogueAndMachine_data();
    void rowFollowsCatalogueAndMachine();
    void rowsFollowTheCatalogue();

    void logTellsWhatIsInstalled();
    void lastScanOfALogCounts();
    void logWithoutAScanTellsNothing_data();
    void logWithoutAScanTellsNothing();
    void endOfALogWithinItsScanIsTold();
    void namesInALogMayLookLikeItsOwnWords_data();
    void namesInALogMayLookLikeItsOwnWords();
    void whatALogDoesNotTellStaysOpen_data();
    void whatALogDoesNotTellStaysOpen();

    void differenceNamesWhatChanges_data();
    void differenceNamesWhatChanges();

    void printsTheTable();
    void printsTheTableOfALog();
    void printsTheTableOfAScan();
    void printsTheTableOfAWebAddress();
    void printsJson();
    void printsWhatChanges();
    void printsWhatChangesAsJson();
    void saysThatNothingChanges();
    void controlCharactersAreWrittenOut();
    void usesTheSeparatorGiven();
    void warnsOfALogThatEndsTooEarly();
    void unusableInputIsOneLine_data();
    void unusableInputIsOneLine();
    void writesNothingToTheDisk();

private:
    [[nodiscard]] CommandRun preview(const QStringList& arguments) const;
    [[nodiscard]] QString path(const QString& name) const { return m_home->path() + u'/' + name; }

    std::optional<PrivateHome> m_home;
};

void TestPreview::init()
{
    m_home.emplace();
    m_home->write(u"new.csv"_s, header + "Synth,2.5,2026-03-01,Synth.pkg,0\n"
                                         "Schist,1.0,2026-03-01,Schist.pkg,0\n"
                                         "Obsoline,1.0,2019-07-07,Obsoline.pkg,1\n"
                                         "Basaltine,12.0,2026-05-04,Basaltine.zip,0\n");
    m_home->write(u"client.log"_s, sampleLog);
}

void TestPreview::cleanup()
{
    m_home.reset();
}

CommandRun TestPreview::preview(const QStringList& arguments) const
{
    return run(runPreview, QStringList{u"preview"_s} + arguments);
}

void TestPreview::rowFollowsCatalogueAndMachine_data()
{
    using Versions = QHash<QString, QString>;
    QTest::addColumn<QByteArray>("record");
    QTest::addColumn<Versions>("installed");
    QTest::addColumn<QString>("row");

    const auto row = [](const char* what, const QByteArray& record, const Versions& installed,
                        const QString& expected) {
        QTest::newRow(what) << record << installed << expected;
    };
    row("not installed", "Synth,2.0,,,0", {{u"Gneiss"_s, u"1"_s}},
        u"Synth |  | 2.0 | not installed | "_s);
    row("older", "Synth,2.0,,,0", {{u"Synth"_s, u"1.9"_s}},
        u"Synth | 1.9 | 2.0 | update available | Synth"_s);
    row("equal as far as both go", "Synth,2.0,,,0", {{u"Synth"_s, u"2.0.7"_s}},
        u"Synth | 2.0.7 | 2.0 | up to date | Synth"_s);
    row("newer", "Synth,1.9,,,0", {{u"Synth"_s, u"1.10"_s}},
        u"Synth | 1.10 | 1.9 | newer than the catalogue | Synth"_s);
    row("without a version of its own", "Synth,1.9,,,0", {{u"Synth"_s, QString()}},
        u"Synth |  | 1.9 | update available | Synth"_s);
    row("another ending, alone", "Synth,1.9,,,0", {{u"Synth Pro"_s, u"1.9"_s}},
        u"Synth | 1.9 | 1.9 | up to date | Synth Pro"_s);
    row("the newest of several", "Synth,3,,,0",
        {{u"Synth"_s, u"1"_s}, {u"Synth 2"_s, u"2"_s}, {u"Synth Pro"_s, u"9"_s}},
        u"Synth | 2 | 3 | update available | Synth 2"_s);
    row("the first where no ending fits", "Synth,3,,,0",
        {{u"Synth Lite"_s, u"1"_s}, {u"Synth Pro"_s, u"9"_s}},
        u"Synth | 1 | 3 | update available | Synth Lite"_s);
    row("blanks and quotes do not count", " \"Synth\" , \"2.0\" ,,, \"0\" ",
        {{u"Synth"_s, u"2.0"_s}}, u"Synth | 2.0 | 2.0 | up to date | Synth"_s);
}

void TestPreview::rowFollowsCatalogueAndMachine()
{
    using Versions = QHash<QString, QString>;
    QFETCH(QByteArray, record);
    QFETCH(Versions, installed);
    QFETCH(QString, row);
    QCOMPARE(texts(previewRows(header + record + '\n', u","_s, inventoryOf(installed))),
             QStringList{row});
}

void TestPreview::rowsFollowTheCatalogue()
{
    const QByteArray catalogue = header + "Synth,1,,,0\nGneiss,5,,,1\nSchist,3,,,0\nSynth,2,,,0\n";
    const QStringList expected = {u"Synth |  | 2 | not installed | "_s,
                                  u"Schist |  | 3 | not installed | "_s,
                                  u"Synth |  | 2 | not installed | "_s};
    QCOMPARE(texts(previewRows(catalogue, u","_s, noInventory())), expected);
}

void TestPreview::logTellsWhatIsInstalled()
{
    const std::optional<Inventory> inventory = loggedInventory(sampleLog);
    QVERIFY(inventory);
    const QStringList names = {u"Basaltine"_s, u"Gneiss (old)"_s, u"Synth"_s, u"Synth 2"_s,
                               u"Synth Pro"_s};
    QCOMPARE(inventory->names, names);
    QCOMPARE(inventory->version(u"Basaltine"_s), std::optional(QString()));
    QCOMPARE(inventory->version(u"Gneiss (old)"_s), std::nullopt);
    QCOMPARE(inventory->version(u"Synth"_s), std::optional(u"1.0"_s));
    QCOMPARE(inventory->version(u"Synth 2"_s), std::optional(u"2.5"_s));
    QCOMPARE(inventory->version(u"Synth Pro"_s), std::optional(u"9"_s));
    QVERIFY(inventory->isWhole);
}

void TestPreview::lastScanOfALogCounts()
{
    const std::optional<Inventory> inventory = loggedInventory(
        sampleLog + "2026-09-21T15:00:00 [INFO] SysProfiler - data Updating...\r\n"
                    "2026-09-21T15:00:00 [INFO] SysProfiler [find] — 2 apps found\r\n"
                    "2026-09-21T15:00:00 [INFO]   + Schist (/Applications/Schist.app)\r\n"
                    "2026-09-21T15:00:00 [INFO] Download - Saved: /tmp/x.pkg\r\n"
                    "2026-09-21T15:00:00 [INFO]   + Synth (/Applications/Synth.app)\r\n"
                    "2026-09-21T15:00:00 [INFO] Profiler - 'Synth' → matched 'Synth' v3.0\r\n");
    QVERIFY(inventory);
    QCOMPARE(inventory->names, (QStringList{u"Schist"_s, u"Synth"_s}));
    QCOMPARE(inventory->version(u"Synth"_s), std::optional(u"3.0"_s));
    QCOMPARE(inventory->version(u"Schist"_s), std::nullopt);
}

void TestPreview::logWithoutAScanTellsNothing_data()
{
    QTest::addColumn<QByteArray>("log");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("no log at all") << QByteArray("Name,Version\nSynth,1\n");
    QTest::newRow("before the scan")
        << QByteArray("2026-09-21T14:05:00 [INFO] SysProfiler - data Updating...\n");
}

void TestPreview::logWithoutAScanTellsNothing()
{
    QFETCH(QByteArray, log);
    QVERIFY(!loggedInventory(log));
}

void TestPreview::endOfALogWithinItsScanIsTold()
{
    const std::optional<Inventory> inventory = loggedInventory(
        sampleLog.first(sampleLog.indexOf("2026-09-21T14:05:01 [INFO]   + Synth ")));
    QVERIFY(inventory);
    QCOMPARE(inventory->names, (QStringList{u"Basaltine"_s, u"Gneiss (old)"_s}));
    QVERIFY(!inventory->isWhole);
}

void TestPreview::namesInALogMayLookLikeItsOwnWords_data()
{
    QTest::addColumn<QStringList>("installed");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("version");

    const auto row = [](const char* what, const QStringList& installed, const QString& line,
                        const QString& name, const QString& version) {
        QTest::newRow(what) << installed << line << name << version;
    };
    row("an arrow in the entry's name", {u"S' → matched 'S' v1"_s},
        u"Profiler - 'S' → matched 'S' v1' → matched 'S' → matched 'S' v1' v7"_s,
        u"S' → matched 'S' v1"_s, u"7"_s);
    row("a list's end in an application's name", {u"S"_s, u"S', 'T' v2"_s},
        u"Profiler - 'S' → 2 candidates: ['S' v5, 'S', 'T' v2' v6] → matched 'S' v5"_s,
        u"S', 'T' v2"_s, u"6"_s);
    row("an entry that is not installed, named like another's match", {u"S"_s},
        u"Profiler - 'S' → matched 'S' v3\n"
        "2026-09-21T14:05:02 [WARNING] Profiler - 'S' → matched 'S' v9' → NOT FOUND in system"_s,
        u"S"_s, u"3"_s);
    row("brackets in an application's name", {u"S (T) (U)"_s},
        u"Profiler - 'S' → matched 'S (T) (U)' v4"_s, u"S (T) (U)"_s, u"4"_s);
}

void TestPreview::namesInALogMayLookLikeItsOwnWords()
{
    QFETCH(QStringList, installed);
    QFETCH(QString, line);
    QFETCH(QString, name);
    QFETCH(QString, version);
    const QString stamp = u"2026-09-21T14:05:01 [INFO] "_s;
    QString log = stamp + u"SysProfiler [find] — %1 apps found\n"_s.arg(installed.size());
    for (const QString& application : installed) {
        log += stamp + u"  + "_s + application + " (/Applications/"_L1 + application + ".app)\n"_L1;
    }
    const auto inventory = loggedInventory((log + stamp + line + u'\n').toUtf8());
    QVERIFY(inventory);
    QCOMPARE(inventory->names, installed);
    QCOMPARE(inventory->version(name), std::optional(version));
}

void TestPreview::whatALogDoesNotTellStaysOpen_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::addColumn<QString>("row");

    QTest::newRow("the version of a single application")
        << QByteArray("Gneiss,1,,,0") << u"Gneiss | ? | 1 | ? | Gneiss (old)"_s;
    QTest::newRow("which of several it is")
        << QByteArray("Marl,1,,,0") << u"Marl | ? | 1 | ? | Marl+Marl 2"_s;
    QTest::newRow("but not where the name decides")
        << QByteArray("Tuff,1,,,0") << u"Tuff | ? | 1 | ? | Tuff 3"_s;
    QTest::newRow("a version that was read as empty is known")
        << QByteArray("Basaltine,1,,,0") << u"Basaltine |  | 1 | update available | Basaltine"_s;
    QTest::newRow("what is not installed is known")
        << QByteArray("Loess,1,,,0") << u"Loess |  | 1 | not installed | "_s;
}

void TestPreview::whatALogDoesNotTellStaysOpen()
{
    QFETCH(QByteArray, record);
    QFETCH(QString, row);
    QByteArray log = sampleLog;
    log.replace("5 apps found\n",
                "9 apps found\n"
                "2026-09-21T14:05:01 [INFO]   + Tuff 3 (/Applications/Tuff 3.app)\n"
                "2026-09-21T14:05:01 [INFO]   + Marl (/Applications/Marl.app)\n"
                "2026-09-21T14:05:01 [INFO]   + Tuff Pro (/Applications/Tuff Pro.app)\n"
                "2026-09-21T14:05:01 [INFO]   + Marl 2 (/Applications/Marl 2.app)\n");
    const auto inventory = loggedInventory(log);
    QVERIFY(inventory);
    QCOMPARE(texts(previewRows(header + record + '\n', u","_s, *inventory)), QStringList{row});
}

void TestPreview::differenceNamesWhatChanges_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    QTest::addColumn<QStringList>("changes");

    const auto row = [](const char* what, const QByteArray& before, const QByteArray& after,
                        const QStringList& changes) {
        QTest::newRow(what) << header + before << header + after << changes;
    };
    row("nothing", "Synth,3,,,0\n", "Synth,3,,,0\n", {});
    row("a version that changes no colour", "Synth,3,,,0\n", "Synth,4,,,0\n", {});
    row("a colour", "Synth,2.5,,,0\n", "Synth,4,,,0\n",
        {u"Synth | 2.5 | 2.5 | up to date | Synth 2 => "
         "Synth | 2.5 | 4 | update available | Synth 2"_s});
    row("a new row, and whom it stands for", "Synth,3,,,0\n", "Synth 2,3,,,0\nSynth,3,,,0\n",
        {u"none => Synth 2 | 2.5 | 3 | update available | Synth 2"_s,
         u"Synth 2: Synth => Synth 2+Synth"_s});
    row("a row that goes", "Schist,1,,,0\nSynth,3,,,0\n", "Schist,1,,,0\n",
        {u"Synth | 2.5 | 3 | update available | Synth 2 => none"_s, u"Synth 2: Synth => "_s});
    row("a renamed entry", "Basaltine,1,,,0\n", "Basalt,1,,,0\n",
        {u"none => Basalt |  | 1 | update available | Basaltine"_s,
         u"Basaltine |  | 1 | update available | Basaltine => none"_s,
         u"Basaltine: Basaltine => Basalt"_s});
    row("a name listed twice counts once", "Synth,2.5,,,0\nSynth,2.5,,,0\n",
        "Synth,1,,,0\nSynth,4,,,0\n",
        {u"Synth | 2.5 | 2.5 | up to date | Synth 2 => "
         "Synth | 2.5 | 4 | update available | Synth 2"_s});
    row("another order", "Schist,1,,,0\nSynth,3,,,0\n", "Synth,3,,,0\nSchist,1,,,0\n", {});
}

void TestPreview::differenceNamesWhatChanges()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    QFETCH(QStringList, changes);
    const auto inventory = loggedInventory(sampleLog);
    QVERIFY(inventory);
    QCOMPARE(difference(previewDifference(previewRows(before, u","_s, *inventory),
                                          previewRows(after, u","_s, *inventory))),
             changes);
}

void TestPreview::printsTheTable()
{
    const CommandRun printed = preview({path(u"new.csv"_s)});
    QCOMPARE(printed.status, 0);
    QCOMPARE(printed.err, QString());
    QCOMPARE(printed.out, u"Application  Installed  Catalogue  Verdict        Matched application\n"
                          "Synth                   2.5        not installed  \n"
                          "Schist                  1.0        not installed  \n"
                          "Basaltine               12.0       not installed  \n"_s);
}

void TestPreview::printsTheTableOfALog()
{
    const CommandRun printed = preview({path(u"new.csv"_s), u"--log"_s, path(u"client.log"_s)});
    QCOMPARE(printed.status, 0);
    QCOMPARE(printed.err, QString());
    QCOMPARE(printed.out,
             u"Application  Installed  Catalogue  Verdict           Matched application\n"
             "Synth        2.5        2.5        up to date        Synth 2\n"
             "Schist                  1.0        not installed     \n"
             "Basaltine               12.0       update available  Basaltine\n"_s);
}

void TestPreview::printsTheTableOfAScan()
{
    const StandIns commands;
    commands.add(u"find"_s, "echo \"$HOME/Synth.app\"\n");
    m_home->write(u"Synth.app/Contents/Info.plist"_s, versionPlist("3.1 (5)"));
    const CommandRun printed = preview({u"--scan"_s, path(u"new.csv"_s)});
    QCOMPARE(printed.status, 0);
    QCOMPARE(printed.err, QString());
    QCOMPARE(printed.out,
             u"Application  Installed  Catalogue  Verdict                   Matched application\n"
             "Synth        3.1        2.5        newer than the catalogue  Synth\n"
             "Schist                  1.0        not installed             \n"
             "Basaltine               12.0       not installed             \n"_s);
}

void TestPreview::printsTheTableOfAWebAddress()
{
    HttpServer server;
    server.reply(u"apps.csv"_s, {.body = header + "Gneiss,7,,,0\n"});
    const CommandRun printed = preview({server.url(u"apps.csv"_s)});
    QCOMPARE(printed.status, 0);
    QCOMPARE(printed.out, u"Application  Installed  Catalogue  Verdict        Matched application\n"
                          "Gneiss                  7          not installed  \n"_s);
}

void TestPreview::printsJson()
{
    m_home->write(u"new.csv"_s, header + "Synth,2.5,,,0\nGneiss,1,,,0\nSchist,1,,,0\n");
    const CommandRun printed =
        preview({u"--json"_s, u"--log"_s, path(u"client.log"_s), path(u"new.csv"_s)});
    QCOMPARE(printed.status, 0);
    const QJsonArray expected = {
        QJsonObject{{u"name"_s, u"Synth"_s},
                    {u"installed"_s, u"2.5"_s},
                    {u"catalogue"_s, u"2.5"_s},
                    {u"verdict"_s, u"up to date"_s},
                    {u"matches"_s, QJsonArray{u"Synth 2"_s}}},
        QJsonObject{{u"name"_s, u"Gneiss"_s},
                    {u"installed"_s, QJsonValue::Null},
                    {u"catalogue"_s, u"1"_s},
                    {u"verdict"_s, QJsonValue::Null},
                    {u"matches"_s, QJsonArray{u"Gneiss (old)"_s}}},
        QJsonObject{{u"name"_s, u"Schist"_s},
                    {u"installed"_s, QString()},
                    {u"catalogue"_s, u"1"_s},
                    {u"verdict"_s, u"not installed"_s},
                    {u"matches"_s, QJsonArray{}}},
    };
    QCOMPARE(QJsonDocument::fromJson(printed.out.toUtf8()).array(), expected);
}

void TestPreview::printsWhatChanges()
{
    m_home->write(u"old.csv"_s, header + "Synth,3,,,0\nTuff,1,,,0\nBasaltine,12,,,0\n");
    const CommandRun printed = preview({u"--published"_s, path(u"old.csv"_s), u"--log"_s,
                                        path(u"client.log"_s), path(u"new.csv"_s)});
    QCOMPARE(printed.status, 0);
    QCOMPARE(printed.out,
             u"Synth: update available -> up to date (installed: 2.5, catalogue: 2.5)\n"
             "Schist: new row, not installed (installed: , catalogue: 1.0)\n"
             "Tuff: row gone, was not installed (installed: , catalogue: 1)\n"_s);

    m_home->write(u"old.csv"_s, header + "Synth 2,2.5,,,0\nSchist,1.0,,,0\nBasaltine,12,,,0\n");
    const CommandRun renamed = preview({u"--published"_s, path(u"old.csv"_s), u"--log"_s,
                                        path(u"client.log"_s), path(u"new.csv"_s)});
    QCOMPARE(renamed.out, u"Synth: new row, up to date (installed: 2.5, catalogue: 2.5)\n"
                          "Synth 2: row gone, was up to date (installed: 2.5, catalogue: 2.5)\n"
                          "Installed 'Synth 2': matched by 'Synth 2' -> 'Synth'\n"_s);
}

void TestPreview::printsWhatChangesAsJson()
{
    m_home->write(u"old.csv"_s, header + "Schist,1.0,,,0\nBasaltine,12,,,0\n");
    const CommandRun printed = preview({u"--json"_s, u"--published"_s, path(u"old.csv"_s),
                                        u"--log"_s, path(u"client.log"_s), path(u"new.csv"_s)});
    const QJsonObject expected = {
        {u"rows"_s, QJsonArray{QJsonObject{
                        {u"before"_s, QJsonValue::Null},
                        {u"after"_s, QJsonObject{{u"name"_s, u"Synth"_s},
                                                 {u"installed"_s, u"2.5"_s},
                                                 {u"catalogue"_s, u"2.5"_s},
                                                 {u"verdict"_s, u"up to date"_s},
                                                 {u"matches"_s, QJsonArray{u"Synth 2"_s}}}}}}},
        {u"matches"_s, QJsonArray{QJsonObject{{u"application"_s, u"Synth 2"_s},
                                              {u"before"_s, QJsonArray{}},
                                              {u"after"_s, QJsonArray{u"Synth"_s}}}}}};
    QCOMPARE(QJsonDocument::fromJson(printed.out.toUtf8()).object(), expected);
}

void TestPreview::saysThatNothingChanges()
{
    const CommandRun printed = preview({u"--published"_s, path(u"new.csv"_s), path(u"new.csv"_s)});
    QCOMPARE(printed.status, 0);
    QCOMPARE(printed.out, u"No row changes its colour and no match changes.\n"_s);
}

void TestPreview::controlCharactersAreWrittenOut()
{
    m_home->write(u"new.csv"_s, header + "Syn\x1b[31mth,1,,,0\n");
    const QStringList lines = preview({path(u"new.csv"_s)}).out.split(u'\n');
    QVERIFY2(lines.value(1).startsWith("Syn\\u001b[31mth "_L1), qPrintable(lines.value(1)));
}

void TestPreview::usesTheSeparatorGiven()
{
    m_home->write(u"new.csv"_s, "Name\tVersion\tIgnored\nGneiss\t7,5\t0\n");
    const CommandRun printed = preview({u"--separator"_s, u"\\t"_s, path(u"new.csv"_s)});
    QCOMPARE(printed.out.split(u'\n').value(1),
             u"Gneiss                  7,5        not installed  "_s);
}

void TestPreview::warnsOfALogThatEndsTooEarly()
{
    m_home->write(u"client.log"_s,
                  sampleLog.first(sampleLog.indexOf("2026-09-21T14:05:01 [INFO]   + Synth ")));
    const CommandRun printed = preview({u"--log"_s, path(u"client.log"_s), path(u"new.csv"_s)});
    QCOMPARE(printed.status, 0);
    QCOMPARE(printed.err, path(u"client.log"_s) +
                              ": the log ends within its scan, applications are missing\n"_L1);
}

void TestPreview::unusableInputIsOneLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("line");

    QTest::newRow("wrong usage") << QStringList() << u"an argument is missing (try --help)"_s;
    QTest::newRow("two machines") << QStringList{u"--scan"_s, u"--log"_s, u"x"_s, u"a.csv"_s}
                                  << u"--log and --scan exclude each other"_s;
    QTest::newRow("no such catalogue") << QStringList{u"@missing.csv"_s}
                                       << u"cannot read @missing.csv: No such file or directory"_s;
    QTest::newRow("no such old catalogue")
        << QStringList{u"@new.csv"_s, u"--published"_s, u"@missing.csv"_s}
        << u"cannot read @missing.csv: No such file or directory"_s;
    QTest::newRow("a folder") << QStringList{u"@"_s} << u"cannot read @: is a folder"_s;
    QTest::newRow("no such log") << QStringList{u"@new.csv"_s, u"--log"_s, u"@missing.log"_s}
                                 << u"cannot read @missing.log: No such file or directory"_s;
    QTest::newRow("a log without a scan") << QStringList{u"@new.csv"_s, u"--log"_s, u"@new.csv"_s}
                                          << u"@new.csv: the log shows no scan"_s;
    QTest::newRow("an old catalogue that offers nothing")
        << QStringList{u"@new.csv"_s, u"--published"_s, u"@client.log"_s}
        << u"cannot compare with @client.log: no entry of it is offered"_s;
    QTest::newRow("nothing offered")
        << QStringList{u"@client.log"_s}
        << u"@client.log: no entry is offered; a window would report that it cannot reach the "
           "catalogue"_s;
}

void TestPreview::unusableInputIsOneLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, line);
    arguments.replaceInStrings(u"@"_s, m_home->path() + u'/');
    QCOMPARE(preview(arguments),
             refusal(u"preview"_s, line.replace(u"@"_s, m_home->path() + u'/')));
}

void TestPreview::writesNothingToTheDisk()
{
    const StandIns commands;
    commands.add(u"find"_s, "echo /Applications/Synth.app\n");
    const QDateTime before = QFileInfo(path(u"new.csv"_s)).lastModified();
    QCOMPARE(preview({u"--scan"_s, path(u"new.csv"_s)}).status, 0);
    QCOMPARE(preview({u"--log"_s, path(u"client.log"_s), path(u"new.csv"_s)}).status, 0);
    QCOMPARE(QDir(m_home->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             (QStringList{u"client.log"_s, u"new.csv"_s}));
    QCOMPARE(PrivateHome::read(path(u"client.log"_s)), sampleLog);
    QCOMPARE(QFileInfo(path(u"new.csv"_s)).lastModified(), before);
}

QTEST_GUILESS_MAIN(TestPreview)
#include "tst_preview.moc"
