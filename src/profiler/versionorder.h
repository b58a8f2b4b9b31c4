#pragma once

#include <QString>

/// The order of two version texts: 1 when @p a is newer, -1 when it is older, 0 when they are
/// equal.
///
/// Compares the numbers that the texts' parts begin with, part by part between the dots, up to the
/// first bracket. A part without a number counts as 0. Deliberately, parts that only the longer
/// text has are not looked at: "1.2" equals "1.2.1".
[[nodiscard]] int compareVersions(const QString& a, const QString& b);
