#include "companion/fleet/forecastreport.h"

#include "companion/fleet/forecastremarks.h"
#include "companion/fleet/forecastwords.h"
#include "companion/report/texttable.h"

#include <QRegularExpression>
#include <QTextStream>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array allStates = {RowState::Absent, RowState::NotInstalled, RowState::Older,
                                  RowState::Equal,  RowState::Newer,        RowState::Unknown};

/// @p text as a field of a table that is separated by commas.
QString csvField(const QString& text)
{
    static const QRegularExpression special(u"[\",\r\n]"_s);
    return text.contains(special) ? u'"' + QString(text).replace(u'"', "\"\""_L1) + u'"' : text;
}

/// The lines of one entry: a line for each pair of different states.
void appendTurns(const QString& name, const EntryTally& tally, QList<QStringList>& table)
{
    for (const RowState before : allStates) {
        for (const RowState after : allStates) {
            const quint64 machines = tally.turned(before, after);
            if (before != after && machines > 0) {
                table.append({name, rowStateText(before), rowStateText(after), grouped(machines)});
            }
        }
    }
    if (tally.changedRows > 0) {
        table.append(
            {name, u"application in one row"_s, u"in another row"_s, grouped(tally.changedRows)});
    }
}

void writeTurns(const QList<EntryChange>& entries, const Tally& tally, QTextStream& out)
{
    QList<QStringList> table = {{u"Entry"_s, u"Before"_s, u"After"_s, u"Machines"_s}};
    for (qsizetype i = 0; i < tally.entries.size(); ++i) {
        appendTurns(entries[i].name, tally.entries[i], table);
    }
    if (table.size() == 1) {
        out << "No row changes on any machine.\n";
        return;
    }
    appendTurns(u"All entries"_s, tally.sum(), table);
    writeTable(table, out);
}

} // namespace

void writeForecastTable(const QList<EntryChange>& entries, const Tally& tally, QTextStream& out)
{
    out << "Entry,Before,After,Machines\n";
    for (qsizetype i = 0; i < tally.entries.size(); ++i) {
        for (const RowState before : allStates) {
            for (const RowState after : allStates) {
                if (const quint64 machines = tally.entries[i].turned(before, after); machines > 0) {
                    out << csvField(entries[i].name) << ',' << rowStateText(before) << ','
                        << rowStateText(after) << ',' << machines << '\n';
                }
            }
        }
    }
}

QString forecastHeadline(const FleetForecast& forecast)
{
    const auto differing =
        std::count_if(forecast.entries.cbegin(), forecast.entries.cend(),
                      [](const EntryChange& entry) { return entry.isDifferent(); });
    return u"%1, %2 touched; %3 %4"_s.arg(
        machinesText(forecast.tally.machines), grouped(forecast.tally.touched),
        grouped(quint64(differing)), differing == 1 ? u"entry differs"_s : u"entries differ"_s);
}

void writeForecast(const FleetForecast& forecast, QTextStream& out)
{
    out << forecastHeadline(forecast) << "\n\n";
    writeTurns(forecast.entries, forecast.tally, out);
    out << '\n';
    for (const QString& remark : forecastRemarks(forecast)) {
        out << remark << '\n';
    }
}

bool hasUnsettledRows(const Aftermath& aftermath)
{
    return std::any_of(aftermath.entries.cbegin(), aftermath.entries.cend(),
                       [](const EntryAftermath& entry) { return entry.unsettled() > 0; });
}
