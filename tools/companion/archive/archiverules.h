#pragma once

#include "companion/archive/archivecontent.h"

/// The processors that the client tells apart.
[[nodiscard]] const QStringList& processors();

/// What harms those who download the archive; of many items of one trouble the first is named.
[[nodiscard]] QList<ArchiveTrouble> archiveTroubles(const ArchiveContent& archive);

/// Whether the client would open an item of @p archive that is named as the one it would have
/// opened of the release before, @p previous.
[[nodiscard]] QList<ArchiveTrouble> repetitionTroubles(const ArchiveContent& archive,
                                                       const ArchiveContent& previous);

/// Whether the bundle that the client would open has the version that the catalogue tells.
[[nodiscard]] QList<ArchiveTrouble> bundleTroubles(const ArchiveContent& archive,
                                                   const QString& catalogueVersion);
