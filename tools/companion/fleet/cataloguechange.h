#pragma once

#include "companion/fleet/namefilter.h"

#include <QHash>
#include <QSet>

#include <optional>

class QByteArray;

/// An entry as a catalogue offers it.
struct OfferedEntry
{
    QString version;
    QString file;

    [[nodiscard]] bool operator==(const OfferedEntry& other) const = default;
};

/// What a catalogue offers.
struct Offer
{
    QStringList names; ///< in the catalogue's order, each once
    QHash<QString, OfferedEntry> entries;
};

/// Reads the catalogue's text as the client does.
[[nodiscard]] Offer readOffer(const QByteArray& catalogue, const QString& separator);

/// One entry in the published and in the new catalogue; nothing where it does not occur.
struct EntryChange
{
    QString name;
    std::optional<OfferedEntry> before;
    std::optional<OfferedEntry> after;

    [[nodiscard]] bool operator==(const EntryChange& other) const = default;
    [[nodiscard]] bool isDifferent() const { return before != after; }
    /// Whether the entry is in one of the catalogues only.
    [[nodiscard]] bool isComingOrGoing() const { return before.has_value() != after.has_value(); }
};

/// Two catalogues, as far as they matter to a forecast.
struct CatalogueChange
{
    QList<EntryChange> entries; ///< to judge; in the new catalogue's order, those that go last
    qsizetype entryCount = 0;   ///< of the new catalogue
    qsizetype formerCount = 0;  ///< of the published one
    /// The entries' names that can stand for an application of a coming or going entry.
    QSet<QString> formerNeighbours; ///< in the published catalogue
    QSet<QString> neighbours;       ///< in the new one
    NameFilter filter;              ///< the applications that matter to the entries to judge

    /// @p everything: to judge also the entries that do not differ.
    CatalogueChange(const Offer& published, const Offer& next, bool everything);
};
