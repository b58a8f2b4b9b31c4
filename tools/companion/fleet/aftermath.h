#pragma once

#include "companion/fleet/entryfile.h"
#include "companion/fleet/machineforecast.h"

#include <QJsonObject>
#include <QMap>

/// What follows for one entry when users act on the new catalogue, in machines.
struct EntryAftermath
{
    // Rows that are older, once what their installer brings has taken the matched application's
    // place:
    quint64 settles = 0;    ///< equal to the catalogue
    quint64 staysOlder = 0; ///< red for ever
    quint64 turnsNewer = 0;
    quint64 matchesOther = 0;    ///< the row stands for something else than what was installed
    quint64 unknownSettling = 0; ///< the installer does not tell

    quint64 otherIdentity = 0;    ///< the matched application's identifier is not the installer's
    quint64 newerAfterReturn = 0; ///< newer when the former catalogue is published again after that
    QMap<QString, quint64> identifiers; ///< of the matched applications

    [[nodiscard]] quint64 unsettled() const { return staysOlder + turnsNewer + matchesOther; }
    void add(const EntryAftermath& other);

    [[nodiscard]] bool operator==(const EntryAftermath& other) const = default;
};

/// What follows for a fleet. Sums of parts are those of the whole.
struct Aftermath
{
    QList<EntryAftermath> entries; ///< in the order of CatalogueChange::entries

    /// Counts a machine. @p files are those of the entries of the new catalogue, in the same order,
    /// or none when they were not looked at.
    void count(const CatalogueChange& change, const QList<EntryFile>& files,
               const InstalledApplications& installed, const QList<RowForecast>& rows);
    void add(const Aftermath& other);

    [[nodiscard]] bool operator==(const Aftermath& other) const = default;
};

[[nodiscard]] QJsonObject aftermathJson(const EntryAftermath& aftermath);
[[nodiscard]] EntryAftermath readAftermath(const QJsonObject& json);

/// What the file of an entry is, as JSON.
[[nodiscard]] QJsonValue entryFileJson(const EntryFile& file);
[[nodiscard]] EntryFile readEntryFileJson(const QJsonValue& json);
