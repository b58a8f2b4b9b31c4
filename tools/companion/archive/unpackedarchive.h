#pragma once

#include "install/installerchoice.h"

#include <QHash>
#include <QStringList>

#include <functional>
#include <optional>

/// What unpacking an archive as the client does has left.
struct UnpackedArchive
{
    /// What unzip ended with; nothing where it was not tried or was stopped.
    std::optional<int> unzipCode;
    QString obstacle; ///< what of this machine has kept it from being tried; empty when nothing
    QHash<QString, QList<InstallerCandidate>> candidates; ///< by processor, best first
    QStringList excluded;    ///< items that would be candidates but for their names
    QList<QByteArray> names; ///< of items that are not all ASCII, as they lie on the disk
};

/// Unpacks the archive at @p path by unzip into a temporary folder, looks at what is there as the
/// client does, and removes it; paths are relative. Meanwhile it asks @p goesOn ten times a second,
/// and gives up when that says no. May be called in several threads.
[[nodiscard]] UnpackedArchive unpackArchive(const QString& path,
                                            const std::function<bool()>& goesOn);
