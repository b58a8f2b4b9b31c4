#pragma once

#include "companion/catalogue/cataloguetext.h"

/// Reports the names of @p entries that the client cannot tell apart, or does not match as the
/// publisher means.
void checkNames(const QList<CatalogueEntry>& entries, Report& report);
