#pragma once

#include "support/httpserver.h"

/// The title line of a catalogue, and one with the entry "Atlas" 2.0.
inline const QByteArray catalogueHeader = "Name,Version,Release date,Filename,Ignored\n";
inline const QByteArray smallCatalogue = catalogueHeader + "Atlas,2.0,2026-01-31,tool.dmg,0\n";

/// One piece of a body that comes in chunks; an empty one ends it.
[[nodiscard]] QByteArray chunk(const QByteArray& bytes);
[[nodiscard]] HttpReply redirect(const QByteArray& location);
[[nodiscard]] HttpReply chunked(const QByteArray& body);
/// The same byte by byte, so that the end of the connection comes after the last byte: of an end
/// that comes together with it, see cutChunksFailOrAreTakenAsWhole().
[[nodiscard]] HttpReply trickled(const QByteArray& body);
/// The format of `gzip` around what qCompress() yields.
[[nodiscard]] QByteArray gzipped(const QByteArray& content);
