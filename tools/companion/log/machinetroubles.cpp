#include "companion/log/machinetroubles.h"

#include "companion/log/clientlog.h"
#include "companion/log/troublelist.h"
#include "profiler/applicationmatch.h"

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

bool readScan(const LogEntry& entry, TroubleList& list)
{
    static const QRegularExpression found(u"^SysProfiler \\[.*\\] — (\\d+) apps found$"_s);
    static const QRegularExpression ended(
        u"^SysProfiler - data updated \\(execution duration: (.*)s\\)$"_s);
    static const QRegularExpression unreadable(
        u"^SysProfiler - Cannot read version for '(.*)' — plist: (.*)$"_s);

    if (const auto match = found.match(entry.text); match.hasMatch()) {
        if (match.captured(1).toLongLong() == 0) {
            list.add(entry, Severity::Warning, u"scan-empty"_s,
                     u"The scan found no installed application, so every row says not installed."_s,
                     {u"The system kept the client from reading /Applications, or its find command "
                      "failed."_s,
                      u"Scan again; check the client's access to files in the system's privacy "
                      "settings."_s});
        }
        return true;
    }
    if (const auto match = ended.match(entry.text); match.hasMatch()) {
        if (match.captured(1).toDouble() >= 30) {
            list.add(entry, Severity::Warning, u"scan-timeout"_s,
                     u"The scan was stopped after 30 seconds; applications may be missing."_s,
                     {u"The disk is very slow, or /Applications holds a slow network folder."_s,
                      u"Scan again when the machine is idle."_s});
        }
        return true;
    }
    if (const auto match = unreadable.match(entry.text); match.hasMatch()) {
        list.add(
            entry, Severity::Warning, u"version-unreadable"_s,
            u"The version of '%1' cannot be read from %2."_s.arg(match.captured(1),
                                                                 match.captured(2)),
            {u"The bundle has no Info.plist, or one without CFBundleShortVersionString and "
             "CFBundleLongVersionString, or it is half installed. The version counts as 0, so the "
             "row offers an update whatever is installed."_s,
             u"Install the application again; if the maker's bundle is so, leave it out of the "
             "catalogue."_s});
        return true;
    }
    return false;
}

bool readSeveralCandidates(const LogEntry& entry, TroubleList& list)
{
    static const QRegularExpression several(
        u"^Profiler - '(.*)' → \\d+ candidates: \\[(.*)\\] → matched '(.*)' v.*$"_s,
        QRegularExpression::DotMatchesEverythingOption);
    const auto match = several.match(entry.text);
    if (!match.hasMatch()) {
        return false;
    }
    const QString name = match.captured(1);
    const QString chosen = match.captured(3);
    const QString problem =
        u"Several installed applications begin with '%1': %2. The row shows '%3'."_s.arg(
            name, match.captured(2), chosen);
    if (isVersionOf(name, chosen)) {
        list.add(
            entry, Severity::Note, u"match-ambiguous"_s, problem,
            {u"Of the names that differ by digits, dots and blanks alone, the newest version is "
             "taken."_s,
             u"Nothing if that is the right one; else give the entry its application's whole "
             "name."_s});
    } else {
        list.add(
            entry, Severity::Warning, u"match-fallback"_s, problem,
            {u"None of the names differs by digits, dots and blanks alone, so the first one is "
             "taken; it may be another product."_s,
             u"Give the catalogue's entry the whole name of its application."_s});
    }
    return true;
}

bool readMatch(const LogEntry& entry, TroubleList& list)
{
    static const QRegularExpression single(u"^Profiler - '(.*)' → matched '(.*)' v.*$"_s,
                                           QRegularExpression::DotMatchesEverythingOption);
    if (!entry.text.startsWith("Profiler - '"_L1)) {
        return false;
    }
    if (readSeveralCandidates(entry, list)) {
        return true;
    }
    const auto match = single.match(entry.text);
    if (match.hasMatch() && !isVersionOf(match.captured(1), match.captured(2))) {
        list.add(entry, Severity::Warning, u"match-other-name"_s,
                 u"The row '%1' shows the installed '%2', the only one whose name begins so."_s.arg(
                     match.captured(1), match.captured(2)),
                 {u"A single application is taken whatever its name ends in; it may be another "
                  "product."_s,
                  u"If it is, give the catalogue's entry the whole name of its application."_s});
    }
    return true;
}

bool readSettings(const LogEntry& entry, TroubleList& list)
{
    static const QStringList messages = {
        u"Cannot read file "_s, u"XML error: "_s, u"Failed to copy default config: "_s,
        u"Default config file is Unknown..."_s, u"Saving failed"_s};
    if (!std::any_of(messages.cbegin(), messages.cend(),
                     [&entry](const QString& message) { return entry.text.startsWith(message); })) {
        return false;
    }
    list.add(entry, Severity::Error, u"settings"_s,
             u"The settings could not be read or written: "_s + entry.text,
             {u"config.xml is damaged, or its folder may not be written to."_s,
              u"Close the client, move config.xml away and start it again: it makes a new one."_s});
    return true;
}

} // namespace

bool readMachineTroubles(const LogEntry& entry, TroubleList& list)
{
    return readScan(entry, list) || readMatch(entry, list) || readSettings(entry, list);
}
