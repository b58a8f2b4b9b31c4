#pragma once

#include <QString>

/// The colour map's key for a row: the decimal text of @p order (-1, 0 or 1 as the installed
/// version is older than, equal to or newer than the catalogue's), or an empty text when not
/// installed.
[[nodiscard]] QString rowColorKey(bool isInstalled, int order);

/// The verdict that the row's colour shows, in words for those who cannot see it.
[[nodiscard]] QString rowVerdict(bool isInstalled, int order);
