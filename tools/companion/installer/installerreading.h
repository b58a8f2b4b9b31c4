#pragma once

#include "companion/installer/installerfacts.h"

/// Reads in this process what the installer at @p path would put into /Applications; by its name's
/// ending, as the client and the Finder do. Writes into the temporary folder alone.
///
/// An installer may be made to harm who reads it: readInstallers() in installerreader.h reads in a
/// process of its own.
[[nodiscard]] InstallerFacts readInstaller(const QString& path);
