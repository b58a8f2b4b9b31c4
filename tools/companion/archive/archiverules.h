#pragma once

#include "companion/archive/archivecontent.h"
#include "companion/archive/unpackedarchive.h"

/// One finding a rule, with the number of those left out.
[[nodiscard]] QList<Finding> firstOfEachRule(const QList<Finding>& findings);

/// Whether the archive is larger than what is unpacked here.
[[nodiscard]] bool isTooLarge(const ArchiveContent& archive);

/// What harms those who download the archive; of many items with one rule the first is named. Where
/// unzip has unpacked it, what @p unpacked tells counts, not what the directory lets expect.
[[nodiscard]] QList<Finding> archiveFindings(const ArchiveContent& archive,
                                             const UnpackedArchive& unpacked = {});

/// Whether the client would open an item of @p archive that is named as the one it would have
/// opened of the release before, @p previous.
[[nodiscard]] QList<Finding> repetitionFindings(const ArchiveContent& archive,
                                                const ArchiveContent& previous);
