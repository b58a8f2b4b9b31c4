#pragma once

#include <QList>
#include <QString>

/// What this process holds.
struct Holdings
{
    double residentKiB = 0.0;
    double allocatedKiB = 0.0; ///< of the heap; less than resident
    qsizetype files = 0;       ///< open descriptors
    qsizetype threads = 0;
};

[[nodiscard]] Holdings currentHoldings();
[[nodiscard]] QString asText(const Holdings& holdings);

/// False under a sanitizer, which keeps freed memory and its own books.
[[nodiscard]] bool isMemoryMeasurable();

/// By how much the mean of the last quarter of @p values exceeds that of the first one, as a share
/// of the latter. @p values has four elements or more.
[[nodiscard]] double growth(const QList<double>& values);
