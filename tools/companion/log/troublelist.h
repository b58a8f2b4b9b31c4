#pragma once

#include "companion/log/networkadvice.h"
#include "companion/log/trouble.h"

#include <QList>

struct LogEntry;

/// Collects troubles; one that comes again is told once, with the place where it came last.
class TroubleList
{
public:
    void add(const LogEntry& entry, Severity severity, const QString& kind, const QString& problem,
             const Advice& advice);
    [[nodiscard]] QList<Trouble> troubles() const { return m_troubles; }

private:
    QList<Trouble> m_troubles;
};
