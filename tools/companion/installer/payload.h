#pragma once

#include "companion/installer/bundlecollector.h"
#include "companion/installer/bytesource.h"

/// Hands what a package's payload would put below @p location, a folder's path from "/", to
/// @p collector: cpio, packed by gzip, bzip2, xz or "pbzx". Returns why it is not known to the end,
/// empty when it is.
[[nodiscard]] QString readPayload(const ByteSource& source, const QString& location,
                                  BundleCollector& collector);
