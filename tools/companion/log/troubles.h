#pragma once

#include "companion/log/clientlog.h"
#include "companion/log/trouble.h"

#include <QList>

/// The troubles that the entries of a client's log show, the newest first.
[[nodiscard]] QList<Trouble> logTroubles(const QList<LogEntry>& log);
