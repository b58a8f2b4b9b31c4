#pragma once

#include "companion/fleet/cataloguechange.h"
#include "companion/fleet/installed.h"

/// What a window shows of an entry.
enum class RowState
{
    Absent, ///< the catalogue has no such row
    NotInstalled,
    Older,
    Equal,
    Newer,
    Unknown ///< the inventory does not tell
};
inline constexpr int rowStateCount = 6;

/// In words: the verdict as the window has it, "no row" or "unknown".
[[nodiscard]] QString rowStateText(RowState state);

/// What becomes of one row on one machine.
struct RowForecast
{
    RowState before = RowState::Absent;
    RowState after = RowState::Absent;
    /// The row comes or goes, and its application is shown by another row in the other catalogue.
    bool changesRow = false;
    QStringList applications; ///< that the row stands for, see RowMatch
    std::optional<QString> version;
    Gap gap = Gap::None; ///< why it is unknown

    [[nodiscard]] bool operator==(const RowForecast& other) const = default;
    [[nodiscard]] bool isTouched() const { return before != after || changesRow; }
};

/// Judges the machine with @p installed under both catalogues: a row for each of @p change's
/// entries, in their order.
[[nodiscard]] QList<RowForecast> forecastMachine(const CatalogueChange& change,
                                                 const InstalledApplications& installed);
