#include "companion/preview/previewtable.h"

#include "companion/preview/rowmatch.h"
#include "profiler/rowverdict.h"
#include "web/webprofiler.h"

#include <QHash>
#include <QMap>
#include <QSet>

using namespace Qt::Literals::StringLiterals;

namespace {

PreviewRow previewRow(const QString& name, const QString& catalogueVersion,
                      const Inventory& inventory)
{
    const RowMatch match = matchRow(name, inventory);
    const std::optional<int> order = installedOrder(match, catalogueVersion);
    PreviewRow row{name, catalogueVersion, match.applications, match.version, {}};
    if (!match.isInstalled() || order) {
        row.verdict = rowVerdict(match.isInstalled(), order.value_or(0));
    }
    return row;
}

QHash<QString, PreviewRow> byName(const QList<PreviewRow>& rows)
{
    QHash<QString, PreviewRow> found;
    for (const PreviewRow& row : rows) {
        found.insert(row.name, row);
    }
    return found;
}

QList<RowChange> rowChanges(const QList<PreviewRow>& before, const QList<PreviewRow>& after)
{
    QList<RowChange> changes;
    QHash<QString, PreviewRow> gone = byName(before);
    QSet<QString> seen; // a name listed twice has two equal rows
    for (const PreviewRow& row : after) {
        if (seen.contains(row.name)) {
            continue;
        }
        seen.insert(row.name);
        if (!gone.contains(row.name)) {
            changes.append({std::nullopt, row});
        } else if (const PreviewRow former = gone.take(row.name); former.verdict != row.verdict) {
            changes.append({former, row});
        }
    }
    for (const PreviewRow& row : before) {
        if (gone.remove(row.name)) {
            changes.append({row, std::nullopt});
        }
    }
    return changes;
}

QMap<QString, QStringList> rowsByMatch(const QList<PreviewRow>& rows)
{
    QMap<QString, QStringList> found;
    for (const PreviewRow& row : rows) {
        for (const QString& match : row.matches) {
            if (!found[match].contains(row.name)) {
                found[match].append(row.name);
            }
        }
    }
    return found;
}

QList<MatchChange> matchChanges(const QMap<QString, QStringList>& before,
                                const QMap<QString, QStringList>& after)
{
    QMap<QString, MatchChange> changes;
    for (auto entry = before.cbegin(); entry != before.cend(); ++entry) {
        changes[entry.key()].before = entry.value();
    }
    for (auto entry = after.cbegin(); entry != after.cend(); ++entry) {
        changes[entry.key()].after = entry.value();
    }
    QList<MatchChange> changed;
    for (auto entry = changes.begin(); entry != changes.end(); ++entry) {
        entry->application = entry.key();
        if (QSet<QString>(entry->before.cbegin(), entry->before.cend()) !=
            QSet<QString>(entry->after.cbegin(), entry->after.cend())) {
            changed.append(*entry);
        }
    }
    return changed;
}

} // namespace

QList<PreviewRow> previewRows(const QByteArray& catalogue, const QString& separator,
                              const Inventory& inventory)
{
    WebProfiler client({}, {}, separator, {});
    client.updateData(catalogue);
    QList<PreviewRow> rows;
    for (const QString& name : client.getAppList()) {
        rows.append(previewRow(name, client.getVersion(name), inventory));
    }
    return rows;
}

PreviewDifference previewDifference(const QList<PreviewRow>& before, const QList<PreviewRow>& after)
{
    return {rowChanges(before, after), matchChanges(rowsByMatch(before), rowsByMatch(after))};
}
