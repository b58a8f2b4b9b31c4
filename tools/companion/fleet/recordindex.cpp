#include "companion/fleet/recordindex.h"

#include <algorithm>
#include <tuple>

namespace {

size_t keyOf(const QString& machine)
{
    return qHash(machine, size_t(1));
}

} // namespace

void RecordIndex::see(const QString& machine, qint64 time, RecordPlace place)
{
    Sighting& known = m_sightings[keyOf(machine)];
    if (known.blocks > 0 && known.place == place) {
        ++known.blocks;
    } else if (known.blocks == 0 || std::tie(known.time, known.place) < std::tie(time, place)) {
        known.time = time;
        known.place = place;
        known.blocks = 1;
    }
}

void RecordIndex::seeChange(const QString& machine, qint64 time)
{
    std::optional<qint64>& last = m_sightings[keyOf(machine)].changeTime;
    last = std::max(last.value_or(time), time);
}

std::optional<RecordIndex::Sighting> RecordIndex::sighting(const QString& machine) const
{
    const auto known = m_sightings.constFind(keyOf(machine));
    return known == m_sightings.cend() ? std::nullopt : std::optional(*known);
}

bool RecordIndex::counts(const QString& machine, RecordPlace place) const
{
    const std::optional<Sighting> known = sighting(machine);
    return known && known->place == place &&
           (!known->changeTime || *known->changeTime < known->time);
}
