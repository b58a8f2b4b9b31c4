#pragma once

#include "companion/fleet/fleetreader.h"

/// A number for people: "10,000".
[[nodiscard]] QString grouped(quint64 number);
/// "1 machine", "10,000 machines"
[[nodiscard]] QString machinesText(quint64 machines);

/// In words why machines or rows are unknown.
[[nodiscard]] QString refusalText(Refusal reason);
[[nodiscard]] QString gapText(Gap gap);
/// What @p grade means for the inventories that have it; empty for exact ones.
[[nodiscard]] QString gradeText(Grade grade);
