#pragma once

#include "companion/fleet/installed.h"

/// What a line of osquery's results log says of a machine's applications.
struct OsqueryLine
{
    enum Kind
    {
        Other,    ///< nothing: another query's
        Snapshot, ///< all that is installed
        Change    ///< what came and went since the former line
    };

    Kind kind = Other;
    QString machine;
    qint64 time = 0;                  ///< seconds since 1970
    qint64 epoch = 0;                 ///< with a new one the changes begin anew
    qint64 counter = 0;               ///< 0 where a change adds all that is installed
    QList<RecordedApplication> added; ///< a snapshot's rows too
    QList<RecordedApplication> removed;
};

/// Reads a snapshot, an added or removed row, or a batch of both. Applications that @p filter does
/// not admit are left out. Nothing when the line is damaged.
[[nodiscard]] std::optional<OsqueryLine> readOsqueryLine(QByteArrayView line,
                                                         const NameFilter& filter);

/// The same without the applications, and much faster.
[[nodiscard]] std::optional<OsqueryLine> readOsqueryHead(QByteArrayView line);

/// Reads what `osqueryi --json` prints, an array of rows; nothing when it is damaged or of another
/// table.
[[nodiscard]] std::optional<QList<RecordedApplication>> readOsqueryRows(QByteArrayView json,
                                                                        const NameFilter& filter);
