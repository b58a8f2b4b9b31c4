#include "companion/log/troubles.h"

#include "app/debug.h"
#include "companion/log/cataloguetroubles.h"
#include "companion/log/downloadtroubles.h"
#include "companion/log/machinetroubles.h"
#include "companion/log/troublelist.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

void readOther(const LogEntry& entry, TroubleList& list)
{
    const bool isError = entry.level == Debug::LEVEL[Debug::Error];
    if (!isError && entry.level != Debug::LEVEL[Debug::Warning]) {
        return;
    }
    const QString problem =
        entry.text.trimmed().isEmpty() ? u"The line has no text."_s : entry.text;
    list.add(entry, isError ? Severity::Error : Severity::Warning, u"other"_s, problem,
             {u"Nothing more is known of this."_s, u"Send the log to who maintains the client."_s});
}

} // namespace

QList<Trouble> logTroubles(const QList<LogEntry>& log)
{
    TroubleList list;
    CatalogueTroubles catalogue(list);
    DownloadTroubles downloads(list);
    for (const LogEntry& entry : log) {
        catalogue.read(entry);
        downloads.read(entry);
        readMachineTroubles(entry, list);
        if (std::holds_alternative<std::monostate>(entry.event)) {
            readOther(entry, list);
        }
    }
    catalogue.finish();
    downloads.finish();
    QList<Trouble> troubles = list.troubles();
    std::stable_sort(troubles.begin(), troubles.end(),
                     [](const Trouble& a, const Trouble& b) { return a.line > b.line; });
    return troubles;
}
