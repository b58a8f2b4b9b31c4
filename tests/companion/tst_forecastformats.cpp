#include "companion/fleet/forecast.h"

#include "commandrun.h"
#include "fleetsample.h"
#include "randomcatalogues.h"
#include "recordedforms.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// Each sample is of a machine with Synth 1.0 and Schist 2 below /Applications, and with what the
// client does not list.

const QByteArray systemProfilerJson = R"({
  "SPApplicationsDataType" : [
    { "_name" : "Synth", "arch_kind" : "arch_arm_i64", "info" : "Synth 1.0, Copyright",
      "obtained_from" : "identified_developer", "path" : "/Applications/Synth.app",
      "signed_by" : [ "Developer ID Application: Somebody" ], "version" : "1.0" },
    { "_name" : "Synth", "path" : "/Users/anna/Synth.app", "version" : "7.0" },
    { "_name" : "No Version", "path" : "/Applications/Gneiss Helper.app" },
    { "_name" : "Schist", "path" : "/Applications/Schist.app", "version" : "2" }
  ]
})";

const QByteArray systemProfilerXml = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<array>
  <dict>
    <key>_SPCompletionInterval</key><real>1.5</real>
    <key>_dataType</key><string>SPApplicationsDataType</string>
    <key>_items</key>
    <array>
      <dict>
        <key>_name</key><string>Synth</string>
        <key>has64BitIntelCode</key><true/>
        <key>lastModified</key><date>2026-03-01T10:00:00Z</date>
        <key>path</key><string>/Applications/Synth.app</string>
        <key>signed_by</key><array><string>Somebody</string></array>
        <key>version</key><string>1.0</string>
      </dict>
      <dict>
        <key>_name</key><string>Synth</string>
        <key>path</key><string>/System/Applications/Synth.app</string>
        <key>version</key><string>7.0</string>
      </dict>
      <dict>
        <key>_name</key><string>Schist</string>
        <key>path</key><string>/Applications/Schist.app</string>
        <key>version</key><string>2</string>
      </dict>
    </array>
  </dict>
</array>
</plist>
)";

const QByteArray munki = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<array>
  <dict>
    <key>CFBundleName</key><string>Synth</string>
    <key>bundleid</key><string>org.example.synth</string>
    <key>name</key><string>Synth</string>
    <key>path</key><string>/Applications/Synth.app</string>
    <key>version</key><string>1.0</string>
  </dict>
  <dict>
    <key>CFBundleName</key><string>Schist</string>
    <key>bundleid</key><string>org.example.schist</string>
    <key>name</key><string>Schist</string>
    <key>path</key><string>/Applications/Schist.app</string>
    <key>version</key><string>2</string>
  </dict>
</array>
</plist>
)";

QByteArray jamfComputer(const QByteArray& name, const QByteArray& date, const QByteArray& synth)
{
    return R"({"id":"1","udid":"0-1","general":{"name":")" + name +
           R"(","lastIpAddress":"192.0.2.1","reportDate":")" + date +
           R"("},"userAndLocation":{"email":"anna@example.org"},"applications":[)"
           R"({"name":"Synth.app","path":"/Applications/Synth.app",)" +
           synth +
           R"(,"macAppStore":false,"sizeMegabytes":5,"bundleId":"org.example.synth"},)"
           R"({"name":"Schist.app","path":"/Applications/Schist.app","version":"2",)"
           R"("cfBundleShortVersionString":"2","bundleId":"org.example.schist"}]})";
}

const QByteArray jamfExact = R"({"totalCount":1,"results":[)" +
                             jamfComputer("mac", "2026-03-01T10:00:00Z",
                                          R"("version":"9.9","cfBundleShortVersionString":"1.0")") +
                             "]}";
const QByteArray jamfReported = R"({"totalCount":1,"results":[)" +
                                jamfComputer("mac", "2026-03-01T10:00:00Z", R"("version":"1.0")") +
                                "]}";

const QByteArray fleet = R"({"count":4,"software":[
  {"id":1,"name":"Synth.app","source":"apps","status":null,"installed_versions":[
    {"version":"1.0","bundle_identifier":"org.example.synth","last_opened_at":null,
     "vulnerabilities":["CVE-1"],"installed_paths":["/Applications/Synth.app"]}]},
  {"id":2,"name":"Synth","source":"homebrew_packages","installed_versions":[
    {"version":"7","installed_paths":["/Applications/Synth.app"]}]},
  {"id":3,"name":"Gneiss","source":"apps","installed_versions":null},
  {"id":4,"name":"Schist.app","source":"apps","installed_versions":[
    {"version":"2","bundle_identifier":"org.example.schist",
     "installed_paths":["/Applications/Schist.app"]}]}],
  "meta":{"has_next_results":false}})";

