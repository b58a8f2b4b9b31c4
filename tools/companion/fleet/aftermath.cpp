#include "companion/fleet/aftermath.h"

#include "companion/preview/rowmatch.h"
#include "profiler/versionorder.h"

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The machine once @p bundle has taken the place of the application that @p row stands for.
InstalledApplications updated(const InstalledApplications& installed, const RowForecast& row,
                              const InstallableBundle& bundle)
{
    InstalledApplications result = installed;
    result.remove(row.applications.value(0));
    result.insert(bundle.name,
                  {bundle.version, bundle.identifier, bundle.version ? Gap::None : Gap::NoVersion});
    return result;
}

/// What becomes of a row that is older, once its user has opened what its installer brings.
void countSettling(const EntryChange& entry, const EntryFile& file,
                   const InstalledApplications& installed, const RowForecast& row,
                   EntryAftermath& aftermath)
{
    if (!file.bundle || !file.bundle->version) {
        ++aftermath.unknownSettling;
        return;
    }
    const InstalledApplications machine = updated(installed, row, *file.bundle);
    const RowMatch match = matchRow(entry.name, inventoryOf(machine));
    const std::optional<int> order = installedOrder(match, entry.after->version);
    const bool isSure = match.applications.size() < 2;
    if (isSure && match.applications != QStringList{file.bundle->name}) {
        ++aftermath.matchesOther;
    } else if (!isSure || !order) {
        ++aftermath.unknownSettling;
    } else if (*order < 0) {
        ++aftermath.staysOlder;
    } else if (*order > 0) {
        ++aftermath.turnsNewer;
    } else {
        ++aftermath.settles;
    }
}

/// Whether the row, updated to what its installer brings or else to what the catalogue says, would
/// be newer than the former catalogue's entry and was not before.
bool isNewerAfterReturn(const EntryChange& entry, const EntryFile& file, const RowForecast& row)
{
    if (!entry.before || row.after != RowState::Older || row.before == RowState::Newer) {
        return false;
    }
    const QString version =
        file.bundle && file.bundle->version ? *file.bundle->version : entry.after->version;
    return compareVersions(version, entry.before->version) > 0;
}

void countIdentity(const EntryFile& file, const InstalledApplications& installed,
                   const RowForecast& row, EntryAftermath& aftermath)
{
    if (row.applications.size() != 1) {
        return;
    }
    const QString identifier = installed.value(row.applications.constFirst()).identifier;
    if (identifier.isEmpty()) {
        return;
    }
    ++aftermath.identifiers[identifier];
    const bool isTold = file.bundle && !file.bundle->identifier.isEmpty();
    aftermath.otherIdentity += isTold && file.bundle->identifier != identifier ? 1U : 0U;
}

QJsonValue number(quint64 value)
{
    return QJsonValue(static_cast<qint64>(value));
}

quint64 countOf(const QJsonValue& value)
{
    return static_cast<quint64>(value.toInteger());
}

/// The counts with their names.
template <typename Aftermaths>
auto countsOf(Aftermaths& aftermath)
{
    return std::array{std::pair(u"settles"_s, &aftermath.settles),
                      std::pair(u"staysOlder"_s, &aftermath.staysOlder),
                      std::pair(u"turnsNewer"_s, &aftermath.turnsNewer),
                      std::pair(u"matchesOther"_s, &aftermath.matchesOther),
                      std::pair(u"unknownSettling"_s, &aftermath.unknownSettling),
                      std::pair(u"otherIdentity"_s, &aftermath.otherIdentity),
                      std::pair(u"newerAfterReturn"_s, &aftermath.newerAfterReturn)};
}

} // namespace

void EntryAftermath::add(const EntryAftermath& other)
{
    const auto others = countsOf(other);
    size_t next = 0;
    for (const auto& [name, count] : countsOf(*this)) {
        *count += *others[next++].second;
    }
    for (auto entry = other.identifiers.cbegin(); entry != other.identifiers.cend(); ++entry) {
        identifiers[entry.key()] += entry.value();
    }
}

void Aftermath::count(const CatalogueChange& change, const QList<EntryFile>& files,
                      const InstalledApplications& installed, const QList<RowForecast>& rows)
{
    entries.resize(rows.size());
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const EntryChange& entry = change.entries[i];
        const EntryFile file = files.value(i);
        if (!entry.after) {
            continue;
        }
        countIdentity(file, installed, rows[i], entries[i]);
        if (!files.isEmpty() && rows[i].after == RowState::Older) {
            countSettling(entry, file, installed, rows[i], entries[i]);
        }
        entries[i].newerAfterReturn += isNewerAfterReturn(entry, file, rows[i]) ? 1U : 0U;
    }
}

void Aftermath::add(const Aftermath& other)
{
    entries.resize(std::max(entries.size(), other.entries.size()));
    for (qsizetype i = 0; i < other.entries.size(); ++i) {
        entries[i].add(other.entries[i]);
    }
}

QJsonObject aftermathJson(const EntryAftermath& aftermath)
{
    QJsonObject json;
    for (const auto& [name, count] : countsOf(aftermath)) {
        json.insert(name, number(*count));
    }
    QJsonObject identifiers;
    for (auto entry = aftermath.identifiers.cbegin(); entry != aftermath.identifiers.cend();
         ++entry) {
        identifiers.insert(entry.key(), number(entry.value()));
    }
    json.insert(u"identifiers"_s, identifiers);
    return json;
}

EntryAftermath readAftermath(const QJsonObject& json)
{
    EntryAftermath aftermath;
    for (const auto& [name, count] : countsOf(aftermath)) {
        *count = countOf(json[name]);
    }
    const QJsonObject identifiers = json[u"identifiers"_s].toObject();
    for (auto entry = identifiers.begin(); entry != identifiers.end(); ++entry) {
        aftermath.identifiers.insert(entry.key(), countOf(entry.value()));
    }
    return aftermath;
}

QJsonValue entryFileJson(const EntryFile& file)
{
    if (!file.size) {
        return QJsonValue::Null;
    }
    QJsonObject json{{u"bytes"_s, *file.size}};
    if (file.bundle) {
        json.insert(u"application"_s, file.bundle->name);
        json.insert(u"identifier"_s, file.bundle->identifier);
        json.insert(u"version"_s, file.bundle->version ? QJsonValue(*file.bundle->version)
                                                       : QJsonValue(QJsonValue::Null));
    }
    return json;
}

EntryFile readEntryFileJson(const QJsonValue& json)
{
    EntryFile file;
    if (!json.isObject()) {
        return file;
    }
    file.size = json[u"bytes"_s].toInteger();
    if (json[u"application"_s].isString()) {
        file.bundle = {json[u"application"_s].toString(), std::nullopt,
                       json[u"identifier"_s].toString()};
        if (json[u"version"_s].isString()) {
            file.bundle->version = json[u"version"_s].toString();
        }
    }
    return file;
}
