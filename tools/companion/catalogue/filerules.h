#pragma once

#include "companion/catalogue/published.h"

class Progress;

/// Reports the file names of @p entries that the client cannot ask for or save.
void checkFileNames(const QList<CatalogueEntry>& entries, Report& report);

/// Reports what is wrong with the files in @p folder, which lies behind the soft path, for the
/// entries of @p text, and with the archives among them. @p published is the catalogue that users
/// have now, empty where there is none. What is read is told on
/// @p progress. Returns how many files were read.
qsizetype checkFiles(const CatalogueText& text, const QString& folder, const Published& published,
                     Report& report, Progress& progress);
