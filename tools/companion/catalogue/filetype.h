#pragma once

#include <QByteArray>
#include <QString>

/// Whether a file that begins with @p start is a web page.
[[nodiscard]] bool isWebPage(const QByteArray& start);

/// Why the file at @p path is not what the ending of @p name says, by its first and last bytes:
/// "is a web page", "is no disk image"; empty when it is, or when the ending says nothing.
[[nodiscard]] QString wrongFileType(const QString& path, const QString& name);
