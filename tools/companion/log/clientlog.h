#pragma once

#include "companion/log/logevent.h"

#include <QList>
#include <QString>

class QByteArray;

/// One entry of a client's log.
struct LogEntry
{
    qsizetype line = 0; ///< where it begins, from 1
    QString time;       ///< as it stands: "2026-09-21T14:05:07"
    QString level;      ///< "ERROR", "WARNING", "INFO" or "DEBUG"
    QString text;       ///< of several lines where the client logged a text of several
    LogEvent event;     ///< what the text tells
};

/// The entries of a client's log, or of what the client wrote to its console, in their order. Lines
/// that belong to no entry are left out.
[[nodiscard]] QList<LogEntry> readClientLog(const QByteArray& log);
