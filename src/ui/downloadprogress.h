#pragma once

#include <QBrush>

/// The share of a row's width that one column covers; 0 <= start < end <= 1.
struct ColumnSpan
{
    double start = 0.0;
    double end = 1.0;
};

/// The whole percentage of @p total bytes that @p received ones make; 0 for an unknown total, which
/// is 0 or less.
[[nodiscard]] qint64 downloadPercentage(qint64 received, qint64 total);

/// Gradient stops that paint a progress bar over one column of a row.
/// @p progress is the done share of the whole row, 0 to 1.
[[nodiscard]] QGradientStops progressStops(double progress, ColumnSpan column, const QColor& done,
                                           const QColor& base);
