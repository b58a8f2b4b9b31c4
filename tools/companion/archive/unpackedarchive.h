#pragma once

#include "install/installerchoice.h"

#include <QHash>
#include <QStringList>

#include <atomic>
#include <optional>

/// What unpacking an archive as the client does has left.
struct UnpackedArchive
{
    /// What unzip ended with; nothing where it is missing or was stopped.
    std::optional<int> unzipCode;
    QHash<QString, QList<InstallerCandidate>> candidates; ///< by processor, best first
    QStringList excluded; ///< items that would be candidates but for their names
};

/// Unpacks the archive at @p path by unzip into a temporary folder, looks at what is there as the
/// client does, and removes it; paths are relative. It gives up soon after @p isStopped has come
/// true. May be called in several threads.
[[nodiscard]] UnpackedArchive unpackArchive(const QString& path,
                                            const std::atomic<bool>& isStopped);
