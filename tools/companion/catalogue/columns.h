#pragma once

#include <QString>

/// The titles of the columns that the client reads.
namespace Column {

inline const QString version = QStringLiteral("Version");
inline const QString date = QStringLiteral("Release date");
inline const QString fileName = QStringLiteral("Filename");
inline const QString ignored = QStringLiteral("Ignored");

} // namespace Column
