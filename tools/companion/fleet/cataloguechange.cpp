#include "companion/fleet/cataloguechange.h"

#include "web/webprofiler.h"

#include <algorithm>

namespace {

std::optional<OfferedEntry> entryOf(const Offer& offer, const QString& name)
{
    const auto entry = offer.entries.constFind(name);
    return entry == offer.entries.cend() ? std::nullopt : std::optional(*entry);
}

QList<EntryChange> changesOf(const Offer& published, const Offer& next)
{
    QList<EntryChange> changes;
    for (const QString& name : next.names) {
        changes.append({name, entryOf(published, name), entryOf(next, name)});
    }
    for (const QString& name : published.names) {
        if (!next.entries.contains(name)) {
            changes.append({name, entryOf(published, name), std::nullopt});
        }
    }
    return changes;
}

/// Whether one of the two names begins with the other: only then can both stand for one
/// application.
bool canMeet(const QString& name, const QString& other)
{
    return name.startsWith(other) || other.startsWith(name);
}

QSet<QString> neighboursIn(const Offer& offer, const QStringList& comingOrGoing)
{
    QSet<QString> found;
    if (comingOrGoing.isEmpty()) {
        return found;
    }
    for (const QString& name : offer.names) {
        if (std::any_of(comingOrGoing.cbegin(), comingOrGoing.cend(),
                        [&name](const QString& other) { return canMeet(name, other); })) {
            found.insert(name);
        }
    }
    return found;
}

} // namespace

Offer readOffer(const QByteArray& catalogue, const QString& separator)
{
    WebProfiler client({}, {}, separator, {});
    client.updateData(catalogue);
    Offer offer;
    for (const QString& name : client.getAppList()) {
        if (!offer.entries.contains(name)) {
            offer.names.append(name);
            offer.entries.insert(name, {client.getVersion(name), client.getFilename(name)});
        }
    }
    return offer;
}

CatalogueChange::CatalogueChange(const Offer& published, const Offer& next, bool everything)
    : entries(changesOf(published, next))
    , entryCount(next.names.size())
    , formerCount(published.names.size())
{
    if (!everything) {
        entries.removeIf([](const EntryChange& change) { return !change.isDifferent(); });
    }
    QStringList names;
    QStringList comingOrGoing;
    for (const EntryChange& change : std::as_const(entries)) {
        names.append(change.name);
        if (change.isComingOrGoing()) {
            comingOrGoing.append(change.name);
        }
    }
    formerNeighbours = neighboursIn(published, comingOrGoing);
    neighbours = neighboursIn(next, comingOrGoing);
    for (const QSet<QString>* others : {&formerNeighbours, &neighbours}) {
        names += QStringList(others->cbegin(), others->cend());
    }
    filter = NameFilter(names);
}
