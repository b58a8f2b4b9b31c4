#include "companion/fleet/forecast.h"

#include "commandrun.h"
#include "companion/fleet/forecastprogress.h"
#include "fleetsample.h"
#include "randomcatalogues.h"
#include "recordedforms.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonObject lastLine(const QString& out)
{
    return QJsonDocument::fromJson(out.trimmed().section(u'\n', -1).toUtf8()).object();
}

QStringList lines(const QString& text)
{
    return text.split(u'\n', Qt::SkipEmptyParts);
}

} // namespace

/// What `forecast` prints for scripts, and how it ends.
class TestForecastOutput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { silenceClientLog(); }
    void init();

    void jsonHasALineForEachMachine();
    void csvHasALineForEachTurn();
    void listNamesTheMachines();
    void partsAddUpToTheWhole_data();
    void partsAddUpToTheWhole();
    void anyPartsAddUpToTheWhole();
    void numberOfThreadsChangesNoLine();
    void partsOfOtherCataloguesAreRefused();
    void limitsDecideTheStatus_data();
    void limitsDecideTheStatus();
    void anonymousNamesNobody_data();
    void anonymousNamesNobody();
    void anonymousErrorsNameNobody_data();
    void anonymousErrorsNameNobody();
    void keyGivesTheSameHashesAgain();
    void progressTellsWhatIsLeft_data();
    void progressTellsWhatIsLeft();

private:
    /// Fills the fleet with @p machines random machines, some of them damaged.
    void makeRandomFleet(quint32 seed, int machines);
    [[nodiscard]] CommandRun forecast(const QStringList& options) const;

    std::unique_ptr<FleetSample> m_fleet;
    QStringList m_catalogues;
    QByteArrayList m_lines; ///< of the fleet, a machine each
    QString m_place;
};

void TestForecastOutput::init()
{
    m_fleet = std::make_unique<FleetSample>();
    m_catalogues = {m_fleet->write(u"new.csv"_s, FleetSample::catalogue(
                                                     {"Synth,2.0", "Gneiss,0.5", "Basaltine,5"})),
                    u"--published"_s,
                    m_fleet->write(u"old.csv"_s,
                                   FleetSample::catalogue({"Synth,1.0", "Schist,3", "Gneiss,2"}))};
    m_lines = {FleetSample::snapshot(u"anna-mac"_s, {u"Synth 1.0"_s, u"Schist 2"_s}),
               FleetSample::snapshot(u"bert-mac"_s, {u"Synth 2.5"_s, u"Basaltine 5.1"_s}),
               FleetSample::snapshot(u"carl-mac"_s, {u"Gneiss 2"_s}), "{\"snapshot\":[\n"};
    m_place = m_fleet->write(u"fleet.log"_s, m_lines.join());
}

CommandRun TestForecastOutput::forecast(const QStringList& options) const
{
    return run(runForecast, QStringList{u"forecast"_s} + m_catalogues +
                                QStringList{u"--machines"_s, m_place} + options);
}

void TestForecastOutput::jsonHasALineForEachMachine()
{
    const CommandRun run = forecast({u"--json"_s});
    const QStringList out = lines(run.out);
    QCOMPARE(out.size(), 5);
    QCOMPARE(out[2], u"{\"grade\":\"exact\",\"machine\":\"carl-mac\",\"rows\":["
                     "{\"after\":\"newer\",\"applications\":[\"Gneiss\"],\"before\":\"equal\","
                     "\"changesRow\":false,\"entry\":\"Gneiss\",\"installed\":\"2\"},"
                     "{\"after\":\"not installed\",\"applications\":[],\"before\":\"no row\","
                     "\"changesRow\":false,\"entry\":\"Basaltine\",\"installed\":\"\"},"
                     "{\"after\":\"no row\",\"applications\":[],\"before\":\"not installed\","
                     "\"changesRow\":false,\"entry\":\"Schist\",\"installed\":\"\"}]}"_s);
    QVERIFY2(out[3].contains(u"\"refused\":\"damaged\""_s), qUtf8Printable(out[3]));
    const QJsonObject summary = lastLine(run.out)[u"summary"_s].toObject();
    QCOMPARE(summary[u"machines"_s].toInt(), 3);
    QCOMPARE(summary[u"touched"_s].toInt(), 3);
    QCOMPARE(summary[u"turnedOlder"_s].toInt(), 1);
    QCOMPARE(summary[u"turnedNewer"_s].toInt(), 1);
    QCOMPARE(summary[u"refused"_s][u"damaged"_s].toInt(), 1);
    QCOMPARE(summary[u"entries"_s].toArray().size(), 4);
}

