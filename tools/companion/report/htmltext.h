#pragma once

#include <QString>

/// @p text as it is to be read on a web page, in an element or in a quoted attribute: nothing of it
/// is markup, and what isUnseen() is written out as printable() does it.
[[nodiscard]] QString htmlText(const QString& text);
