#include "cases.h"
#include "child.h"
#include "companion/fleet/forecast.h"
#include "console.h"
#include "sampledata.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QLocale>
#include <QTemporaryDir>
#include <QTextStream>

#include <ctime>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

// Sizes as fleets have them.
constexpr int machineCount = 10'000;
constexpr int applicationsEach = 200;
constexpr int applicationCount = 3'000; ///< in the whole fleet
constexpr int entryCount = 1'000;
constexpr int changedEntries = 20;

QByteArray catalogue(int changed)
{
    QByteArray text = "Name,Version,Release date,Filename,Ignored\n";
    for (int i = 0; i < entryCount; ++i) {
        const QByteArray version = i % (entryCount / changedEntries) == 0 && i / 50 < changed
                                       ? "9.0.1"
                                       : "2." + QByteArray::number(i % 20) + ".4";
        text += entryName(i).toUtf8() + ',' + version + ",2026-03-01,file.zip,0\n";
    }
    return text;
}

/// A line of osquery's results log, as long as real ones are.
QByteArray machineLine(int machine)
{
    QByteArray line = "{\"snapshot\":[";
    for (int i = 0; i < applicationsEach; ++i) {
        const int application = (machine * 7 + i * 15) % applicationCount;
        const QByteArray name = entryName(application).toUtf8();
        line += i == 0 ? "" : ",";
        line += "{\"bundle_identifier\":\"org.example.fleet.application" +
                QByteArray::number(application) + "\",\"bundle_short_version\":\"2." +
                QByteArray::number((application + machine) % 20) +
                ".4\",\"category\":\"public.app-category.utilities\",\"path\":\"/Applications/" +
                name + ".app\"}";
    }
    return line + "],\"action\":\"snapshot\",\"name\":\"applications\",\"hostIdentifier\":\"mac-" +
           QByteArray::number(machine) + ".example.org\",\"unixTime\":1772359200,\"epoch\":0}\n";
}

/// The files of a fleet, made once for all cases that are prepared at the same time.
class FleetFolder
{
public:
    explicit FleetFolder(int machines) : m_machines(machines)
    {
        write(u"old.csv"_s, catalogue(0));
        write(u"new.csv"_s, catalogue(changedEntries));
        write(u"one.csv"_s, catalogue(1));
        QFile fleet(path(u"fleet.log"_s));
        if (!fleet.open(QIODevice::WriteOnly)) {
            fail(u"cannot write the fleet"_s);
        }
        for (int machine = 0; machine < machines; ++machine) {
            fleet.write(machineLine(machine));
        }
    }

    [[nodiscard]] QString path(const QString& name) const { return m_folder.filePath(name); }

    /// Makes the forecast of the catalogue @p name.
    void forecast(const QString& name, const QStringList& options = {}) const
    {
        const QStringList arguments = {u"forecast"_s,      path(name),      u"--published"_s,
                                       path(u"old.csv"_s), u"--machines"_s, path(u"fleet.log"_s)};
        QString said;
        QString wrong;
        QTextStream out(&said);
        QTextStream err(&wrong);
        if (runForecast(arguments + options, out, err) != 0 ||
            !said.startsWith(QLocale(QLocale::English).toString(m_machines) + " machines"_L1)) {
            fail("the forecast fails: "_L1 + wrong +
                 said.first(std::min<qsizetype>(100, said.size())));
        }
    }

private:
    void write(const QString& name, const QByteArray& content) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
            fail("cannot write "_L1 + name);
        }
    }

    QTemporaryDir m_folder;
    int m_machines;
};

/// The processor time that @p action takes in all threads.
double processorSeconds(const std::function<void()>& action)
{
    const std::clock_t begin = std::clock();
    action();
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

/// The bare reading: each line by the document reader, nothing taken from it.
void readDocuments(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        fail("cannot read "_L1 + path);
    }
    int machines = 0;
    while (!file.atEnd()) {
        machines += QJsonDocument::fromJson(file.readLine()).isObject() ? 1 : 0;
    }
    if (machines != machineCount) {
        fail(u"the documents are not read"_s);
    }
}

