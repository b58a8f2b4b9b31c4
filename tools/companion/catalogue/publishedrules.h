#pragma once

#include "companion/catalogue/cataloguetext.h"

/// Reports what those who have the @p published entries do not see of @p text as new, and entries
/// that are gone, when those are more than @p mayGo.
void checkAgainstPublished(const CatalogueText& text, const QList<CatalogueEntry>& published,
                           qsizetype mayGo, Report& report);
