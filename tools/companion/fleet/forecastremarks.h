#pragma once

#include <QStringList>

struct FleetForecast;

/// What a forecast has to say beside its table, a printable line each: what follows for the
/// entries' rows, for going back and for the traffic, how good the records are, and what is
/// unknown.
[[nodiscard]] QStringList forecastRemarks(const FleetForecast& forecast);
