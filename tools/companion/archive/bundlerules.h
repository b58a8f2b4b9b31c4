#pragma once

#include "companion/archive/archivecontent.h"

/// What is wrong with the item at @p path of an archive once the client opens it: torn out of a
/// bundle, run where it was downloaded to, or a bundle that cannot be started.
[[nodiscard]] QList<Finding> openedItemFindings(const ArchiveContent& archive, const QString& path);

/// Items of an archive that are one on a file system that takes small and capital letters for the
/// same.
[[nodiscard]] QList<Finding> letterCaseFindings(const ArchiveContent& archive);