void TestForecastOutput::csvHasALineForEachTurn()
{
    m_catalogues[0] =
        m_fleet->write(u"new.csv"_s, FleetSample::catalogue({"Synth,2.0", "Say \"x\",1"}));
    QCOMPARE(forecast({u"--csv"_s}).out, u"Entry,Before,After,Machines\n"
                                         "Synth,not installed,not installed,1\n"
                                         "Synth,up to date,update available,1\n"
                                         "Synth,newer than the catalogue,newer than the "
                                         "catalogue,1\n"
                                         "\"Say \"\"x\"\"\",no row,not installed,3\n"
                                         "Schist,not installed,no row,2\n"
                                         "Schist,update available,no row,1\n"
                                         "Gneiss,not installed,no row,2\n"
                                         "Gneiss,up to date,no row,1\n"_s);
}

void TestForecastOutput::listNamesTheMachines()
{
    const QStringList out =
        lines(forecast({u"--list"_s, u"Synth"_s, u"--list"_s, u"Schist"_s}).out);
    QCOMPARE(out.first(4).join(u'\n'),
             u"anna-mac: up to date -> update available (Synth: application 'Synth', installed "
             "1.0)\n"
             "anna-mac: update available -> no row (Schist: application 'Schist', installed 2)\n"
             "bert-mac: not installed -> no row (Schist)\n"
             "carl-mac: not installed -> no row (Schist)"_s);
}

void TestForecastOutput::partsAddUpToTheWhole_data()
{
    QTest::addColumn<QList<QList<int>>>("parts");

    QTest::newRow("the whole") << QList<QList<int>>{{0, 1, 2, 3}};
    QTest::newRow("two") << QList<QList<int>>{{0, 1}, {2, 3}};
    QTest::newRow("in another order") << QList<QList<int>>{{2, 0}, {3, 1}};
    QTest::newRow("one machine each") << QList<QList<int>>{{3}, {2}, {1}, {0}};
}

void TestForecastOutput::partsAddUpToTheWhole()
{
    QFETCH(QList<QList<int>>, parts);
    const CommandRun whole = forecast({});
    const QJsonObject summary = lastLine(forecast({u"--json"_s}).out);
    QStringList arguments = {u"forecast"_s, u"--sum"_s};
    for (const QList<int>& part : parts) {
        QByteArray text;
        for (const int line : part) {
            text += m_lines[line];
        }
        const QString number = QString::number(arguments.size());
        m_place = m_fleet->write(u"part"_s + number, text);
        arguments.append(m_fleet->write(
            number + ".json"_L1,
            forecast({u"--json"_s, u"--format"_s, u"osquery-lines"_s}).out.toUtf8()));
    }
    QCOMPARE(run(runForecast, arguments).out, whole.out);
    QCOMPARE(lastLine(run(runForecast, arguments + QStringList{u"--json"_s}).out), summary);
}

