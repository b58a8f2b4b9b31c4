#pragma once

#include "companion/catalogue/cataloguetext.h"

#include <QByteArray>
#include <QStringList>

/// The names of bundles in the lines of @p text, ascending, each once: of a path its last part,
/// without ".app".
[[nodiscard]] QStringList readKnownNames(const QByteArray& text);

/// Reports the names of @p entries with which one of @p known begins that is another product and
/// has no entry of its own. @p known is ascending.
void checkKnownNames(const QList<CatalogueEntry>& entries, const QStringList& known,
                     Report& report);
