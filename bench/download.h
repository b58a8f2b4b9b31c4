#pragma once

#include "benchmark.h"

/// Runs the cases of one row's download, and prints and returns their results. @p rounds replaces
/// the cases' own number where it is above 0.
[[nodiscard]] QList<BenchmarkResult> runDownloadBenchmarks(int rounds);

/// How many bytes the memory in use grows at its highest while this process downloads the first row
/// of the catalogue that the settings name.
[[nodiscard]] double downloadPeak();
