#pragma once

#include <QHash>
#include <QString>

class QByteArray;

/// Application name to property key to value.
using PropertyMap = QHash<QString, QHash<QString, QString>>;

/// The name of the application whose bundle lies at @p path: "Foo" for ".../Foo.app", with every
/// ".app" in the last component gone. Empty for a bundle inside another one, which is no
/// application of its own.
[[nodiscard]] QString applicationName(const QString& path);

/// Reads bundle paths, one a line, into the "Location" of the application that a path's last
/// component names. Those in another bundle's "Contents" folder are left out. Of several bundles of
/// one name the first stays, unless a later one lies under "/Applications/".
[[nodiscard]] PropertyMap parseBundlePaths(const QByteArray& output);

/// Reads the text report of `system_profiler SPApplicationsDataType`: each application's keys and
/// values as printed. Deliberately, an application keeps earlier ones' keys that its block lacks.
[[nodiscard]] PropertyMap parseSystemProfilerReport(const QByteArray& output);

/// The value that `plutil -extract KEY raw PATH` printed, in UTF-8, without the blanks around it.
/// Empty for a failure, which Apple's tells on standard output too: "PATH: " and what went wrong.
[[nodiscard]] QString parsePlutilValue(const QByteArray& output, const QString& path);
