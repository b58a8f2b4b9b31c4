#pragma once

#include "companion/fleet/csvinventory.h"
#include "companion/fleet/forecastlimits.h"
#include "companion/fleet/inventoryformat.h"
#include "companion/fleet/machinealias.h"

class CommandLine;
class QTextStream;

/// What a forecast's arguments ask for.
struct ForecastOptions
{
    enum Output
    {
        Text,
        Json,
        Csv
    };

    QString catalogue;
    QString published;
    QStringList places;
    QString files;     ///< the folder of the installers; empty for none
    QStringList parts; ///< summaries to add up, instead of all these
    QString separator;
    std::optional<InventoryFormat> format;
    CsvColumns columns;
    int threads = 1;
    bool judgesAll = false;
    Output output = Text;
    QString page;       ///< the file to write as a web page; empty for none
    QStringList listed; ///< entries whose machines are named
    MachineAlias alias;
    ForecastLimits limits;
};

/// Adds the options of `forecast`.
void describeForecast(CommandLine& line);

/// Reads what @p line asks for; nothing, with the reason told, when it is wrong.
[[nodiscard]] std::optional<ForecastOptions> readForecastOptions(const CommandLine& line,
                                                                 QTextStream& err);
