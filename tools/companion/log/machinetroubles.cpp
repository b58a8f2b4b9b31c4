#include "companion/log/machinetroubles.h"

#include "companion/log/clientlog.h"
#include "companion/log/troublelist.h"
#include "profiler/applicationmatch.h"

using namespace Qt::Literals::StringLiterals;

namespace {

using Logged::RowMatched;

constexpr double longestScan = 30; // seconds, then the client stops it

void tell(const LogEntry& entry, const Logged::ScanResult& scan, TroubleList& list)
{
    if (scan.announced == 0) {
        list.add(entry, Severity::Warning, u"scan-empty"_s,
                 u"The scan found no installed application, so every row says not installed."_s,
                 {u"The system kept the client from reading /Applications, or its find command "
                  "failed."_s,
                  u"Scan again; check the client's access to files in the system's privacy "
                  "settings."_s});
    }
}

void tell(const LogEntry& entry, const Logged::ScanEnded& scan, TroubleList& list)
{
    if (scan.seconds >= longestScan) {
        list.add(entry, Severity::Warning, u"scan-timeout"_s,
                 u"The scan was stopped after 30 seconds; applications may be missing."_s,
                 {u"The disk is very slow, or /Applications holds a slow network folder."_s,
                  u"Scan again when the machine is idle."_s});
    }
}

void tell(const LogEntry& entry, const Logged::VersionUnreadable& bundle, TroubleList& list)
{
    list.add(entry, Severity::Warning, u"version-unreadable"_s,
             u"The version of '%1' cannot be read from %2."_s.arg(bundle.application,
                                                                  bundle.propertyList),
             {u"The bundle has no Info.plist, or one without CFBundleShortVersionString and "
              "CFBundleLongVersionString, or it is half installed. The version counts as 0, so the "
              "row offers an update whatever is installed."_s,
              u"Install the application again; if the maker's bundle is so, leave it out of the "
              "catalogue."_s});
}

void tellOfSeveral(const LogEntry& entry, const RowMatched& match, TroubleList& list)
{
    const QString problem =
        u"Several installed applications begin with '%1': %2. The row shows '%3'."_s.arg(
            match.row, match.candidates, match.chosen);
    if (isVersionOf(match.row, match.chosen)) {
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
}

void tell(const LogEntry& entry, const RowMatched& match, TroubleList& list)
{
    if (!match.candidates.isEmpty()) {
        tellOfSeveral(entry, match, list);
    } else if (!match.chosen.isEmpty() && !isVersionOf(match.row, match.chosen)) {
        list.add(entry, Severity::Warning, u"match-other-name"_s,
                 u"The row '%1' shows the installed '%2', the only one whose name begins so."_s.arg(
                     match.row, match.chosen),
                 {u"A single application is taken whatever its name ends in; it may be another "
                  "product."_s,
                  u"If it is, give the catalogue's entry the whole name of its application."_s});
    }
}

void tell(const LogEntry& entry, const Logged::SettingsFailed&, TroubleList& list)
{
    list.add(entry, Severity::Error, u"settings"_s,
             u"The settings could not be read or written: "_s + entry.text,
             {u"config.xml is damaged, or its folder may not be written to."_s,
              u"Close the client, move config.xml away and start it again: it makes a new one."_s});
}

template <typename Other>
void tell(const LogEntry&, const Other&, TroubleList&)
{}

} // namespace

void readMachineTroubles(const LogEntry& entry, TroubleList& list)
{
    std::visit([&](const auto& event) { tell(entry, event, list); }, entry.event);
}
