#pragma once

#include "companion/installer/bundlecollector.h"

#include <QByteArray>
#include <QString>

/// 7-Zip as a child process, which has a reader's limits. It reads what no library does: disk
/// images and their file systems.
namespace SevenZip {

/// Its path, by either of its usual names, 7z and 7zz; empty where it is missing.
[[nodiscard]] QString program();

struct Listing
{
    QList<BundleCollector::Entry> entries; ///< as `7z l` tells them
    QString error;                         ///< why there are none; empty when there are
};

/// What the file at @p archive holds.
[[nodiscard]] Listing list(const QString& archive);
/// The entries that the output of `7z l -slt -ba` tells.
[[nodiscard]] QList<BundleCollector::Entry> parseListing(const QByteArray& output);

/// The first bytes of the member at @p path, @p most of them; empty where it cannot be read.
[[nodiscard]] QByteArray start(const QString& archive, const QString& path, qint64 most);
/// Writes the member at @p path into the file @p target; whether that went well.
[[nodiscard]] bool copyTo(const QString& archive, const QString& path, const QString& target);

} // namespace SevenZip
