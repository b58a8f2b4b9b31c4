#include "companion/fleet/namefilter.h"

#include <algorithm>

NameFilter::NameFilter(QStringList names)
{
    std::sort(names.begin(), names.end());
    for (const QString& name : std::as_const(names)) {
        // Whatever begins with this one begins with the last one too.
        if (m_names.isEmpty() || !name.startsWith(m_names.constLast())) {
            m_names.append(name);
        }
    }
}

bool NameFilter::admits(const QString& application) const
{
    // Between a beginning of the application's name and the name itself lie only texts with the
    // same beginning, and no such second one was kept.
    const auto above = std::upper_bound(m_names.cbegin(), m_names.cend(), application);
    return above != m_names.cbegin() && application.startsWith(*(above - 1));
}
