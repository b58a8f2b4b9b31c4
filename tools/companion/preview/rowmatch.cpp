#include "companion/preview/rowmatch.h"

#include "companion/preview/inventory.h"
#include "profiler/applicationmatch.h"
#include "profiler/versionorder.h"
#include "system/nameprefix.h"

namespace {

/// The candidates between which a version decides that the inventory does not tell; none when the
/// match is known.
QStringList undecided(const QString& name, const QStringList& candidates,
                      const Inventory& inventory)
{
    QStringList contenders;
    bool isVersionMissing = false;
    for (const QString& candidate : candidates) {
        if (isVersionOf(name, candidate)) {
            contenders.append(candidate);
            isVersionMissing = isVersionMissing || !inventory.version(candidate);
        }
    }
    return contenders.size() > 1 && isVersionMissing ? contenders : QStringList();
}

} // namespace

RowMatch matchRow(const QString& name, const Inventory& inventory)
{
    const QStringList candidates = namesWithPrefix(inventory.names, name);
    if (candidates.isEmpty()) {
        return {{}, QString()};
    }
    if (const QStringList open = undecided(name, candidates, inventory); !open.isEmpty()) {
        return {open, std::nullopt};
    }
    const ApplicationMatch match =
        matchApplication(name, candidates, [&inventory](const QString& candidate) {
            return inventory.version(candidate).value_or(QString());
        });
    return {{match.name}, inventory.version(match.name)};
}

std::optional<int> installedOrder(const RowMatch& match, const QString& catalogueVersion)
{
    if (!match.isInstalled() || !match.version) {
        return std::nullopt;
    }
    return compareVersions(*match.version, catalogueVersion);
}