const QByteArray intune =
    "\xEF\xBB\xBF"
    "ApplicationKey,ApplicationName,ApplicationPublisher,ApplicationShortVersion,"
    "ApplicationVersion,DeviceId,DeviceName,OSDescription,OSVersion,Platform,UserId,EmailAddress,"
    "UserName\r\n"
    "1,Synth,,1.0,1.0.77,d1,mac,macOS,15.1,MacMDM,u1,anna@example.org,Anna\r\n"
    "2,\"Schist\",,2,2,d1,mac,macOS,15.1,MacMDM,u1,anna@example.org,Anna\r\n"
    "1,Synth,,1.0,1.0,d2,pc,Windows,11,Windows,u1,anna@example.org,Anna\r\n";

const QByteArray installedApplicationList = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
  <key>CommandUUID</key><string>0-1</string>
  <key>InstalledApplicationList</key>
  <array>
    <dict>
      <key>BundleSize</key><integer>5</integer>
      <key>Identifier</key><string>org.example.synth</string>
      <key>Name</key><string>Synth</string>
      <key>ShortVersion</key><string>1.0</string>
      <key>Version</key><string>77</string>
    </dict>
    <dict>
      <key>Name</key><string>Schist.app</string>
      <key>ShortVersion</key><string>2</string>
    </dict>
  </array>
  <key>Status</key><string>Acknowledged</string>
  <key>UDID</key><string>0-2</string>
</dict>
</plist>
)";

const QString asReported =
    u"Versions as reported, which may be another of the bundle's, on 1 of 1 machines\n"_s;
const QString assumed =
    u"Place and folder name assumed, as no path is recorded, on 1 of 1 machines\n"_s;

} // namespace

/// `forecast` on inventories of management systems.
class TestForecastFormats : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { silenceClientLog(); }
    void init();

    void everyFormatTellsTheMachine_data();
    void everyFormatTellsTheMachine();
    void cutFileIsDamaged_data();
    void cutFileIsDamaged();
    void newestOfPagedComputersCounts();
    void everyCutIsNoticed_data();
    void everyCutIsNoticed();
    void tableThatEndsWithinARowIsDamaged();
    void rowsWithoutAMachineAreDamaged();
    void cutPageCostsItsLastComputer();
    void formatCanBeTold();
    void addressesOfPeopleAreNeverWritten();
    void binaryPropertyListIsRefused();

private:
    [[nodiscard]] CommandRun forecast(const QStringList& options) const;

    std::unique_ptr<FleetSample> m_fleet;
};

void TestForecastFormats::init()
{
    m_fleet = std::make_unique<FleetSample>();
    m_fleet->write(u"old.csv"_s, FleetSample::catalogue({"Synth,1.0", "Schist,3"}));
    m_fleet->write(u"new.csv"_s, FleetSample::catalogue({"Synth,2.0", "Schist,2"}));
}

CommandRun TestForecastFormats::forecast(const QStringList& options) const
{
    return run(runForecast, QStringList{u"forecast"_s, m_fleet->path() + "/new.csv"_L1,
                                        u"--published"_s, m_fleet->path() + "/old.csv"_L1} +
                                options);
}

void TestForecastFormats::everyFormatTellsTheMachine_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("remark");

    QTest::newRow("system_profiler JSON") << systemProfilerJson << asReported;
    QTest::newRow("system_profiler XML") << systemProfilerXml << asReported;
    QTest::newRow("Munki") << munki << asReported;
    QTest::newRow("Jamf Pro with short versions") << jamfExact << QString();
    QTest::newRow("Jamf Pro") << jamfReported << asReported;
    QTest::newRow("Fleet") << fleet << asReported;
    QTest::newRow("Intune") << intune << assumed;
    QTest::newRow("InstalledApplicationList") << installedApplicationList << assumed;
}

void TestForecastFormats::everyFormatTellsTheMachine()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, remark);
    const CommandRun run =
        forecast({u"--machines"_s, m_fleet->write(u"mac.txt"_s, content), u"--list"_s, u"Synth"_s});
    QCOMPARE(run.err, QString());
    QCOMPARE(run.out,
             u"mac: up to date -> update available (Synth: application 'Synth', installed 1.0%1)\n"
             "1 machine, 1 touched; 2 entries differ\n"
             "\n"
             "Entry        Before            After             Machines\n"
             "Synth        up to date        update available  1\n"
             "Schist       update available  up to date        1\n"
             "All entries  update available  up to date        1\n"
             "All entries  up to date        update available  1\n"
             "\n"
             "Going back: once users have updated, publishing the old catalogue again turns 1 row "
             "newer\n"
             "Traffic: at most 1 download\n"
             "%2"_s.arg(remark == assumed ? u", assumed"_s : QString(), remark));
}

