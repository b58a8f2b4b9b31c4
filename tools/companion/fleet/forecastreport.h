#pragma once

#include "companion/fleet/aftermath.h"
#include "companion/fleet/cataloguechange.h"
#include "companion/fleet/tally.h"

class QTextStream;

/// All that a forecast has found.
struct FleetForecast
{
    QList<EntryChange> entries;
    QList<EntryFile> files; ///< of the entries, in their order; empty when they were not looked at
    Tally tally;
    Aftermath aftermath;
};

/// A number for people: "10,000".
[[nodiscard]] QString grouped(quint64 number);

/// In words why machines or rows are unknown.
[[nodiscard]] QString refusalText(Refusal reason);
[[nodiscard]] QString gapText(Gap gap);
/// What @p grade means for the inventories that have it; empty for exact ones.
[[nodiscard]] QString gradeText(Grade grade);

/// The same as CSV, a line for each entry and each pair of what its row shows before and after.
void writeForecastTable(const QList<EntryChange>& entries, const Tally& tally, QTextStream& out);

/// Writes what changes for people to read.
void writeForecast(const FleetForecast& forecast, QTextStream& out);

/// Whether a row would never become what the catalogue says, whatever its user does.
[[nodiscard]] bool hasUnsettledRows(const Aftermath& aftermath);
