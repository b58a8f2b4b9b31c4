#pragma once

#include <array>

/// The widths of the table's three columns, in points.
using ColumnWidths = std::array<int, 3>;

/// How wide the first column is in a viewport so that all of the other two can be seen: as wide as
/// @p set says where there is room, else what the others leave; never below 0.
[[nodiscard]] int firstColumnWidth(int viewportWidth, const ColumnWidths& set);
