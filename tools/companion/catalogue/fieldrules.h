#pragma once

#include "companion/report/finding.h"

class CatalogueFormat;

/// Reports what the client reads otherwise than it was meant in the fields of @p line, an entry
/// that it offers: bytes that are no UTF-8.
void checkFields(qsizetype number, const QString& line, const CatalogueFormat& format,
                 Report& report);
