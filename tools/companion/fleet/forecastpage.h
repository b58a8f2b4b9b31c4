#pragma once

class QTextStream;
struct FleetForecast;

/// Writes @p forecast as one web page that needs nothing else, no script either: the catalogue's
/// table in the client's colours, with the fleet's verdicts before and after beside each row. It
/// names no machine.
void writeForecastPage(const FleetForecast& forecast, QTextStream& out);
