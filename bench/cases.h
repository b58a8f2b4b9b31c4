#pragma once

#include "benchmark.h"

/// A piece of the program's work in a chosen size, for the growth of its cost.
struct Workload
{
    QString id;
    QString unit; ///< what a size counts
    /// Makes the data for a size; what it returns does the work once.
    std::function<std::function<void()>(int size)> prepare;
    QList<int> sizes = {500, 1'000, 2'000, 5'000, 10'000}; ///< that its growth is shown in
};

/// The sizes of what is installed on a machine.
inline const QList<int> installedSizes = {200, 500, 1'000, 2'000};

// The cases of one part of the program each.
[[nodiscard]] QList<BenchmarkCase> tableCases();
[[nodiscard]] QList<BenchmarkCase> catalogueCases();
[[nodiscard]] QList<BenchmarkCase> inventoryCases();
[[nodiscard]] QList<BenchmarkCase> downloadCases();
[[nodiscard]] QList<BenchmarkCase> startCases();
[[nodiscard]] QList<BenchmarkCase> wholeCases();
[[nodiscard]] QList<BenchmarkCase> logCases();
[[nodiscard]] QList<BenchmarkCase> companionCases();
[[nodiscard]] QList<BenchmarkCase> fleetCases();

[[nodiscard]] QList<Workload> tableWorkloads();
[[nodiscard]] QList<Workload> catalogueWorkloads();
[[nodiscard]] QList<Workload> inventoryWorkloads();
[[nodiscard]] QList<Workload> logWorkloads();

// What a process of its own does for a case, by its arguments; it prints what it measured.
void measureCatalogueMemory();
void measureCheckMemory();
void measureDownloadMemory();
void startOwnWindow();
void startBareWindow();
