#pragma once

#include "companion/catalogue/cataloguetext.h"

/// Reports the versions of @p entries that the client does not compare as they read.
void checkVersions(const QList<CatalogueEntry>& entries, Report& report);

/// Reports the versions of @p entries that those who have the @p published ones do not see as new.
void checkAgainstPublished(const QList<CatalogueEntry>& entries,
                           const QList<CatalogueEntry>& published, Report& report);
