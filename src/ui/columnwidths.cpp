#include "ui/columnwidths.h"

#include <algorithm>

int firstColumnWidth(int viewportWidth, const ColumnWidths& set)
{
    return std::max(0, std::min(set[0], viewportWidth - set[1] - set[2]));
}
