#pragma once

#include <QByteArray>
#include <QStringList>

/// What the real `zip` makes of @p paths, files or, ending in "/", folders. A file holds "of " and
/// its path.
[[nodiscard]] QByteArray zipped(const QStringList& paths, const QStringList& options = {});

/// The archive that a Python @p script writes into `archive`, a zipfile.ZipFile; with
/// `link(archive, name, target)`.
[[nodiscard]] QByteArray zippedBy(const QByteArray& script);
