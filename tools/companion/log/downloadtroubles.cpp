#include "companion/log/downloadtroubles.h"

#include "companion/archive/unzipresult.h"
#include "companion/log/troublelist.h"

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

QString quotedList(const QStringList& names)
{
    return u'\'' + names.join("' or '"_L1) + u'\'';
}

} // namespace

void DownloadTroubles::read(const LogEntry& entry)
{
    std::visit([&](const auto& event) { take(entry, event); }, entry.event);
}

void DownloadTroubles::finish()
{
    for (const Running& download : std::as_const(m_downloads)) {
        reportUnsaved(download);
    }
}

void DownloadTroubles::take(const LogEntry&, const Logged::DownloadFolderSet& set)
{
    m_downloadFolder = set.folder;
}

void DownloadTroubles::take(const LogEntry& entry, const Logged::DownloadFailed& failure)
{
    const QString& error = failure.error;
    QStringList names;
    for (const Running& download : std::as_const(m_downloads)) {
        // What a server replied comes with the address.
        if (error.contains(download.url.toString() + " - "_L1)) {
            names = {download.name};
            break;
        }
        names.append(download.name);
    }
    m_list.add(entry, Severity::Error, u"download-failed"_s,
               names.isEmpty() ? u"A download failed: "_s + error
                               : u"The download of %1 failed: "_s.arg(quotedList(names)) + error,
               networkAdvice(error));
    if (names.size() == 1) {
        drop(names.constFirst());
    }
}

void DownloadTroubles::take(const LogEntry& entry, const Logged::DownloadBegun& download)
{
    for (const Running& former : std::as_const(m_downloads)) {
        if (former.name == download.row) {
            reportUnsaved(former);
        }
    }
    drop(download.row);
    m_downloads.append({download.row, QUrl(download.address), entry});
}

void DownloadTroubles::take(const LogEntry&, const Logged::DownloadAborted& download)
{
    drop(download.row);
}

void DownloadTroubles::drop(const QString& row)
{
    m_downloads.removeIf([&row](const Running& download) { return download.name == row; });
}

void DownloadTroubles::take(const LogEntry&, const Logged::DownloadSaved& file)
{
    const QString name = file.path.section(u'/', -1);
    const auto ended =
        std::find_if(m_downloads.cbegin(), m_downloads.cend(), [&name](const Running& download) {
            return download.url.toString().endsWith(u'/' + name) ||
                   download.url.fileName(QUrl::FullyDecoded) == name;
        });
    if (ended != m_downloads.cend()) {
        m_downloads.erase(ended);
    }
}

void DownloadTroubles::reportUnsaved(const Running& download)
{
    if (download.url.path().contains("/../"_L1)) {
        m_list.add(
            download.begin, Severity::Error, u"destination-refused"_s,
            u"The file of '%1' was not saved: its name leads out of the download folder (%2)."_s
                .arg(download.name, download.url.toString()),
            {u"The catalogue's Filename holds \"..\"."_s,
             u"Correct the entry; the check command finds such names."_s});
        return;
    }
    const QString folder = m_downloadFolder.isEmpty()
                               ? u"the download folder"_s
                               : u"the download folder "_s + m_downloadFolder;
    m_list.add(
        download.begin, Severity::Warning, u"download-unsaved"_s,
        u"The download of '%1' began, but no file was saved."_s.arg(download.name),
        {u"The user cancelled it, it was still running when the log was taken, or the file could "
         "not be written; a box said \"Cannot write to: \" then, of which the log tells nothing."_s,
         u"See that %1 exists and may be written to, and that the catalogue's Filename has no "
         "folder in it."_s.arg(folder)});
}

void DownloadTroubles::take(const LogEntry& entry, const Logged::ExtractionBegun& extraction)
{
    m_extractions.append({extraction.archive, {}, entry});
}

void DownloadTroubles::take(const LogEntry& entry, const Logged::ExtractionFailed& failure)
{
    m_list.add(
        entry, Severity::Error, u"extraction-failed"_s,
        u"%1 was not unpacked: unzip ended with code %2, that is, %3."_s.arg(
            quotedList(endExtraction()), QString::number(failure.exitCode),
            unzipMeaning(failure.exitCode)),
        {failure.said.isEmpty() ? u"unzip said nothing more."_s : u"unzip said: "_s + failure.said,
         u"Run the archive command on the file that lies on the server; if it is sound there, "
         "let the user download it again. The archive and its work folder "
         "\".quillmere_extract\" are left in the download folder and may be removed."_s});
}

void DownloadTroubles::take(const LogEntry&, const Logged::ExtractionDone&)
{
    m_lastArchives = endExtraction();
}

void DownloadTroubles::take(const LogEntry& entry, const Logged::NothingToOpen&)
{
    m_list.add(
        entry, Severity::Error, u"extraction-empty"_s,
        u"%1 was unpacked, but nothing in it can be opened."_s.arg(quotedList(m_lastArchives)),
        {u"It holds no application, package or disk image, or uninstallers and hidden items "
         "only."_s,
         u"Run the archive command on it, and make it anew."_s});
}

void DownloadTroubles::take(const LogEntry& entry, const Logged::UnzipNotStarted& failure)
{
    m_list.add(entry, Severity::Error, u"unzip-missing"_s,
               u"%1 was not unpacked: unzip could not be started (%2)."_s.arg(
                   quotedList(endExtraction()), failure.reason),
               {u"/usr/bin/unzip is missing or may not be run."_s,
                u"Restore it; the wait window that stays open may be closed."_s});
}

QStringList DownloadTroubles::endExtraction()
{
    QStringList names;
    for (const Running& extraction : std::as_const(m_extractions)) {
        names.append(extraction.name);
    }
    // Which of several it was is not told: all are dropped when as many have ended.
    if (++m_endedExtractions >= m_extractions.size()) {
        m_extractions.clear();
        m_endedExtractions = 0;
    }
    return names.isEmpty() ? QStringList{u"an archive"_s} : names;
}
