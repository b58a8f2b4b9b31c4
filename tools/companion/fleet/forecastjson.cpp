#include "companion/fleet/forecastjson.h"

#include <QJsonArray>

using namespace Qt::Literals::StringLiterals;

namespace {

// Kept apart from the words for people: scripts and sums read them.

const QStringList& stateNames()
{
    static const QStringList names = {u"no row"_s, u"not installed"_s, u"older"_s,
                                      u"equal"_s,  u"newer"_s,         u"unknown"_s};
    return names;
}

const QStringList& gradeNames()
{
    static const QStringList names = {u"exact"_s, u"as reported"_s, u"assumed"_s};
    return names;
}

const QStringList& refusalNames()
{
    static const QStringList names = {u"damaged"_s, u"no full state"_s};
    return names;
}

const QStringList& gapNames()
{
    static const QStringList names = {u"other"_s, u"no version"_s, u"two bundles"_s};
    return names;
}

QJsonValue number(quint64 value)
{
    return QJsonValue(static_cast<qint64>(value));
}

quint64 countOf(const QJsonValue& value)
{
    return static_cast<quint64>(value.toInteger());
}

template <typename Enum>
QString nameOf(const QStringList& names, Enum value)
{
    return names[static_cast<qsizetype>(value)];
}

template <size_t Size>
QJsonObject countsJson(const QStringList& names, const std::array<quint64, Size>& counts)
{
    QJsonObject json;
    for (size_t i = 0; i < Size; ++i) {
        json.insert(names[qsizetype(i)], number(counts[i]));
    }
    return json;
}

template <size_t Size>
void readCounts(const QJsonValue& json, const QStringList& names, std::array<quint64, Size>& counts)
{
    for (size_t i = 0; i < Size; ++i) {
        counts[i] = countOf(json[names[qsizetype(i)]]);
    }
}

QJsonValue offeredJson(const std::optional<OfferedEntry>& entry)
{
    return entry ? QJsonValue(QJsonObject{{u"version"_s, entry->version}, {u"file"_s, entry->file}})
                 : QJsonValue(QJsonValue::Null);
}

std::optional<OfferedEntry> readOffered(const QJsonValue& json)
{
    return json.isObject() ? std::optional(OfferedEntry{json[u"version"_s].toString(),
                                                        json[u"file"_s].toString()})
                           : std::nullopt;
}

QJsonArray turnsJson(const EntryTally& tally)
{
    QJsonArray turns;
    for (size_t before = 0; before < tally.turns.size(); ++before) {
        for (size_t after = 0; after < tally.turns.size(); ++after) {
            if (const quint64 machines = tally.turns[before][after]; machines > 0) {
                turns.append(QJsonObject{{u"before"_s, stateNames()[qsizetype(before)]},
                                         {u"after"_s, stateNames()[qsizetype(after)]},
                                         {u"machines"_s, number(machines)}});
            }
        }
    }
    return turns;
}

bool readTurns(const QJsonArray& json, EntryTally& tally)
{
    for (const auto& turn : json) {
        const qsizetype before = stateNames().indexOf(turn[u"before"_s].toString());
        const qsizetype after = stateNames().indexOf(turn[u"after"_s].toString());
        if (before < 0 || after < 0) {
            return false;
        }
        tally.turns[size_t(before)][size_t(after)] = countOf(turn[u"machines"_s]);
    }
    return true;
}

QJsonObject entryJson(const FleetForecast& forecast, qsizetype i)
{
    const EntryChange& entry = forecast.entries[i];
    const EntryTally tally = forecast.tally.entries.value(i);
    QJsonObject json{{u"entry"_s, entry.name},
                     {u"before"_s, offeredJson(entry.before)},
                     {u"after"_s, offeredJson(entry.after)},
                     {u"touched"_s, number(tally.touched)},
                     {u"changedRows"_s, number(tally.changedRows)},
                     {u"turns"_s, turnsJson(tally)},
                     {u"aftermath"_s, aftermathJson(forecast.aftermath.entries.value(i))}};
    if (!forecast.files.isEmpty()) {
        json.insert(u"file"_s, entryFileJson(forecast.files[i]));
    }
    return json;
}

} // namespace

