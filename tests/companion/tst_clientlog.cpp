#include "companion/log/clientlog.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace Logged;

namespace {

const QString stamp = u"2026-09-21T14:05:00 [INFO] "_s;

/// An event as a text, its type's name first.
struct Wording
{
    QString operator()(std::monostate) const { return u"nothing"_s; }
    QString operator()(const CatalogueLoadBegun&) const { return u"load begun"_s; }
    QString operator()(const CatalogueTimedOut& e) const { return u"timed out: "_s + e.address; }
    QString operator()(const CatalogueFailed& e) const { return u"load failed: "_s + e.error; }
    QString operator()(const CatalogueRetried&) const { return u"retried"_s; }
    QString operator()(const CatalogueLoadEnded&) const { return u"load ended"_s; }
    QString operator()(const ScanBegun&) const { return u"scan begun"_s; }
    QString operator()(const ScanResult& e) const
    {
        return u"scan: %1 of %2"_s.arg(e.names.join(u'+')).arg(e.announced);
    }
    QString operator()(const ScanEnded& e) const { return u"scan ended: %1"_s.arg(e.seconds); }
    QString operator()(const VersionUnreadable& e) const
    {
        return u"unreadable: "_s + e.application + " in "_L1 + e.propertyList;
    }
    QString operator()(const RowMatched& e) const
    {
        QStringList versions;
        for (const auto& [name, version] : e.versions) {
            versions.append(name + u'=' + version);
        }
        return u"row: [%1] [%2] [%3] [%4]"_s.arg(e.row, e.chosen, e.candidates,
                                                 versions.join(u'+'));
    }
    QString operator()(const SettingsFailed&) const { return u"settings"_s; }
    QString operator()(const DownloadFolderSet& e) const { return u"folder: "_s + e.folder; }
    QString operator()(const DownloadBegun& e) const
    {
        return u"download: "_s + e.row + " from "_L1 + e.address;
    }
    QString operator()(const DownloadAborted& e) const { return u"aborted: "_s + e.row; }
    QString operator()(const DownloadSaved& e) const { return u"saved: "_s + e.path; }
    QString operator()(const DownloadFailed& e) const { return u"download failed: "_s + e.error; }
    QString operator()(const ExtractionBegun& e) const { return u"extraction: "_s + e.archive; }
    QString operator()(const ExtractionDone&) const { return u"extracted"_s; }
    QString operator()(const ExtractionFailed& e) const
    {
        return u"extraction failed: %1 %2"_s.arg(QString::number(e.exitCode), e.said);
    }
    QString operator()(const NothingToOpen&) const { return u"nothing to open"_s; }
    QString operator()(const UnzipNotStarted& e) const { return u"no unzip: "_s + e.reason; }
};

/// The events of a log of @p messages, one a line.
QString eventsOf(const QStringList& messages)
{
    QString log;
    for (const QString& message : messages) {
        log += stamp + message + u'\n';
    }
    QStringList events;
    for (const LogEntry& entry : readClientLog(log.toUtf8())) {
        events.append(std::visit(Wording(), entry.event));
    }
    return events.join(u'\n');
}

} // namespace

/// The one place that knows the lines of a client's log.
class TestClientLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsTheEntriesOfALog();
    void lineHasItsEvent_data();
    void lineHasItsEvent();
    void matchIsReadByTheInstalledNames_data();
    void matchIsReadByTheInstalledNames();
    void listOfAScanIsOneEvent_data();
    void listOfAScanIsOneEvent();
};

void TestClientLog::readsTheEntriesOfALog()
{
    const QList<LogEntry> entries =
        readClientLog("scrap\n=== Quillmere 26.3.0 — 2026-09-21 14:05:00 ===\n"
                      "2026-09-21T14:05:00 [INFO] Current configuration's content:\r\n"
                      "\tcolor:\r\n"
                      "2026-09-21T14:05:01 [DEBUG] \n"
                      "=== Quillmere 26.3.0 — 2026-09-21 15:05:00 ===\n"
                      "scrap\n"
                      "2026-09-21T15:05:01 [ERROR] é [INFO] x\n");
    QCOMPARE(entries.size(), 3);
    QCOMPARE(entries[0].line, 3);
    QCOMPARE(entries[0].time, u"2026-09-21T14:05:00"_s);
    QCOMPARE(entries[0].level, u"INFO"_s);
    QCOMPARE(entries[0].text, u"Current configuration's content:\n\tcolor:"_s);
    QCOMPARE(entries[1].line, 5);
    QCOMPARE(entries[1].level, u"DEBUG"_s);
    QCOMPARE(entries[1].text, QString());
    QCOMPARE(entries[2].line, 8);
    QCOMPARE(entries[2].text, u"é [INFO] x"_s);
}