void TestForecastOutput::makeRandomFleet(quint32 seed, int machines)
{
    QRandomGenerator random(seed);
    const QStringList names = {u"Synth"_s,        u"Synth Pro"_s, u"Schist"_s,  u"Gneiss"_s,
                               u"Music/Gneiss"_s, u"Basaltine"_s, u"Granite"_s, u"Synth 2"_s};
    const QStringList versions = {u"0.5"_s, u"1.0"_s, u"2"_s, u"3"_s, u"5"_s, u"x"_s};
    m_lines.clear();
    for (int machine = 0; machine < machines; ++machine) {
        QStringList installed;
        for (const QString& name : names) {
            if (random.bounded(2) == 0) {
                installed.append(name + u' ' + versions[random.bounded(int(versions.size()))]);
            }
        }
        const QByteArray line = FleetSample::snapshot(u"mac%1"_s.arg(machine), installed, 1'000);
        m_lines.append(random.bounded(20) == 0 ? line.first(line.size() / 2) + '\n' : line);
    }
    m_place = m_fleet->write(u"fleet.log"_s, m_lines.join());
}

void TestForecastOutput::anyPartsAddUpToTheWhole()
{
    for (quint32 seed = 1; seed <= 5; ++seed) {
        makeRandomFleet(seed, 60);
        const CommandRun whole = forecast({});
        const QJsonObject summary = lastLine(forecast({u"--json"_s}).out);
        QRandomGenerator random(seed);
        QByteArrayList parts(random.bounded(1, 9));
        for (const QByteArray& line : std::as_const(m_lines)) {
            parts[random.bounded(int(parts.size()))] += line;
        }
        parts.removeAll(QByteArray());
        QStringList sum = {u"forecast"_s, u"--sum"_s};
        for (const QByteArray& part : std::as_const(parts)) {
            m_place = m_fleet->write(u"part.log"_s, part);
            const CommandRun run = forecast({u"--json"_s, u"--format"_s, u"osquery-lines"_s});
            // Whether all that was written or its last line is kept makes no difference.
            sum.append(m_fleet->write(
                u"%1.json"_s.arg(sum.size()),
                (random.bounded(2) == 0 ? run.out : lines(run.out).constLast()).toUtf8()));
        }
        QVERIFY2(summary[u"summary"_s][u"touched"_s].toInt() > 30, qUtf8Printable(whole.out));
        QCOMPARE(run(runForecast, sum).out, whole.out);
        QCOMPARE(lastLine(run(runForecast, sum + QStringList{u"--json"_s}).out), summary);
    }
}

void TestForecastOutput::numberOfThreadsChangesNoLine()
{
    makeRandomFleet(77, 3'000);
    for (const QStringList& options :
         {QStringList{u"--json"_s}, QStringList{u"--list"_s, u"Synth"_s},
          QStringList{u"--csv"_s}}) {
        const CommandRun one = forecast(options + QStringList{u"--threads"_s, u"1"_s});
        QVERIFY2(one.err.contains(u"the record is damaged"_s), qUtf8Printable(one.err));
        for (const QString& threads : {u"2"_s, u"8"_s}) {
            QCOMPARE(forecast(options + QStringList{u"--threads"_s, threads}), one);
        }
    }
}

void TestForecastOutput::partsOfOtherCataloguesAreRefused()
{
    const QString first = m_fleet->write(u"1.json"_s, forecast({u"--json"_s}).out.toUtf8());
    m_catalogues[0] = m_fleet->write(u"other.csv"_s, FleetSample::catalogue({"Synth,3.0"}));
    const QString second = m_fleet->write(u"2.json"_s, forecast({u"--json"_s}).out.toUtf8());
    const CommandRun other = run(runForecast, {u"forecast"_s, u"--sum"_s, first, second});
    QCOMPARE(
        other.err,
        u"quillmere-catalogue forecast: %1: is a forecast of other catalogues\n"_s.arg(second));
    QCOMPARE(other.status, 2);
    const CommandRun none = run(runForecast, {u"forecast"_s, u"--sum"_s, m_place});
    QCOMPARE(none.err, u"quillmere-catalogue forecast: %1: does not end with a forecast's "
                       "summary\n"_s.arg(m_place));
    QCOMPARE(none.status, 2);
}

void TestForecastOutput::limitsDecideTheStatus_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("passed");

    const auto row = [](const QString& option, const QString& limit, const QString& passed) {
        QTest::addRow("%s %s", qPrintable(option), qPrintable(limit))
            << QStringList{option, limit} << passed;
    };
    const QString older = u"1 of 4 machines get a row with an update (--max-older)"_s;
    row(u"--max-older"_s, u"0"_s, older);
    row(u"--max-older"_s, u"1"_s, QString());
    row(u"--max-older"_s, u"24.9%"_s, older);
    row(u"--max-older"_s, u"25%"_s, QString());
    row(u"--max-newer"_s, u"0"_s,
        u"1 of 4 machines get a row that is newer than the catalogue (--max-newer)"_s);
    row(u"--max-newer"_s, u"25%"_s, QString());
    row(u"--max-unknown"_s, u"1%"_s,
        u"1 of 4 machines are not or not wholly known (--max-unknown)"_s);
    row(u"--max-unknown"_s, u"1"_s, QString());
    row(u"--removes"_s, u"0"_s, u"1 of 3 entries go (--removes)"_s);
    row(u"--removes"_s, u"34%"_s, QString());
}

void TestForecastOutput::limitsDecideTheStatus()
{
    QFETCH(QStringList, options);
    QFETCH(QString, passed);
    const CommandRun run = forecast(options);
    QCOMPARE(lines(run.err).filter(u"Limit"_s).join(u'\n'),
             passed.isEmpty() ? QString() : "Limit passed: "_L1 + passed);
    QCOMPARE(run.status, passed.isEmpty() ? 0 : 1);
}

void TestForecastOutput::anonymousNamesNobody_data()
{
    QTest::addColumn<QByteArray>("content");

    const QList<RecordedApplication> installed = {
        {u"/Applications/Synth.app"_s, u"1.0"_s, u"org.example.synth"_s},
        {u"/Applications/Schist.app"_s, u"2"_s, u"org.example.schist"_s},
        {u"/Users/olga77/Applications/Synth.app"_s, u"7"_s, u"org.example.synth"_s}};
    for (const RecordedForm& form : recordedForms(u"olga-mac"_s, installed)) {
        QTest::newRow(qPrintable(form.name)) << form.content;
        QTest::addRow("%s, cut", qPrintable(form.name))
            << form.content.first(form.content.size() * 3 / 4);
    }
    QTest::newRow("log") << QByteArray(
        "2026-09-21T14:05:01 [INFO] Quillmere START\n"
        "2026-09-21T14:05:01 [INFO] SysProfiler [find] — 1 apps found\n"
        "2026-09-21T14:05:01 [INFO]   + Synth (/Users/olga77/Synth.app)\n"
        "2026-09-21T14:05:02 [INFO] Profiler - 'Synth' → matched 'Synth' v1.0\n");
    QTest::newRow("no inventory") << QByteArray("Olga Owner's notes\n");
}

void TestForecastOutput::anonymousNamesNobody()
{
    QFETCH(QByteArray, content);
    m_fleet->write(u"folder/olga-mac/ApplicationInventory.plist"_s, content);
    m_fleet->write(u"folder/olga-mac.txt"_s, content);
    m_fleet->write(u"folder/fleet.log"_s, m_lines.join());
    m_place = m_fleet->path() + "/folder"_L1;
    const QString page = m_fleet->path() + "/page.html"_L1;
    const QStringList always = {u"--columns"_s, recordedColumns(), u"--html"_s, page};
    bool wasNamed = false;
    for (const QStringList& output :
         {QStringList{u"--json"_s}, QStringList{u"--csv"_s}, QStringList(),
          QStringList{u"--list"_s, u"Synth"_s, u"--list"_s, u"Schist"_s, u"--list"_s, u"Gneiss"_s},
          QStringList{u"--max-older"_s, u"0"_s}}) {
        const CommandRun named = forecast(always + output);
        wasNamed = wasNamed || (named.out + named.err).contains(u"olga-mac"_s);
        const CommandRun run = forecast(always + output + QStringList{u"--anonymous"_s});
        QFile file(page);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString all = run.out + run.err + QString::fromUtf8(file.readAll());
        for (const QString& text : personalTexts() + QStringList{u"-mac"_s, u"olga"_s}) {
            QVERIFY2(!all.contains(text, Qt::CaseInsensitive), qUtf8Printable(all));
        }
        for (const QString& text : personalTexts()) {
            QVERIFY2(!(named.out + named.err).contains(text), qUtf8Printable(named.out));
        }
        QCOMPARE(lines(run.out).size(), lines(named.out).size());
        QCOMPARE(run.status, named.status);
    }
    QVERIFY(wasNamed);
}

void TestForecastOutput::anonymousErrorsNameNobody_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("reason");

    QTest::newRow("no inventory") << QByteArray("{}\n") << u"no inventory of a known format"_s;
    QTest::newRow("another table") << QByteArray("Device,Path\n") << u"no column 'Version'"_s;
    QTest::newRow("nothing there") << QByteArray() << u"No such file or directory"_s;
}

