#pragma once

#include "companion/catalogue/cataloguetext.h"

#include <QDateTime>

/// The catalogue that users have now.
struct Published
{
    CatalogueText text;
    QDateTime changed; ///< when its file was written; invalid where it came from an address
    QString error;     ///< why nothing can be compared with it; empty when something can
};

/// Reads the published catalogue from the file or address @p place. What has no entries, or
/// entries without versions, is an error: comparing with it would find nothing, whatever is wrong.
[[nodiscard]] Published readPublished(const QString& place, const QString& separator);