void TestForecastFormats::cutFileIsDamaged_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("system_profiler JSON") << systemProfilerJson;
    QTest::newRow("system_profiler XML") << systemProfilerXml;
    QTest::newRow("Munki") << munki;
    QTest::newRow("Jamf Pro") << jamfExact;
    QTest::newRow("Fleet") << fleet;
    QTest::newRow("Intune") << intune.first(intune.indexOf("\"Schist\"") + 4);
    QTest::newRow("InstalledApplicationList") << installedApplicationList;
}

void TestForecastFormats::cutFileIsDamaged()
{
    QFETCH(QByteArray, content);
    if (!content.startsWith("\xEF\xBB\xBF")) {
        content.truncate(content.size() * 3 / 4);
    }
    const QString good =
        m_fleet->write(u"good.log"_s, FleetSample::snapshot(u"good"_s, {u"Synth 1.0"_s}));
    const QString cut = m_fleet->write(u"mac.txt"_s, content);
    const CommandRun run = forecast({u"--machines"_s, good, u"--machines"_s, cut});
    QCOMPARE(run.out.section(u';', 0, 0), u"1 machine, 1 touched"_s);
    QVERIFY2(run.out.contains(u"Unknown: 1 of 2 machines, the record is damaged\n"_s),
             qUtf8Printable(run.out));
    QVERIFY2(run.err.contains(u"mac"_s) && run.err.endsWith(u": the record is damaged\n"_s),
             qUtf8Printable(run.err));
}

void TestForecastFormats::newestOfPagedComputersCounts()
{
    const QByteArray older =
        jamfComputer("mac", "2026-02-01T10:00:00.000Z", R"("cfBundleShortVersionString":"0.1")");
    const QByteArray newer =
        jamfComputer("mac", "2026-03-01T10:00:00.000Z", R"("cfBundleShortVersionString":"1.0")");
    const QByteArray other =
        jamfComputer("other", "2026-03-01T10:00:00.000Z", R"("cfBundleShortVersionString":"2.0")");
    m_fleet->write(u"pages/1.json"_s,
                   R"({"totalCount":3,"results":[)" + newer + ',' + other + "]}");
    m_fleet->write(u"pages/2.json"_s, R"({"totalCount":3,"results":[)" + older + "]}");
    const CommandRun run =
        forecast({u"--machines"_s, m_fleet->path() + "/pages"_L1, u"--list"_s, u"Synth"_s});
    QCOMPARE(run.err, QString());
    QCOMPARE(run.out.section(u'\n', 0, 2),
             u"mac: up to date -> update available (Synth: application 'Synth', installed 1.0)\n"
             "other: newer than the catalogue -> up to date (Synth: application 'Synth', installed "
             "2.0)\n"
             "2 machines, 2 touched; 2 entries differ"_s);
}

void TestForecastFormats::everyCutIsNoticed_data()
{
    QTest::addColumn<QByteArray>("content");

    // A table can be cut such that nobody can tell, and so can what is told line by line.
    const QStringList open = {u"csv"_s, u"intune"_s, u"changes"_s};
    for (const RecordedForm& form :
         recordedForms(u"mac"_s, {{u"/Applications/Synth.app"_s, u"1.0"_s, u"org.example"_s},
                                  {u"/Applications/Schist.app"_s, u"2"_s, u"org.example"_s}})) {
        if (!open.contains(form.name)) {
            QTest::newRow(qPrintable(form.name)) << form.content;
        }
    }
}

void TestForecastFormats::everyCutIsNoticed()
{
    QFETCH(QByteArray, content);
    const QString good =
        m_fleet->write(u"good.log"_s, FleetSample::snapshot(u"good"_s, {u"Synth 1.0"_s}));
    const QStringList places = {u"--machines"_s, good, u"--machines"_s,
                                m_fleet->write(u"mac.txt"_s, content)};
    QCOMPARE(forecast(places).out.section(u',', 0, 0), u"2 machines"_s);
    // As much as the format is known by; less is no inventory.
    const qsizetype known = content.indexOf("Synth.app");
    for (qsizetype size = content.trimmed().size() - 1; size > known; size -= 13) {
        m_fleet->write(u"mac.txt"_s, content.first(size));
        const CommandRun run = forecast(places);
        if (!run.err.contains(u"no inventory of a known format"_s)) {
            // A page can be cut behind its machine, or before its name: then the page is told.
            const bool isOfPage = run.err.contains("mac.txt: "_L1);
            QVERIFY(isOfPage || run.out.startsWith("1 machine,"_L1));
            QVERIFY2(run.err.contains(u"mac"_s) && run.err.endsWith(u": the record is damaged\n"_s),
                     qUtf8Printable(run.err));
        }
    }
}

