#pragma once

#include "companion/catalogue/cataloguetext.h"

/// Reports the versions of @p entries that the client does not compare as they read.
void checkVersions(const QList<CatalogueEntry>& entries, Report& report);
