#pragma once

#include "companion/fleet/fleetreader.h"
#include "companion/fleet/machineforecast.h"

#include <array>

/// On how many machines what becomes of one entry's row.
struct EntryTally
{
    /// By what the row shows before and after.
    std::array<std::array<quint64, rowStateCount>, rowStateCount> turns = {};
    quint64 touched = 0;
    quint64 changedRows = 0; ///< see RowForecast::changesRow

    [[nodiscard]] quint64 turned(RowState before, RowState after) const;
    /// On how many machines the row shows @p state after the publication.
    [[nodiscard]] quint64 after(RowState state) const;
    [[nodiscard]] quint64 before(RowState state) const;
    void add(const EntryTally& other);

    [[nodiscard]] bool operator==(const EntryTally& other) const = default;
};

/// What a fleet's forecast counts. Sums of parts are those of the whole, in any order.
struct Tally
{
    quint64 machines = 0;      ///< that were judged
    quint64 touched = 0;       ///< of them, with a row that is
    quint64 turnedOlder = 0;   ///< of them, with a row that turns to be older
    quint64 turnedNewer = 0;   ///< of them, with a row that turns to be newer
    quint64 partlyUnknown = 0; ///< of them, with a row that is unknown after
    std::array<quint64, gradeCount> grades = {};
    std::array<quint64, refusalCount> refusals = {}; ///< machines that were not judged
    std::array<quint64, gapCount> gaps = {};         ///< rows that are unknown after, by reason
    quint64 formerEntries = 0; ///< of the published catalogue, which all parts share
    QList<EntryTally> entries; ///< in the order of CatalogueChange::entries

    /// Counts a machine's rows.
    void count(Grade grade, const QList<RowForecast>& rows);
    /// @p other must count the same entries.
    void add(const Tally& other);
    [[nodiscard]] EntryTally sum() const;
    [[nodiscard]] quint64 refused() const;

    [[nodiscard]] bool operator==(const Tally& other) const = default;
};
