#pragma once

#include "support/cataloguetext.h"
#include "support/httpserver.h"

/// A catalogue with the entry "Atlas" 2.0.
inline const QByteArray smallCatalogue =
    catalogueTitles + catalogueLine("Atlas", "2.0", "2026-01-31", "tool.dmg");

/// One piece of a body that comes in chunks; an empty one ends it.
[[nodiscard]] QByteArray chunk(const QByteArray& bytes);
[[nodiscard]] HttpReply redirect(const QByteArray& location);
[[nodiscard]] HttpReply chunked(const QByteArray& body);
/// The same byte by byte, so that the end of the connection comes after the last byte: of an end
/// that comes together with it, see cutChunksFailOrAreTakenAsWhole().
[[nodiscard]] HttpReply trickled(const QByteArray& body);
/// The format of `gzip` around what qCompress() yields.
[[nodiscard]] QByteArray gzipped(const QByteArray& content);
