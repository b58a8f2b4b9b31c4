#pragma once

#include <QStringList>

/// Those of @p names (ascending) that start with @p prefix, ascending; all for an empty or null
/// one.
[[nodiscard]] QStringList namesWithPrefix(const QStringList& names, const QString& prefix);

/// Whether any of @p names (ascending) starts with @p prefix.
[[nodiscard]] bool hasNameWithPrefix(const QStringList& names, const QString& prefix);
