#include "companion/log/troublelist.h"

#include "companion/log/clientlog.h"

#include <algorithm>

void TroubleList::add(const LogEntry& entry, Severity severity, const QString& kind,
                      const QString& problem, const Advice& advice)
{
    const auto known =
        std::find_if(m_troubles.cbegin(), m_troubles.cend(), [&](const Trouble& trouble) {
            return trouble.kind == kind && trouble.problem == problem;
        });
    int count = 1;
    if (known != m_troubles.cend()) {
        count += known->count;
        m_troubles.erase(known);
    }
    m_troubles.append(
        {entry.line, entry.time, severity, kind, problem, advice.cause, advice.remedy, count});
}
