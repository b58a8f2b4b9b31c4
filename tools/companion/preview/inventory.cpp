#include "companion/preview/inventory.h"

#include "companion/log/clientlog.h"
#include "system/nameprefix.h"
#include "system/scanparser.h"
#include "system/sysprofiler.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The application that a line of a scan's list names, "  + Synth (/Applications/Synth.app)"; empty
/// for any other line. A name can hold " (" itself: the path decides where it ends.
QString listedName(const QString& text)
{
    if (!text.startsWith("  + "_L1) || !text.endsWith(u')')) {
        return {};
    }
    const QString entry = text.sliced(4).chopped(1);
    for (qsizetype at = entry.indexOf(" ("_L1); at >= 0; at = entry.indexOf(" ("_L1, at + 1)) {
        const QString name = entry.first(at);
        if (parseBundlePaths(entry.sliced(at + 2).toUtf8()).contains(name)) {
            return name;
        }
    }
    return {};
}

/// The versions of @p candidates in @p list, "'Synth' v1.0, 'Synth 2' v2.0"; empty unless the list
/// has exactly these candidates. A version has no blank: what has one is part of a name.
QStringList listedVersions(const QString& list, const QStringList& candidates)
{
    QStringList versions;
    qsizetype at = 0;
    for (qsizetype i = 0; i < candidates.size(); ++i) {
        const QString head = u'\'' + candidates[i] + "' v"_L1;
        if (!QStringView(list).sliced(at).startsWith(head)) {
            return {};
        }
        at += head.size();
        const bool isLast = i + 1 == candidates.size();
        const qsizetype end =
            isLast ? list.size() : list.indexOf(", '"_L1 + candidates[i + 1] + "' v"_L1, at);
        if (end < 0 || QStringView(list).sliced(at, end - at).contains(u' ')) {
            return {};
        }
        versions.append(list.sliced(at, end - at));
        at = isLast ? end : end + 2;
    }
    return versions;
}

/// One scan's result, read from a log line by line.
class LoggedScan
{
public:
    explicit LoggedScan(qsizetype size) : m_size(size) {}

    [[nodiscard]] bool isWhole() const { return m_names.size() >= m_size; }

    void addName(const QString& name)
    {
        m_names.insert(std::lower_bound(m_names.cbegin(), m_names.cend(), name), name);
    }

    /// Keeps the versions that @p text tells if it is a match's line.
    void readMatch(const QString& text)
    {
        const QLatin1StringView head = "Profiler - '"_L1;
        const QString arrow = u"' → "_s;
        if (!text.startsWith(head)) {
            return;
        }
        // A name can hold an arrow itself: the installed names decide where it ends.
        for (qsizetype at = text.indexOf(arrow, head.size()); at >= 0;
             at = text.indexOf(arrow, at + 1)) {
            const QString name = text.sliced(head.size(), at - head.size());
            if (readOutcome(text.sliced(at + arrow.size()), namesWithPrefix(m_names, name))) {
                return;
            }
        }
    }

    [[nodiscard]] Inventory inventory() const
    {
        return {m_names,
                [versions = m_versions](const QString& name) {
                    const auto version = versions.constFind(name);
                    return version == versions.cend() ? std::nullopt : std::optional(*version);
                },
                isWhole()};
    }

private:
    /// Reads what follows a name's arrow; false when that is not how @p candidates would be told.
    bool readOutcome(const QString& outcome, const QStringList& candidates)
    {
        if (candidates.size() == 1) {
            const QLatin1StringView head = "matched "_L1;
            return outcome.startsWith(head) &&
                   keepVersions(outcome.sliced(head.size()), candidates);
        }
        const QString head = u"%1 candidates: ["_s.arg(candidates.size());
        const QString tail = u"] → matched '"_s;
        if (!outcome.startsWith(head)) {
            return false;
        }
        // A name can hold the list's end itself.
        for (qsizetype end = outcome.indexOf(tail, head.size()); end >= 0;
             end = outcome.indexOf(tail, end + 1)) {
            if (keepVersions(outcome.sliced(head.size(), end - head.size()), candidates)) {
                return true;
            }
        }
        return false;
    }

    bool keepVersions(const QString& list, const QStringList& candidates)
    {
        const QStringList versions = listedVersions(list, candidates);
        for (qsizetype i = 0; i < versions.size(); ++i) {
            m_versions.insert(candidates[i], versions[i]);
        }
        return !versions.isEmpty();
    }

    qsizetype m_size; ///< that the log announces
    QStringList m_names;
    QHash<QString, QString> m_versions;
};

} // namespace

Inventory noInventory()
{
    return {{}, [](const QString&) { return std::optional<QString>(); }};
}

Inventory scannedInventory()
{
    const auto scan = std::make_shared<SysProfiler>();
    scan->update();
    return {scan->find({}),
            [scan](const QString& name) { return std::optional(scan->getVersion(name)); }};
}

std::optional<Inventory> loggedInventory(const QByteArray& log)
{
    static const QRegularExpression begin(u"^SysProfiler \\[.*\\] — (\\d+) apps found$"_s);
    std::optional<LoggedScan> last;
    std::optional<LoggedScan> growing; // the last scan until all its applications are listed
    for (const LogEntry& entry : readClientLog(log)) {
        if (const auto match = begin.match(entry.text); match.hasMatch()) {
            growing.emplace(match.captured(1).toLongLong());
        } else if (const QString name = listedName(entry.text); growing && !name.isEmpty()) {
            growing->addName(name);
        } else if (last) {
            last->readMatch(entry.text);
        }
        if (growing && growing->isWhole()) {
            last.swap(growing);
            growing.reset();
        }
    }
    if (!last) {
        last = growing;
    }
    return last ? std::optional(last->inventory()) : std::nullopt;
}
