#pragma once

#include "companion/installer/installerfacts.h"

/// What a package of one file (.pkg, .mpkg) puts below /Applications: one package, or several with
/// a Distribution. Only payloads that can reach that folder are read. @p path is the file's.
[[nodiscard]] InstallerItem readFlatPackage(const QString& path);
