#pragma once

#include "companion/installer/installerfacts.h"

#include <functional>

/// Reads an installer that is one file, unpacked to @p path from an archive.
using ItemReader = std::function<InstallerItem(const QString& path)>;

/// What the clients open in the .zip archive at @p path, and what that would bring. An item that is
/// an installer itself is unpacked into the temporary folder and read by @p readItem.
[[nodiscard]] InstallerFacts readZipArchive(const QString& path, const ItemReader& readItem);
