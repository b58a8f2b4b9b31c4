#pragma once

#include "companion/fleet/aftermath.h"
#include "companion/fleet/cataloguechange.h"
#include "companion/fleet/tally.h"

/// All that a forecast has found.
struct FleetForecast
{
    QList<EntryChange> entries;
    QList<EntryFile> files; ///< of the entries, in their order; empty when they were not looked at
    Tally tally;
    Aftermath aftermath;
};
