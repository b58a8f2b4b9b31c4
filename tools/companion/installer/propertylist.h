#pragma once

#include "companion/installer/propertyvalues.h"

#include <QByteArray>

/// Reads a property list: XML, binary, or the old text form.
[[nodiscard]] PropertyList readPropertyList(const QByteArray& bytes);

/// The version that the client reads from an installed bundle with this Info.plist: by its own
/// reading of XML text, else what plutil tells.
[[nodiscard]] KnownText clientVersion(const QByteArray& infoPlist);
