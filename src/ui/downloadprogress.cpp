#include "ui/downloadprogress.h"

#include <algorithm>

qint64 downloadPercentage(qint64 received, qint64 total)
{
    return total > 0 ? received * 100 / total : 0;
}

QGradientStops progressStops(double progress, ColumnSpan column, const QColor& done,
                             const QColor& base)
{
    if (progress >= column.end) {
        return {{0.0, done}, {1.0, done}};
    }
    if (column.start >= progress) {
        return {{0.0, base}, {1.0, base}};
    }
    const double edge = (progress - column.start) / (column.end - column.start);
    // A step of a thousandth makes the bar's end a hard edge.
    return {{0.0, done},
            {std::clamp(edge, 0.0, 1.0), done},
            {std::clamp(edge + 0.001, 0.0, 1.0), base},
            {1.0, base}};
}