void TestForecastOutput::anonymousErrorsNameNobody()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, reason);
    m_place = m_fleet->path() + "/olga-mac.csv"_L1;
    if (!content.isEmpty()) {
        m_fleet->write(u"olga-mac.csv"_s, content);
    }
    const QStringList columns = {u"--columns"_s, recordedColumns()};
    QCOMPARE(forecast(columns).err,
             u"quillmere-catalogue forecast: %1: %2\n"_s.arg(m_place, reason));
    const CommandRun run = forecast(columns + QStringList{u"--anonymous"_s});
    static const QRegularExpression expected(u"^quillmere-catalogue forecast: [0-9a-f]{16}: "_s);
    QVERIFY2(expected.match(run.err).hasMatch() && run.err.endsWith(reason + u'\n'),
             qUtf8Printable(run.err));
    QCOMPARE(run.status, 2);
}

void TestForecastOutput::keyGivesTheSameHashesAgain()
{
    const QStringList options = {u"--json"_s, u"--anonymous"_s};
    const QStringList keyed = options + QStringList{u"--key"_s, m_fleet->write(u"key"_s, "secret")};
    QCOMPARE(forecast(keyed).out, forecast(keyed).out);
    QVERIFY(forecast(options).out != forecast(options).out);
    const QString missing = m_fleet->path() + "/none"_L1;
    QCOMPARE(
        forecast(options + QStringList{u"--key"_s, missing}).err,
        u"quillmere-catalogue forecast: --key '%1' is empty or cannot be read\n"_s.arg(missing));
}

void TestForecastOutput::progressTellsWhatIsLeft_data()
{
    QTest::addColumn<qint64>("done");
    QTest::addColumn<qint64>("milliseconds");
    QTest::addColumn<QString>("text");

    QTest::newRow("nothing yet") << qint64(0) << qint64(500) << u"0 %"_s;
    QTest::newRow("seconds") << qint64(250) << qint64(10'000) << u"25 %, 30 s left"_s;
    QTest::newRow("minutes") << qint64(100) << qint64(20'000) << u"10 %, 3 min left"_s;
    QTest::newRow("more than there was") << qint64(2'000) << qint64(9'000) << u"100 %, 0 s left"_s;
}

void TestForecastOutput::progressTellsWhatIsLeft()
{
    QFETCH(qint64, done);
    QFETCH(qint64, milliseconds);
    QFETCH(QString, text);
    QCOMPARE(progressText(done, 1'000, milliseconds), text);
}

QTEST_GUILESS_MAIN(TestForecastOutput)
#include "tst_forecastoutput.moc"
