#include "companion/fleet/tally.h"

#include <algorithm>
#include <numeric>

namespace {

size_t indexOf(RowState state)
{
    return static_cast<size_t>(state);
}

template <size_t Size>
void addEach(std::array<quint64, Size>& counts, const std::array<quint64, Size>& others)
{
    for (size_t i = 0; i < Size; ++i) {
        counts[i] += others[i];
    }
}

} // namespace

quint64 EntryTally::turned(RowState before, RowState after) const
{
    return turns[indexOf(before)][indexOf(after)];
}

quint64 EntryTally::before(RowState state) const
{
    const auto& row = turns[indexOf(state)];
    return std::accumulate(row.cbegin(), row.cend(), quint64(0));
}

quint64 EntryTally::after(RowState state) const
{
    quint64 count = 0;
    for (const auto& row : turns) {
        count += row[indexOf(state)];
    }
    return count;
}

void EntryTally::add(const EntryTally& other)
{
    for (size_t before = 0; before < turns.size(); ++before) {
        addEach(turns[before], other.turns[before]);
    }
    touched += other.touched;
    changedRows += other.changedRows;
}

void Tally::count(Grade grade, const QList<RowForecast>& rows)
{
    entries.resize(rows.size());
    const auto anyRow = [&rows](const auto& predicate) {
        return std::any_of(rows.cbegin(), rows.cend(), predicate) ? 1U : 0U;
    };
    const auto turns = [&anyRow](RowState state) {
        return anyRow(
            [state](const RowForecast& row) { return row.before != state && row.after == state; });
    };
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const RowForecast& row = rows[i];
        EntryTally& entry = entries[i];
        ++entry.turns[indexOf(row.before)][indexOf(row.after)];
        entry.touched += row.isTouched() ? 1U : 0U;
        entry.changedRows += row.changesRow ? 1U : 0U;
        gaps[static_cast<size_t>(row.gap)] += row.after == RowState::Unknown ? 1U : 0U;
    }
    ++machines;
    touched += anyRow([](const RowForecast& row) { return row.isTouched(); });
    turnedOlder += turns(RowState::Older);
    turnedNewer += turns(RowState::Newer);
    partlyUnknown += anyRow([](const RowForecast& row) { return row.after == RowState::Unknown; });
    ++grades[static_cast<size_t>(grade)];
}

void Tally::add(const Tally& other)
{
    entries.resize(std::max(entries.size(), other.entries.size()));
    for (qsizetype i = 0; i < other.entries.size(); ++i) {
        entries[i].add(other.entries[i]);
    }
    machines += other.machines;
    touched += other.touched;
    turnedOlder += other.turnedOlder;
    turnedNewer += other.turnedNewer;
    partlyUnknown += other.partlyUnknown;
    formerEntries = std::max(formerEntries, other.formerEntries);
    addEach(grades, other.grades);
    addEach(refusals, other.refusals);
    addEach(gaps, other.gaps);
}

EntryTally Tally::sum() const
{
    EntryTally sum;
    for (const EntryTally& entry : entries) {
        sum.add(entry);
    }
    return sum;
}

quint64 Tally::refused() const
{
    return std::accumulate(refusals.cbegin(), refusals.cend(), quint64(0));
}
