#include "app/debug.h"
#include "cases.h"
#include "cataloguecheck.h"
#include "console.h"
#include "installers.h"
#include "samplehome.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <QHash>
#include <QTextStream>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

template <typename T>
QList<T> joined(const QList<QList<T>>& lists)
{
    QList<T> all;
    for (const QList<T>& list : lists) {
        all += list;
    }
    return all;
}

QList<BenchmarkCase> allCases()
{
    return joined<BenchmarkCase>({tableCases(),
                                  catalogueCases(),
                                  inventoryCases(),
                                  downloadCases(),
                                  startCases(),
                                  wholeCases(),
                                  logCases(),
                                  companionCases(),
                                  fleetCases(),
                                  {{u"check"_s, catalogueCheck},
                                   {u"check-shuffled"_s, shuffledCatalogueCheck},
                                   {u"package"_s, packageContents},
                                   {u"installers"_s, installerCheck}}});
}

QList<Workload> allWorkloads()
{
    return joined<Workload>(
        {tableWorkloads(), catalogueWorkloads(), inventoryWorkloads(), logWorkloads()});
}

/// What this program does as its own child. They work in the parent's home.
bool actAsChild(const QStringList& arguments)
{
    const QHash<QString, std::function<void()>> actions = {
        {u"--catalogue-memory"_s, measureCatalogueMemory},
        {u"--check-memory"_s, measureCheckMemory},
        {u"--download-memory"_s, measureDownloadMemory},
        {u"--start-own"_s, startOwnWindow},
        {u"--start-bare"_s, startBareWindow},
    };
    const auto action = actions.constFind(arguments.value(1));
    if (action == actions.cend()) {
        return false;
    }
    (*action)();
    return true;
}

/// Does one workload once, for a profiler to look at.
int doWorkload(const QString& id, int size)
{
    for (const Workload& workload : allWorkloads()) {
        if (workload.id == id && size > 0) {
            const std::function<void()> work = workload.prepare(size);
            QTextStream(stdout) << id << ' ' << size << ' ' << workload.unit
                                << "s: " << secondsOf(work) << " s" << Qt::endl;
            return 0;
        }
    }
    fail("no such workload, or no size: "_L1 + id);
}

/// How each workload's cost grows: the medians of three runs in every size.
QList<Growth> measureGrowth()
{
    QList<Growth> growths;
    for (const Workload& workload : allWorkloads()) {
        Growth growth{workload.id, workload.unit, {}};
        for (const int size : workload.sizes) {
            QList<double> seconds;
            for (int round = 0; round < 3; ++round) {
                seconds.append(secondsOf(workload.prepare(size)));
            }
            growth.seconds.append({size, quantile(seconds, 0.5)});
            QTextStream(stdout) << workload.id.leftJustified(16) << size << ' ' << workload.unit
                                << "s: " << growth.seconds.constLast().second << " s" << Qt::endl;
        }
        growths.append(growth);
    }
    return growths;
}

void writeJson(const QString& path, const QByteArray& json)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size()) {
        fail("cannot write "_L1 + path);
    }
}

/// Measures all cases, or the wanted ones, but the unwanted; whether every bound holds.
bool measure(const QStringList& wanted, const QStringList& unwanted, std::optional<int> rounds,
             const QString& jsonPath)
{
    QList<BenchmarkResult> results;
    for (const BenchmarkCase& benchmarkCase : allCases()) {
        if ((wanted.isEmpty() || wanted.contains(benchmarkCase.id)) &&
            !unwanted.contains(benchmarkCase.id)) {
            results.append(run(benchmarkCase, rounds));
            QTextStream(stdout) << describe(results.constLast()) << Qt::endl;
        }
    }
    if (results.isEmpty()) {
        fail("no such case: "_L1 + wanted.join(u' '));
    }
    if (!jsonPath.isEmpty()) {
        writeJson(jsonPath, toJson(results));
    }
    const auto missed = std::count_if(results.cbegin(), results.cend(),
                                      [](const BenchmarkResult& r) { return !r.holds(); });
    QTextStream(stdout) << results.size() - missed << " of " << results.size() << " bounds hold"
                        << Qt::endl;
    return missed == 0;
}

} // namespace

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    silenceConsole();
    if (actAsChild(QCoreApplication::arguments())) {
        return 0;
    }
    const QCommandLineOption rounds(u"rounds"_s, u"Measures each case this often."_s, u"number"_s);
    const QCommandLineOption without(u"without"_s, u"Leaves this case out."_s, u"case"_s);
    const QCommandLineOption json(u"json"_s, u"Writes the results to this file."_s, u"file"_s);
    const QCommandLineOption workload(
        u"workload"_s, u"Does this piece of work once, in the size given as argument."_s, u"id"_s);
    const QCommandLineOption growth(
        u"growth"_s, u"Measures each piece of work in growing sizes instead; with --json."_s);
    const QCommandLineOption reportOnly(u"report-only"_s,
                                        u"Ends with 0 even where a bound is missed."_s);
    QCommandLineParser parser;
    parser.addOptions({rounds, without, json, workload, growth, reportOnly});
    parser.addHelpOption();
    parser.addPositionalArgument(u"case"_s, u"The cases to measure; all by default."_s,
                                 u"[case...]"_s);
    parser.process(application);

    const SampleHome home;
    Debug::init();
    const QStringList arguments = parser.positionalArguments();
    if (parser.isSet(workload)) {
        return doWorkload(parser.value(workload), arguments.value(0).toInt());
    }
    if (parser.isSet(growth)) {
        writeJson(parser.value(json), toJson(measureGrowth()));
        return 0;
    }
    bool isNumber = true;
    const int count = parser.isSet(rounds) ? parser.value(rounds).toInt(&isNumber) : 0;
    if (!isNumber || (parser.isSet(rounds) && count < 1)) {
        fail("no number of rounds: "_L1 + parser.value(rounds));
    }
    const bool allHold =
        measure(arguments, parser.values(without),
                parser.isSet(rounds) ? std::optional(count) : std::nullopt, parser.value(json));
    return allHold || parser.isSet(reportOnly) ? 0 : 1;
}