void TestClientLog::lineHasItsEvent_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("event");

    const auto row = [](const QString& text, const QString& event) {
        QTest::newRow(qPrintable(text.left(60))) << text << event;
    };
    row(u"Quillmere START"_s, u"nothing"_s);
    row(u"WebProfiler - data Updating..."_s, u"load begun"_s);
    row(u"WebProfiler - data Updating... x"_s, u"nothing"_s);
    row(u"WebProfiler - Network timeout for: https://x/a.csv"_s, u"timed out: https://x/a.csv"_s);
    row(u"WebProfiler - Network error: Connection closed"_s, u"load failed: Connection closed"_s);
    row(u"WebProfiler - First attempt failed, retrying once in 2s..."_s, u"retried"_s);
    row(u"WebProfiler - data updated (execution duration: 0.1s)"_s, u"load ended"_s);
    row(u"SysProfiler - data Updating..."_s, u"scan begun"_s);
    row(u"SysProfiler - data updated (execution duration: 30.012s)"_s, u"scan ended: 30.012"_s);
    row(u"SysProfiler - Cannot read version for 'A' — plist: /A.app/Contents/Info.plist"_s,
        u"unreadable: A in /A.app/Contents/Info.plist"_s);
    row(u"SysProfiler - Cannot read version for 'A"_s, u"nothing"_s);
    row(u"SysProfiler [find] — 0 apps found"_s, u"scan:  of 0"_s);
    for (const char* text :
         {"Cannot read file x", "XML error: x", "Failed to copy default config: x",
          "Default config file is Unknown...", "Saving failed"}) {
        row(QString::fromLatin1(text), u"settings"_s);
    }
    row(u"Config - Download folder: /d"_s, u"folder: /d"_s);
    row(u"Download - 'A' → https://x/A.pkg"_s, u"download: A from https://x/A.pkg"_s);
    row(u"Download - 'A' → B' → https://x/A.pkg"_s, u"download: A' → B from https://x/A.pkg"_s);
    row(u"Download - 'A' → aborted, no longer in the catalogue"_s, u"aborted: A"_s);
    row(u"Download - 'A"_s, u"nothing"_s);
    row(u"Download - Saved: /d/A.pkg"_s, u"saved: /d/A.pkg"_s);
    row(u"Download - Error: Connection closed"_s, u"download failed: Connection closed"_s);
    row(u"Extract - Starting: A → B.zip → /d/.work"_s, u"extraction: A → B.zip"_s);
    row(u"Extract - Done"_s, u"extracted"_s);
    row(u"Extract - Failed (exit code 9): [/d/A.zip]\n  End-of-central"_s,
        u"extraction failed: 9 [/d/A.zip] End-of-central"_s);
    row(u"Extract - Failed (exit code 50)"_s, u"extraction failed: 50 "_s);
    row(u"Extract - Failed (exit code x)"_s, u"nothing"_s);
    row(u"Extract - No installable file found in archive"_s, u"nothing to open"_s);
    row(u"Extract - Cannot start unzip: No such file"_s, u"no unzip: No such file"_s);
    row(u"Profiler - 'A' → NOT FOUND in system"_s, u"row: [A] [] [] []"_s);
    row(u"Profiler - 'A' → matched 'A 2' v1.0"_s, u"row: [A] [A 2] [] []"_s);
    row(u"Profiler - 'A' → 2 candidates: ['A' v1, 'A 2' v2] → matched 'A 2' v2"_s,
        u"row: [A] [A 2] ['A' v1, 'A 2' v2] []"_s);
}

void TestClientLog::lineHasItsEvent()
{
    QFETCH(QString, text);
    QFETCH(QString, event);
    QCOMPARE(eventsOf({text}), event);
}

