#pragma once

#include <QString>

/// @p folder with a leading "~" replaced by the user's home folder. Only that one character is:
/// "~x" becomes the home folder's path followed by "x".
[[nodiscard]] QString withHomeWrittenOut(const QString& folder);