QJsonObject machineJson(const QString& machine, Grade grade, const QList<EntryChange>& entries,
                        const QList<RowForecast>& rows)
{
    QJsonArray changed;
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const RowForecast& row = rows[i];
        if (row.isTouched()) {
            changed.append(QJsonObject{
                {u"entry"_s, entries[i].name},
                {u"before"_s, nameOf(stateNames(), row.before)},
                {u"after"_s, nameOf(stateNames(), row.after)},
                {u"changesRow"_s, row.changesRow},
                {u"applications"_s, QJsonArray::fromStringList(row.applications)},
                {u"installed"_s, row.version ? QJsonValue(*row.version) : QJsonValue()},
            });
        }
    }
    return {
        {u"machine"_s, machine}, {u"grade"_s, nameOf(gradeNames(), grade)}, {u"rows"_s, changed}};
}

QJsonObject refusalJson(const QString& machine, Refusal reason)
{
    return {{u"machine"_s, machine}, {u"refused"_s, nameOf(refusalNames(), reason)}};
}

QJsonObject summaryJson(const FleetForecast& forecast)
{
    const Tally& tally = forecast.tally;
    QJsonArray entryArray;
    for (qsizetype i = 0; i < forecast.entries.size(); ++i) {
        entryArray.append(entryJson(forecast, i));
    }
    const QJsonObject summary = {
        {u"machines"_s, number(tally.machines)},
        {u"touched"_s, number(tally.touched)},
        {u"turnedOlder"_s, number(tally.turnedOlder)},
        {u"turnedNewer"_s, number(tally.turnedNewer)},
        {u"partlyUnknown"_s, number(tally.partlyUnknown)},
        {u"grades"_s, countsJson(gradeNames(), tally.grades)},
        {u"refused"_s, countsJson(refusalNames(), tally.refusals)},
        {u"unknownRows"_s, countsJson(gapNames(), tally.gaps)},
        {u"formerEntries"_s, number(tally.formerEntries)},
        {u"entries"_s, entryArray},
    };
    return {{u"summary"_s, summary}};
}

std::optional<FleetForecast> readSummary(const QJsonObject& json)
{
    const QJsonValue summary = json[u"summary"_s];
    if (!summary.isObject() || !summary[u"entries"_s].isArray()) {
        return std::nullopt;
    }
    FleetForecast written;
    Tally& tally = written.tally;
    tally.machines = countOf(summary[u"machines"_s]);
    tally.touched = countOf(summary[u"touched"_s]);
    tally.turnedOlder = countOf(summary[u"turnedOlder"_s]);
    tally.turnedNewer = countOf(summary[u"turnedNewer"_s]);
    tally.partlyUnknown = countOf(summary[u"partlyUnknown"_s]);
    tally.formerEntries = countOf(summary[u"formerEntries"_s]);
    readCounts(summary[u"grades"_s], gradeNames(), tally.grades);
    readCounts(summary[u"refused"_s], refusalNames(), tally.refusals);
    readCounts(summary[u"unknownRows"_s], gapNames(), tally.gaps);
    const QJsonArray entries = summary[u"entries"_s].toArray();
    for (const auto& entry : entries) {
        written.entries.append({entry[u"entry"_s].toString(), readOffered(entry[u"before"_s]),
                                readOffered(entry[u"after"_s])});
        EntryTally counts;
        counts.touched = countOf(entry[u"touched"_s]);
        counts.changedRows = countOf(entry[u"changedRows"_s]);
        if (!readTurns(entry[u"turns"_s].toArray(), counts)) {
            return std::nullopt;
        }
        tally.entries.append(counts);
        written.aftermath.entries.append(readAftermath(entry[u"aftermath"_s].toObject()));
        if (entry.toObject().contains(u"file"_s)) {
            written.files.append(readEntryFileJson(entry[u"file"_s]));
        }
    }
    return written.files.isEmpty() || written.files.size() == written.entries.size()
               ? std::optional(written)
               : std::nullopt;
}
