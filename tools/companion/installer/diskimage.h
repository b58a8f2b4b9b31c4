#pragma once

#include "companion/installer/ziparchive.h"

/// What the disk image at @p path brings: its applications, where the user moves one into
/// /Applications, or the one package that lies in it, read by @p readItem. 7-Zip reads the image.
[[nodiscard]] InstallerItem readDiskImage(const QString& path, const ItemReader& readItem);
