#include "benchmark.h"

#include <QtMath>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

double quantile(QList<double> values, double share)
{
    std::sort(values.begin(), values.end());
    const double place = share * double(values.size() - 1);
    const auto below = qsizetype(qFloor(place));
    const qsizetype above = std::min(below + 1, values.size() - 1);
    return values[below] + (place - double(below)) * (values[above] - values[below]);
}

BenchmarkResult run(const Benchmark& benchmark)
{
    QList<double> ours;
    QList<double> reference;
    QList<double> ratios;
    for (int round = 0; round < benchmark.rounds; ++round) {
        if (round % 2 == 0) {
            ours.append(benchmark.ours());
            reference.append(benchmark.reference());
        } else {
            reference.append(benchmark.reference());
            ours.append(benchmark.ours());
        }
        ratios.append(ours.constLast() / reference.constLast());
    }
    return {benchmark.id,          quantile(ours, 0.5),    quantile(reference, 0.5),
            quantile(ratios, 0.5), quantile(ratios, 0.25), quantile(ratios, 0.75),
            benchmark.bound};
}

QString describe(const BenchmarkResult& result)
{
    return u"%1 ours %2  reference %3  ratio %4 (%5 to %6)  bound %7  %8"_s.arg(
        result.id.leftJustified(18), QString::number(result.ours, 'g', 4),
        QString::number(result.reference, 'g', 4), QString::number(result.ratio, 'f', 3),
        QString::number(result.lowerQuartile, 'f', 3),
        QString::number(result.upperQuartile, 'f', 3), QString::number(result.bound, 'f', 2),
        result.holds() ? u"holds"_s : u"MISSED"_s);
}
