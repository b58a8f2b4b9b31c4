#pragma once

#include "companion/installer/propertyvalues.h"

/// Reads a property list in the old text form: { key = value; }, with or without the outer braces.
[[nodiscard]] PropertyList readAsciiPropertyList(const QString& text);
