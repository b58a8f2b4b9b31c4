#pragma once

#include "companion/fleet/fleetforecast.h"

#include <QJsonObject>

/// A machine's line: what changes on it.
[[nodiscard]] QJsonObject machineJson(const QString& machine, Grade grade,
                                      const QList<EntryChange>& entries,
                                      const QList<RowForecast>& rows);

/// The line of a machine that could not be judged.
[[nodiscard]] QJsonObject refusalJson(const QString& machine, Refusal reason);

/// The forecast in numbers, from which it can be read again.
[[nodiscard]] QJsonObject summaryJson(const FleetForecast& forecast);
/// Reads what summaryJson() has made; nothing when it is anything else.
[[nodiscard]] std::optional<FleetForecast> readSummary(const QJsonObject& json);
