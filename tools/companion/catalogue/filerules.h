#pragma once

#include "companion/catalogue/published.h"

#include <atomic>

class Progress;

/// Which installers are looked at, and how.
struct FileTask
{
    QString folder;          ///< lies behind the soft path; empty when none are looked at
    bool isThorough = false; ///< unpacks each archive, too
};

/// Reports the file names of @p entries that the client cannot ask for or save.
void checkFileNames(const QList<CatalogueEntry>& entries, Report& report);

/// Reports what is wrong with the files of @p task for the entries of @p text, and with the
/// archives among them. @p published is the catalogue that users have now, empty where there is
/// none. What is read is told on @p progress. Ends soon after @p isStopped has come true. Returns
/// how many files were read.
qsizetype checkFiles(const CatalogueText& text, const FileTask& task, const Published& published,
                     Report& report, Progress& progress, const std::atomic<bool>& isStopped);
