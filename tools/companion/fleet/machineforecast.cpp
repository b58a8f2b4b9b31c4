#include "companion/fleet/machineforecast.h"

#include "companion/preview/rowmatch.h"
#include "profiler/rowverdict.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

RowState stateOf(const RowMatch& match, const std::optional<OfferedEntry>& entry)
{
    if (!entry) {
        return RowState::Absent;
    }
    if (!match.isInstalled()) {
        return RowState::NotInstalled;
    }
    const std::optional<int> order = installedOrder(match, entry->version);
    if (!order) {
        return RowState::Unknown;
    }
    return *order < 0 ? RowState::Older : *order == 0 ? RowState::Equal : RowState::Newer;
}

/// Whether a row of @p names other than @p name itself stands for one of @p applications.
bool isShownByOther(const QString& name, const QStringList& applications,
                    const QSet<QString>& names, const Inventory& inventory)
{
    const auto shows = [&](const QString& application) {
        for (qsizetype length = 0; length <= application.size(); ++length) {
            const QString other = application.first(length);
            if (other != name && names.contains(other) &&
                matchRow(other, inventory).applications.contains(application)) {
                return true;
            }
        }
        return false;
    };
    return std::any_of(applications.cbegin(), applications.cend(), shows);
}

/// Why what the row shows is not known: the first of its candidates without a version tells.
Gap gapOf(const RowMatch& match, const InstalledApplications& installed)
{
    if (match.version) {
        return Gap::None;
    }
    for (const QString& application : match.applications) {
        if (const Gap gap = installed.value(application).gap; gap != Gap::None) {
            return gap;
        }
    }
    return Gap::None;
}

RowForecast forecastRow(const EntryChange& entry, const CatalogueChange& change,
                        const InstalledApplications& installed, const Inventory& inventory)
{
    const RowMatch match = matchRow(entry.name, inventory);
    RowForecast row{stateOf(match, entry.before),
                    stateOf(match, entry.after),
                    false,
                    match.applications,
                    match.version,
                    gapOf(match, installed)};
    if (entry.isComingOrGoing()) {
        row.changesRow =
            isShownByOther(entry.name, match.applications,
                           entry.before ? change.neighbours : change.formerNeighbours, inventory);
    }
    return row;
}

} // namespace

QString rowStateText(RowState state)
{
    switch (state) {
    case RowState::Absent:
        return u"no row"_s;
    case RowState::NotInstalled:
        return rowVerdict(false, 0);
    case RowState::Older:
        return rowVerdict(true, -1);
    case RowState::Equal:
        return rowVerdict(true, 0);
    case RowState::Newer:
        return rowVerdict(true, 1);
    case RowState::Unknown:
        break;
    }
    return u"unknown"_s;
}

QList<RowForecast> forecastMachine(const CatalogueChange& change,
                                   const InstalledApplications& installed)
{
    const Inventory inventory = inventoryOf(installed);
    QList<RowForecast> rows;
    rows.reserve(change.entries.size());
    for (const EntryChange& entry : change.entries) {
        rows.append(forecastRow(entry, change, installed, inventory));
    }
    return rows;
}
