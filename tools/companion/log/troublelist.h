#pragma once

#include "companion/log/networkadvice.h"
#include "companion/log/troubles.h"

#include <optional>

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

/// What follows @p prefix in @p text; nothing when the text begins otherwise.
[[nodiscard]] std::optional<QString> textBehind(const QString& text, QLatin1StringView prefix);
