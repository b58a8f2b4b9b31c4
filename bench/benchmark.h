#pragma once

#include <QList>
#include <QString>

#include <functional>
#include <optional>

/// What one side of a case measures: seconds, bytes, whatever both sides share.
using Measurement = std::function<double()>;

/// One comparison of the program's own code with a floor measured in the same run.
struct Benchmark
{
    QString what;    ///< "ours / reference" in words
    int rounds = 11; ///< each measures both sides
    double must = 0.0;
    double aim = 0.0;
    Measurement ours;
    Measurement reference;
    /// Ends the program unless both sides yield the same; run before anything is measured.
    std::function<void()> compare = [] {};
};

/// A case by its name; its data are made when it is prepared, and go with the benchmark.
struct BenchmarkCase
{
    QString id;
    std::function<Benchmark()> prepare;
};

/// The medians of a case's rounds.
struct BenchmarkResult
{
    QString id;
    QString what;
    int rounds = 0;
    double ours = 0.0;
    double reference = 0.0;
    double ratio = 0.0; ///< the median of the rounds' ratios
    double lowerQuartile = 0.0;
    double upperQuartile = 0.0;
    double must = 0.0; ///< the ratio's bound
    double aim = 0.0;

    [[nodiscard]] bool holds() const { return ratio <= must; }
};

/// The cost of one piece of work in several sizes.
struct Growth
{
    QString id;
    QString unit; ///< what a size counts
    QList<std::pair<int, double>> seconds;
};

/// The value below which the share @p share of @p values lies; @p values must not be empty.
[[nodiscard]] double quantile(QList<double> values, double share);

/// Measures both sides alternately, each going first in every other round. @p rounds replaces the
/// case's own number.
[[nodiscard]] BenchmarkResult run(const BenchmarkCase& benchmarkCase, std::optional<int> rounds);

/// One line for people.
[[nodiscard]] QString describe(const BenchmarkResult& result);

/// All results with what they were measured on, as JSON.
[[nodiscard]] QByteArray toJson(const QList<BenchmarkResult>& results);
[[nodiscard]] QByteArray toJson(const QList<Growth>& growths);

/// The seconds that @p action takes. Instructions are counted in here alone (see ir.sh).
double secondsOf(const std::function<void()>& action);
