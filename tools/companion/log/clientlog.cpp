#include "companion/log/clientlog.h"

#include "app/debug.h"
#include "companion/log/matchline.h"
#include "system/scanparser.h"

#include <QIODevice>
#include <QRegularExpression>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

using namespace Qt::Literals::StringLiterals;
using namespace Logged;

namespace {

/// A line that is nothing but its beginning.
template <typename Event>
LogEvent alone(const QString& rest)
{
    return rest.isEmpty() ? LogEvent(Event{}) : LogEvent();
}

/// A line of which what follows its beginning says nothing more.
template <typename Event>
LogEvent begun(const QString&)
{
    return Event{};
}

/// A line whose event is what follows its beginning.
template <typename Event>
LogEvent of(const QString& rest)
{
    return Event{rest};
}

LogEvent scanEnd(const QString& rest)
{
    static const QRegularExpression duration(u"^ \\(execution duration: (.*)s\\)$"_s);
    return ScanEnded{duration.match(rest).captured(1).toDouble()};
}

LogEvent unreadableVersion(const QString& rest)
{
    static const QRegularExpression names(u"^(.*)' — plist: (.*)$"_s);
    const auto match = names.match(rest);
    return match.hasMatch() ? LogEvent(VersionUnreadable{match.captured(1), match.captured(2)})
                            : LogEvent();
}

LogEvent download(const QString& rest)
{
    static const QRegularExpression names(u"^(.*)' → (aborted, )?(.*)$"_s,
                                          QRegularExpression::DotMatchesEverythingOption);
    const auto match = names.match(rest);
    if (!match.hasMatch()) {
        return {};
    }
    const QString row = match.captured(1);
    return match.hasCaptured(2) ? LogEvent(DownloadAborted{row})
                                : LogEvent(DownloadBegun{row, match.captured(3)});
}

LogEvent extraction(const QString& rest)
{
    return ExtractionBegun{rest.section(u" → "_s, 0, -2)};
}

LogEvent failedExtraction(const QString& rest)
{
    static const QRegularExpression end(u"^(\\d+)\\)(?:: (.*))?$"_s,
                                        QRegularExpression::DotMatchesEverythingOption);
    const auto match = end.match(rest);
    return match.hasMatch() ? LogEvent(ExtractionFailed{match.captured(1).toInt(),
                                                        match.captured(2).simplified()})
                            : LogEvent();
}

/// A line that its first words tell.
struct Line
{
    QLatin1StringView words;
    LogEvent (*read)(const QString& rest);
};

constexpr std::array lines = {
    Line{"WebProfiler - data Updating..."_L1, alone<CatalogueLoadBegun>},
    Line{"WebProfiler - Network timeout for: "_L1, of<CatalogueTimedOut>},
    Line{"WebProfiler - Network error: "_L1, of<CatalogueFailed>},
    Line{"WebProfiler - First attempt failed"_L1, begun<CatalogueRetried>},
    Line{"WebProfiler - data updated"_L1, begun<CatalogueLoadEnded>},
    Line{"SysProfiler - data Updating..."_L1, alone<ScanBegun>},
    Line{"SysProfiler - data updated"_L1, scanEnd},
    Line{"SysProfiler - Cannot read version for '"_L1, unreadableVersion},
    Line{"Cannot read file "_L1, begun<SettingsFailed>},
    Line{"XML error: "_L1, begun<SettingsFailed>},
    Line{"Failed to copy default config: "_L1, begun<SettingsFailed>},
    Line{"Default config file is Unknown..."_L1, begun<SettingsFailed>},
    Line{"Saving failed"_L1, begun<SettingsFailed>},
    Line{"Config - Download folder: "_L1, of<DownloadFolderSet>},
    Line{"Download - Saved: "_L1, of<DownloadSaved>},
    Line{"Download - Error: "_L1, of<DownloadFailed>},
    Line{"Download - '"_L1, download},
    Line{"Extract - Starting: "_L1, extraction},
    Line{"Extract - Done"_L1, alone<ExtractionDone>},
    Line{"Extract - Failed (exit code "_L1, failedExtraction},
    Line{"Extract - No installable file found in archive"_L1, alone<NothingToOpen>},
    Line{"Extract - Cannot start unzip: "_L1, of<UnzipNotStarted>},
};

LogEvent eventOf(const QString& text)
{
    const auto* line = std::find_if(lines.begin(), lines.end(), [&text](const Line& candidate) {
        return text.startsWith(candidate.words);
    });
    return line == lines.end() ? LogEvent() : line->read(text.sliced(line->words.size()));
}

/// How many applications the line that begins a scan's list announces; nothing for another line.
std::optional<qsizetype> announcedCount(const QString& text)
{
    static const QRegularExpression pattern(u"^SysProfiler \\[.*\\] — (\\d+) apps found$"_s);
    const auto match = pattern.match(text);
    return match.hasMatch() ? std::optional<qsizetype>(match.captured(1).toLongLong())
                            : std::nullopt;
}

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

/// Sets the events of a log's entries, in their order: the lines of one scan's list make one event,
/// and decide how the matches after it are read.
class EventReader
{
public:
    void read(LogEntry& entry)
    {
        if (const auto announced = announcedCount(entry.text)) {
            m_list = ScanResult{*announced, {}};
            m_lastOfList = &entry;
            endList();
        } else if (const QString name = listedName(entry.text); m_list && !name.isEmpty()) {
            m_list->names.insert(
                std::lower_bound(m_list->names.cbegin(), m_list->names.cend(), name), name);
            m_lastOfList = &entry;
            endList();
        } else if (auto match = readMatchLine(entry.text, m_installed)) {
            entry.event = *std::move(match);
        } else {
            entry.event = eventOf(entry.text);
        }
    }

    /// The log has ended.
    void finish()
    {
        if (m_list) {
            m_lastOfList->event = *std::move(m_list);
        }
    }

private:
    void endList()
    {
        if (m_list->isWhole()) {
            m_installed = m_list->names;
            m_lastOfList->event = *std::exchange(m_list, std::nullopt);
        }
    }

    QStringList m_installed;          ///< as the last whole list tells
    std::optional<ScanResult> m_list; ///< the one that the log is within
    LogEntry* m_lastOfList = nullptr;
};

/// Whether @p line is the one that a log begins with: "=== Quillmere 26.3.0 — ... ===".
bool isHeader(const QString& line)
{
    return line.startsWith("=== "_L1) && line.endsWith(" ==="_L1);
}

QList<LogEntry> entriesOf(const QByteArray& log)
{
    static const QRegularExpression pattern(
        uR"(^(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d) \[(%1)\] (.*)$)"_s.arg(Debug::LEVEL.join(u'|')),
        QRegularExpression::DotMatchesEverythingOption);
    QList<LogEntry> entries;
    QTextStream stream(log, QIODevice::ReadOnly);
    QString line;
    bool isContinued = false;
    for (qsizetype number = 1; stream.readLineInto(&line); ++number) {
        if (const auto match = pattern.match(line); match.hasMatch()) {
            entries.append({number, match.captured(1), match.captured(2), match.captured(3), {}});
            isContinued = true;
        } else if (isHeader(line)) {
            isContinued = false;
        } else if (isContinued) {
            entries.last().text += u'\n' + line;
        }
    }
    return entries;
}

} // namespace

QList<LogEntry> readClientLog(const QByteArray& log)
{
    QList<LogEntry> entries = entriesOf(log);
    EventReader reader;
    for (LogEntry& entry : entries) {
        reader.read(entry);
    }
    reader.finish();
    return entries;
}