void TestClientLog::matchIsReadByTheInstalledNames_data()
{
    QTest::addColumn<QStringList>("installed");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("event");

    const auto row = [](const char* what, const QStringList& installed, const QString& text,
                        const QString& event) {
        QTest::newRow(what) << installed << text << event;
    };
    row("one", {u"A 2"_s}, u"Profiler - 'A' → matched 'A 2' v1.0"_s,
        u"row: [A] [A 2] [] [A 2=1.0]"_s);
    row("one without a version", {u"A"_s}, u"Profiler - 'A' → matched 'A' v"_s,
        u"row: [A] [A] [] [A=]"_s);
    row("several", {u"A"_s, u"A 2"_s},
        u"Profiler - 'A' → 2 candidates: ['A' v1, 'A 2' v2] → matched 'A 2' v2"_s,
        u"row: [A] [A 2] ['A' v1, 'A 2' v2] [A=1+A 2=2]"_s);
    row("an arrow in the entry's name", {u"S' → matched 'S' v1"_s},
        u"Profiler - 'S' → matched 'S' v1' → matched 'S' → matched 'S' v1' v7"_s,
        u"row: [S' → matched 'S' v1] [S' → matched 'S' v1] [] [S' → matched 'S' v1=7]"_s);
    row("a list's end in an application's name", {u"S"_s, u"S', 'T' v2"_s},
        u"Profiler - 'S' → 2 candidates: ['S' v5, 'S', 'T' v2' v6] → matched 'S' v5"_s,
        u"row: [S] [S] ['S' v5, 'S', 'T' v2' v6] [S=5+S', 'T' v2=6]"_s);
    row("not installed, named like another's match", {u"S"_s},
        u"Profiler - 'S' → matched 'S' v9' → NOT FOUND in system"_s,
        u"row: [S' → matched 'S' v9] [] [] []"_s);
    row("names that the list does not have", {u"B"_s}, u"Profiler - 'A' → matched 'A' v1"_s,
        u"row: [A] [A] [] []"_s);
}

void TestClientLog::matchIsReadByTheInstalledNames()
{
    QFETCH(QStringList, installed);
    QFETCH(QString, text);
    QFETCH(QString, event);
    QStringList log = {u"SysProfiler [find] — %1 apps found"_s.arg(installed.size())};
    for (const QString& name : installed) {
        log.append(u"  + "_s + name + " (/Applications/"_L1 + name + ".app)"_L1);
    }
    log.append(text);
    QCOMPARE(eventsOf(log).section(u'\n', -1), event);
}

void TestClientLog::listOfAScanIsOneEvent_data()
{
    QTest::addColumn<QStringList>("log");
    QTest::addColumn<QString>("events");

    const QString two = u"SysProfiler [find] — 2 apps found"_s;
    const QString a = u"  + A (/Applications/A.app)"_s;
    const QString b = u"  + B (x) (/Applications/B (x).app)"_s;
    const auto row = [](const char* what, const QStringList& log, const QStringList& events) {
        QTest::newRow(what) << log << events.join(u'\n');
    };
    row("told by its last line, ascending", {two, b, a},
        {u"nothing"_s, u"nothing"_s, u"scan: A+B (x) of 2"_s});
    row("another thread's line within", {two, a, u"Extract - Done"_s, b},
        {u"nothing"_s, u"nothing"_s, u"extracted"_s, u"scan: A+B (x) of 2"_s});
    row("a log that ends within", {two, a, u"Extract - Done"_s},
        {u"nothing"_s, u"scan: A of 2"_s, u"extracted"_s});
    row("a log that ends before the list", {two}, {u"scan:  of 2"_s});
    row("another scan within: the former is dropped", {two, a, two, a, b},
        {u"nothing"_s, u"nothing"_s, u"nothing"_s, u"nothing"_s, u"scan: A+B (x) of 2"_s});
    row("a line of a list without a scan", {a}, {u"nothing"_s});
    row("until a list is whole, the former decides a match",
        {two, a, b, two, a, u"Profiler - 'B' → matched 'B (x)' v1"_s},
        {u"nothing"_s, u"nothing"_s, u"scan: A+B (x) of 2"_s, u"nothing"_s, u"scan: A of 2"_s,
         u"row: [B] [B (x)] [] [B (x)=1]"_s});
}

void TestClientLog::listOfAScanIsOneEvent()
{
    QFETCH(QStringList, log);
    QFETCH(QString, events);
    QCOMPARE(eventsOf(log), events);
}

QTEST_GUILESS_MAIN(TestClientLog)
#include "tst_clientlog.moc"
