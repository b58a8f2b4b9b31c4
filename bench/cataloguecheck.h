#pragma once

#include "benchmark.h"

/// The companion's check of a catalogue of 100,000 entries against the client's own parse of it.
[[nodiscard]] Benchmark catalogueCheck();

/// The same with the entries in no order.
[[nodiscard]] Benchmark shuffledCatalogueCheck();