Benchmark processorTime()
{
    const auto fleet = std::make_shared<FleetFolder>(machineCount);
    Benchmark benchmark;
    benchmark.what =
        u"processor time of a forecast for 10,000 machines / of QJsonDocument for each line"_s;
    benchmark.rounds = 5;
    benchmark.must = 1.3;
    benchmark.aim = 1.1;
    benchmark.ours = [fleet] { return processorSeconds([&] { fleet->forecast(u"new.csv"_s); }); };
    benchmark.reference = [fleet] {
        return processorSeconds([&] { readDocuments(fleet->path(u"fleet.log"_s)); });
    };
    return benchmark;
}

Benchmark twoThreads()
{
    const auto fleet = std::make_shared<FleetFolder>(machineCount);
    const auto seconds = [fleet](const QString& threads) {
        return secondsOf([&] { fleet->forecast(u"new.csv"_s, {u"--threads"_s, threads}); });
    };
    Benchmark benchmark;
    benchmark.what = u"a forecast for 10,000 machines in two threads / in one"_s;
    benchmark.rounds = 5;
    benchmark.must = 0.6;
    benchmark.aim = 0.53;
    benchmark.ours = [seconds] { return seconds(u"2"_s); };
    benchmark.reference = [seconds] { return seconds(u"1"_s); };
    return benchmark;
}

Benchmark tenfold()
{
    const auto large = std::make_shared<FleetFolder>(10 * machineCount);
    const auto small = std::make_shared<FleetFolder>(machineCount);
    Benchmark benchmark;
    benchmark.what = u"a forecast for 100,000 machines / for 10,000"_s;
    benchmark.rounds = 3;
    benchmark.must = 10.5;
    benchmark.aim = 10.1;
    benchmark.ours = [large] { return processorSeconds([&] { large->forecast(u"new.csv"_s); }); };
    benchmark.reference = [small] {
        return processorSeconds([&] { small->forecast(u"new.csv"_s); });
    };
    return benchmark;
}

Benchmark oneEntry()
{
    const auto fleet = std::make_shared<FleetFolder>(machineCount);
    Benchmark benchmark;
    benchmark.what = u"a forecast with one changed entry / with all of 1,000 judged"_s;
    benchmark.rounds = 5;
    benchmark.must = 0.7;
    benchmark.aim = 0.6;
    benchmark.ours = [fleet] { return processorSeconds([&] { fleet->forecast(u"one.csv"_s); }); };
    benchmark.reference = [fleet] {
        return processorSeconds([&] { fleet->forecast(u"one.csv"_s, {u"--all"_s}); });
    };
    return benchmark;
}

Benchmark memory()
{
    const auto fleet = std::make_shared<FleetFolder>(machineCount);
    Benchmark benchmark;
    benchmark.what = u"peak memory of a forecast for 10,000 machines / 1 MB"_s;
    benchmark.rounds = 3;
    benchmark.must = 48;
    benchmark.aim = 24;
    benchmark.ours = [fleet] {
        return outputOf(QCoreApplication::applicationDirPath() + "/quillmere_forecast_memory"_L1,
                        {fleet->path(u"new.csv"_s), fleet->path(u"old.csv"_s),
                         fleet->path(u"fleet.log"_s)})
            .toDouble();
    };
    benchmark.reference = [] { return 1'000'000.0; };
    return benchmark;
}

} // namespace

QList<BenchmarkCase> fleetCases()
{
    return {{u"forecast"_s, processorTime},
            {u"forecast-threads"_s, twoThreads},
            {u"forecast-growth"_s, tenfold},
            {u"forecast-one"_s, oneEntry},
            {u"forecast-memory"_s, memory}};
}
