#pragma once

#include "companion/installer/bundlecollector.h"
#include "companion/installer/bytesource.h"

/// How reading a payload has ended.
struct PayloadEnd
{
    QString unknown;        ///< why it is not known to its end; empty when it is
    bool isDamaged = false; ///< whether that is a fault of the payload
};

/// Hands what a package's payload would put below @p location, a folder's path from "/", to
/// @p collector: cpio, packed by gzip, bzip2, xz or "pbzx".
[[nodiscard]] PayloadEnd readPayload(const ByteSource& source, const QString& location,
                                     BundleCollector& collector);
