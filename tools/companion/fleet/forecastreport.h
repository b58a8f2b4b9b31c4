#pragma once

#include "companion/fleet/fleetforecast.h"

class QTextStream;

/// "10,000 machines, 812 touched; 20 entries differ"
[[nodiscard]] QString forecastHeadline(const FleetForecast& forecast);

/// Writes CSV, a line for each entry and each pair of what its row shows before and after.
void writeForecastTable(const QList<EntryChange>& entries, const Tally& tally, QTextStream& out);

/// Writes what changes for people to read.
void writeForecast(const FleetForecast& forecast, QTextStream& out);

/// Whether a row would never become what the catalogue says, whatever its user does.
[[nodiscard]] bool hasUnsettledRows(const Aftermath& aftermath);
