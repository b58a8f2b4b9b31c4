#pragma once

#include "companion/report/finding.h"

class CatalogueFormat;

// Both look at the fields that the client reads of an entry that it offers, @p line.

/// Reports a field that has bytes that are no UTF-8.
void checkEncoding(qsizetype number, const QString& line, const CatalogueFormat& format,
                   Report& report);

/// Reports a field whose quotes the client reads otherwise than a spreadsheet writes them: doubled
/// inside, or without a partner at its end.
void checkQuotes(qsizetype number, const QString& line, const CatalogueFormat& format,
                 Report& report);
