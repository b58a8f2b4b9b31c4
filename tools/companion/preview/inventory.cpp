#include "companion/preview/inventory.h"

#include "companion/log/clientlog.h"
#include "system/sysprofiler.h"

#include <QHash>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The applications of @p scan, in the versions that are known.
Inventory inventoryOf(const Logged::ScanResult& scan, const QHash<QString, QString>& versions)
{
    return {scan.names,
            [versions](const QString& name) {
                const auto version = versions.constFind(name);
                return version == versions.cend() ? std::nullopt : std::optional(*version);
            },
            scan.isWhole()};
}

} // namespace

Inventory noInventory()
{
    return {{}, [](const QString&) { return std::optional<QString>(); }};
}

Inventory scannedInventory()
{
    const auto scan = std::make_shared<SysProfiler>();
    scan->update();
    return {scan->find({}),
            [scan](const QString& name) { return std::optional(scan->getVersion(name)); }};
}

std::optional<Inventory> loggedInventory(const QByteArray& log)
{
    std::optional<Logged::ScanResult> scan;
    QHash<QString, QString> versions;
    for (const LogEntry& entry : readClientLog(log)) {
        if (const auto* found = std::get_if<Logged::ScanResult>(&entry.event)) {
            // A list that the log breaks off in is the last one.
            if (found->isWhole() || !scan) {
                scan = *found;
                versions.clear();
            }
        } else if (const auto* match = std::get_if<Logged::RowMatched>(&entry.event)) {
            for (const auto& [name, version] : match->versions) {
                versions.insert(name, version);
            }
        }
    }
    return scan ? std::optional(inventoryOf(*scan, versions)) : std::nullopt;
}
