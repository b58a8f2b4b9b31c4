#pragma once

#include "benchmark.h"

// What installers cost the publisher's companion.
[[nodiscard]] Benchmark packageContents();
[[nodiscard]] Benchmark installerCheck();