void TestForecastFormats::tableThatEndsWithinARowIsDamaged()
{
    const QByteArray table = "Mac,Path,Version\n"
                             "a,/Applications/Synth.app,1.0\n"
                             "b,/Applications/Synth.app,1.0\n"
                             "b,/Applications/Sch";
    const QStringList options = {u"--columns"_s, u"machine=Mac,path=Path,version=Version"_s,
                                 u"--machines"_s, m_fleet->write(u"fleet.csv"_s, table)};
    const CommandRun run = forecast(options);
    QCOMPARE(run.out.section(u';', 0, 0), u"1 machine, 1 touched"_s);
    QCOMPARE(run.err, u"b: the record is damaged\n"_s);
    const QString place = m_fleet->write(u"fleet.csv"_s, table.first(24));
    QCOMPARE(forecast(options).err, place + ": the record is damaged\n"_L1);
    m_fleet->write(u"fleet.csv"_s, "Mac,Version\n");
    QCOMPARE(forecast(options).err,
             u"quillmere-catalogue forecast: %1: no column 'Path'\n"_s.arg(place));
}

void TestForecastFormats::rowsWithoutAMachineAreDamaged()
{
    const QByteArray table = "Mac,Path,Version\n"
                             ",/Applications/Synth.app,1.0\n"
                             "a,/Applications/Synth.app,1.0\n"
                             ",/Applications/Synth.app,1.0\n"
                             "b,/Applications/Synth.app,1.0\n";
    const QString place = m_fleet->write(u"fleet.csv"_s, table);
    const QStringList options = {u"--columns"_s, u"machine=Mac,path=Path,version=Version"_s,
                                 u"--machines"_s, place};
    const CommandRun run = forecast(options);
    QCOMPARE(run.out.section(u';', 0, 0), u"2 machines, 2 touched"_s);
    QCOMPARE(run.err, place + ": the record is damaged\n"_L1);
    m_fleet->write(u"fleet.csv"_s, table.first(45) + ",/Appl");
    QCOMPARE(forecast(options).err, place + ": the record is damaged\n"_L1);
}

void TestForecastFormats::cutPageCostsItsLastComputer()
{
    const QByteArray page = R"({"totalCount":2,"results":[)" +
                            jamfComputer("a", "2026-03-01T10:00:00Z", R"("version":"1.0")") + ',' +
                            jamfComputer("b", "2026-03-01T10:00:00Z", R"("version":"1.0")");
    const QString place = m_fleet->write(u"page.json"_s, page.chopped(20));
    const CommandRun run = forecast({u"--machines"_s, place});
    QCOMPARE(run.out.section(u';', 0, 0), u"1 machine, 1 touched"_s);
    QCOMPARE(run.err, u"b: the record is damaged\n"_s);
}

void TestForecastFormats::formatCanBeTold()
{
    // Without a key that only Munki writes.
    QByteArray list = munki;
    list.replace("bundleid", "bundle");
    const QString place = m_fleet->write(u"mac.plist"_s, list);
    QCOMPARE(forecast({u"--machines"_s, place}).status, 2);
    const CommandRun run = forecast({u"--machines"_s, place, u"--format"_s, u"munki"_s});
    QCOMPARE(run.out.section(u';', 0, 0), u"1 machine, 1 touched"_s);
}

void TestForecastFormats::addressesOfPeopleAreNeverWritten()
{
    m_fleet->write(u"fleet/a.csv"_s, intune);
    m_fleet->write(u"fleet/b.json"_s, jamfExact);
    m_fleet->write(u"fleet/c.csv"_s,
                   QByteArray(intune).replace(",mac,", ",other,").chopped(3) + "\"");
    for (const QString& output : {u"--json"_s, u"--csv"_s, u"--list=Synth"_s}) {
        const CommandRun run = forecast({u"--machines"_s, m_fleet->path() + "/fleet"_L1, output});
        QVERIFY(run.out.contains(u"Synth"_s));
        QVERIFY2(!(run.out + run.err).contains(u"anna"_s, Qt::CaseInsensitive),
                 qUtf8Printable(run.out + run.err));
        QVERIFY2(!(run.out + run.err).contains(u"192.0.2"_s), qUtf8Printable(run.out));
    }
}

void TestForecastFormats::binaryPropertyListIsRefused()
{
    const QString place = m_fleet->write(u"mac.plist"_s, "bplist00\xd1\x01");
    QCOMPARE(forecast({u"--machines"_s, place}).err,
             u"quillmere-catalogue forecast: %1: a binary property list; write it as XML by "
             "`plutil -convert xml1`\n"_s.arg(place));
}

QTEST_GUILESS_MAIN(TestForecastFormats)
#include "tst_forecastformats.moc"
