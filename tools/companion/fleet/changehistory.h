#pragma once

#include "companion/fleet/osqueryrecord.h"
#include "companion/fleet/recordindex.h"

/// Replays the lines of machines that log changes, whatever order they are met in.
///
/// Keeps of each such machine the applications that matter.
class ChangeHistory
{
public:
    void add(const OsqueryLine& line, RecordPlace place);

    [[nodiscard]] QStringList machines() const { return m_lines.keys(); }
    /// What is installed after all changes of @p machine; nothing when no line tells all that was
    /// installed before.
    [[nodiscard]] std::optional<QList<RecordedApplication>>
    applications(const QString& machine) const;

private:
    struct Entry
    {
        OsqueryLine line;
        RecordPlace place;
    };
    QMap<QString, QList<Entry>> m_lines; ///< by machine
};
