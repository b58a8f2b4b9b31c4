#pragma once

#include <QList>
#include <QString>

#include <functional>

/// What one side of a case measures: seconds, bytes, whatever both sides share.
using Measurement = std::function<double()>;

/// One comparison of the program's own code with a floor measured in the same run.
struct Benchmark
{
    QString id;
    QString what;       ///< "ours / reference" in words
    int rounds = 11;    ///< each measures both sides
    double bound = 0.0; ///< the ratio's median must not exceed it
    Measurement ours;
    Measurement reference;
};

/// The medians of a case's rounds.
struct BenchmarkResult
{
    QString id;
    double ours = 0.0;
    double reference = 0.0;
    double ratio = 0.0; ///< the median of the rounds' ratios
    double lowerQuartile = 0.0;
    double upperQuartile = 0.0;
    double bound = 0.0;

    [[nodiscard]] bool holds() const { return ratio <= bound; }
};

/// The value below which the share @p share of @p values lies; @p values must not be empty.
[[nodiscard]] double quantile(QList<double> values, double share);

/// Measures both sides alternately, each going first in every other round.
[[nodiscard]] BenchmarkResult run(const Benchmark& benchmark);

/// One line for people.
[[nodiscard]] QString describe(const BenchmarkResult& result);
