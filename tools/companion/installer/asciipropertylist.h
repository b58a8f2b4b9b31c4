#pragma once

#include "companion/installer/propertylist.h"

/// Reads a property list in the old text form: { key = value; }, with or without the outer braces.
[[nodiscard]] PropertyList readAsciiPropertyList(const QString& text);
