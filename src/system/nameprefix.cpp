#include "system/nameprefix.h"

#include <algorithm>

QStringList namesWithPrefix(const QStringList& names, const QString& prefix)
{
    if (prefix.isEmpty()) {
        return names; // a null name does not start with an empty text, says Qt
    }
    const auto first = std::lower_bound(names.cbegin(), names.cend(), prefix);
    const auto last = std::find_if_not(
        first, names.cend(), [&prefix](const QString& name) { return name.startsWith(prefix); });
    return QStringList(first, last);
}

bool hasNameWithPrefix(const QStringList& names, const QString& prefix)
{
    if (prefix.isEmpty()) {
        return !names.isEmpty();
    }
    const auto first = std::lower_bound(names.cbegin(), names.cend(), prefix);
    return first != names.cend() && first->startsWith(prefix);
}
