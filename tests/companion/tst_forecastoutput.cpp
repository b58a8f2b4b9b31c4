#include "companion/fleet/forecast.h"

#include "commandrun.h"
#include "companion/fleet/forecastprogress.h"
#include "fleetsample.h"
#include "randomcatalogues.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
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
    void partsOfOtherCataloguesAreRefused();
    void limitsDecideTheStatus_data();
    void limitsDecideTheStatus();
    void anonymousNamesNobody();
    void keyGivesTheSameHashesAgain();
    void progressTellsWhatIsLeft_data();
    void progressTellsWhatIsLeft();

private:
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

void TestForecastOutput::anonymousNamesNobody()
{
    m_fleet->write(u"folder/dora-mac.log"_s, "2026-09-21T14:05:01 [INFO] Quillmere START\n");
    m_fleet->write(u"folder/emil-mac.json"_s, "[{\"path\":\"/\",\"bundle_short_version\":\"1\"}]");
    m_fleet->write(u"folder/fleet.log"_s, m_lines.join());
    m_fleet->write(u"folder/gina-mac.txt"_s, "No inventory.\n");
    m_place = m_fleet->path() + "/folder"_L1;
    for (const QStringList& options :
         {QStringList{u"--json"_s}, QStringList{u"--list"_s, u"Schist"_s}}) {
        const CommandRun named = forecast(options);
        const CommandRun run = forecast(options + QStringList{u"--anonymous"_s});
        QVERIFY(named.out.contains(u"-mac"_s) && named.err.contains(u"-mac"_s));
        QVERIFY2(!run.out.contains(u"-mac"_s), qUtf8Printable(run.out));
        QVERIFY2(!run.err.contains(u"-mac"_s), qUtf8Printable(run.err));
        QCOMPARE(lines(run.out).size(), lines(named.out).size());
    }
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
