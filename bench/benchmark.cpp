#include "benchmark.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSysInfo>
#include <QThread>
#include <QtMath>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

/// What was measured, on which machine and when.
QByteArray document(const QString& key, const QJsonArray& content)
{
    return QJsonDocument(QJsonObject{{u"date"_s, QDate::currentDate().toString(Qt::ISODate)},
                                     {u"system"_s, QSysInfo::prettyProductName()},
                                     {u"processor"_s, QSysInfo::currentCpuArchitecture()},
                                     {u"cores"_s, QThread::idealThreadCount()},
                                     {u"qt"_s, QString::fromLatin1(qVersion())},
                                     {key, content}})
        .toJson();
}

} // namespace

double quantile(QList<double> values, double share)
{
    std::sort(values.begin(), values.end());
    const double place = share * double(values.size() - 1);
    const auto below = qsizetype(qFloor(place));
    const qsizetype above = std::min(below + 1, values.size() - 1);
    return values[below] + (place - double(below)) * (values[above] - values[below]);
}

BenchmarkResult run(const BenchmarkCase& benchmarkCase, std::optional<int> rounds)
{
    const Benchmark benchmark = benchmarkCase.prepare();
    benchmark.compare();
    const int count = rounds.value_or(benchmark.rounds);
    QList<double> ours;
    QList<double> reference;
    QList<double> ratios;
    for (int round = 0; round < count; ++round) {
        if (round % 2 == 0) {
            ours.append(benchmark.ours());
            reference.append(benchmark.reference());
        } else {
            reference.append(benchmark.reference());
            ours.append(benchmark.ours());
        }
        ratios.append(ours.constLast() / reference.constLast());
    }
    return {benchmarkCase.id,       benchmark.what,           count,
            quantile(ours, 0.5),    quantile(reference, 0.5), quantile(ratios, 0.5),
            quantile(ratios, 0.25), quantile(ratios, 0.75),   benchmark.must,
            benchmark.aim};
}

QString describe(const BenchmarkResult& result)
{
    const QString verdict = !result.holds()              ? u"MISSED"_s
                            : result.ratio <= result.aim ? u"holds, aim reached"_s
                                                         : u"holds"_s;
    return u"%1 ours %2  reference %3  ratio %4 (%5 to %6)  must %7  aim %8  %9"_s.arg(
        result.id.leftJustified(16), QString::number(result.ours, 'g', 4).leftJustified(9),
        QString::number(result.reference, 'g', 4).leftJustified(9),
        QString::number(result.ratio, 'f', 3), QString::number(result.lowerQuartile, 'f', 3),
        QString::number(result.upperQuartile, 'f', 3), QString::number(result.must),
        QString::number(result.aim), verdict);
}

QByteArray toJson(const QList<BenchmarkResult>& results)
{
    QJsonArray cases;
    for (const BenchmarkResult& result : results) {
        cases.append(QJsonObject{{u"id"_s, result.id},
                                 {u"what"_s, result.what},
                                 {u"rounds"_s, result.rounds},
                                 {u"ours"_s, result.ours},
                                 {u"reference"_s, result.reference},
                                 {u"ratio"_s, result.ratio},
                                 {u"lowerQuartile"_s, result.lowerQuartile},
                                 {u"upperQuartile"_s, result.upperQuartile},
                                 {u"must"_s, result.must},
                                 {u"aim"_s, result.aim}});
    }
    return document(u"cases"_s, cases);
}

QByteArray toJson(const QList<Growth>& growths)
{
    QJsonArray workloads;
    for (const Growth& growth : growths) {
        QJsonArray seconds;
        for (const auto& [size, time] : growth.seconds) {
            seconds.append(QJsonArray{size, time});
        }
        workloads.append(
            QJsonObject{{u"id"_s, growth.id}, {u"unit"_s, growth.unit}, {u"seconds"_s, seconds}});
    }
    return document(u"workloads"_s, workloads);
}

double secondsOf(const std::function<void()>& action)
{
    QElapsedTimer timer;
    timer.start();
    action();
    return double(timer.nsecsElapsed()) / 1e9;
}
