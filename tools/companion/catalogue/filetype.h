#pragma once

#include <QString>

/// Why the file at @p path is not what the ending of @p name says, by its first and last bytes:
/// "is a web page", "is no disk image"; empty when it is, or when the ending says nothing.
[[nodiscard]] QString wrongFileType(const QString& path, const QString& name);
