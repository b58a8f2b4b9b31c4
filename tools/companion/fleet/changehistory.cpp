#include "companion/fleet/changehistory.h"

#include <algorithm>
#include <tuple>

namespace {

/// What is installed, as the lines tell it one after another.
class Replay
{
public:
    void apply(const OsqueryLine& line)
    {
        if (line.kind == OsqueryLine::Snapshot) {
            m_applications = line.added;
            m_isFull = true;
            m_firstRun.reset();
            return;
        }
        // The first run of a query adds all that is installed, one row a line.
        if (line.counter == 0 && m_firstRun != std::pair(line.epoch, line.time)) {
            m_applications.clear();
            m_isFull = true;
            m_firstRun = {line.epoch, line.time};
        }
        for (const RecordedApplication& gone : line.removed) {
            m_applications.removeOne(gone);
        }
        m_applications += line.added;
    }

    [[nodiscard]] std::optional<QList<RecordedApplication>> result() const
    {
        return m_isFull ? std::optional(m_applications) : std::nullopt;
    }

private:
    QList<RecordedApplication> m_applications;
    std::optional<std::pair<qint64, qint64>> m_firstRun; ///< epoch and time of the last first run
    bool m_isFull = false;
};

/// Whether @p line changes nothing that matters, and so nothing after @p last.
bool isSuperfluous(const OsqueryLine& line, const OsqueryLine* last)
{
    if (line.kind == OsqueryLine::Snapshot || !line.added.isEmpty() || !line.removed.isEmpty()) {
        return false;
    }
    return line.counter != 0 || (last && last->kind == line.kind && last->counter == 0 &&
                                 last->epoch == line.epoch && last->time == line.time);
}

} // namespace

void ChangeHistory::add(const OsqueryLine& line, RecordPlace place)
{
    QList<Entry>& entries = m_lines[line.machine];
    if (!isSuperfluous(line, entries.isEmpty() ? nullptr : &entries.constLast().line)) {
        entries.append({line, place});
    }
}

std::optional<QList<RecordedApplication>> ChangeHistory::applications(const QString& machine) const
{
    QList<Entry> entries = m_lines.value(machine);
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        return std::tie(a.line.time, a.place) < std::tie(b.line.time, b.place);
    });
    Replay replay;
    for (const Entry& entry : std::as_const(entries)) {
        replay.apply(entry.line);
    }
    return replay.result();
}
