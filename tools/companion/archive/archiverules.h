#pragma once

#include "companion/archive/archivecontent.h"

/// The processors that the client tells apart.
[[nodiscard]] const QStringList& processors();

/// What harms those who download the archive; of many items with one rule the first is named.
[[nodiscard]] QList<Finding> archiveFindings(const ArchiveContent& archive);

/// Whether the client would open an item of @p archive that is named as the one it would have
/// opened of the release before, @p previous.
[[nodiscard]] QList<Finding> repetitionFindings(const ArchiveContent& archive,
                                                const ArchiveContent& previous);

/// Whether the bundle that the client would open has the version that the catalogue tells.
[[nodiscard]] QList<Finding> bundleFindings(const ArchiveContent& archive,
                                            const QString& catalogueVersion);
