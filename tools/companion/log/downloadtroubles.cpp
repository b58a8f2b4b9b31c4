#include "companion/log/downloadtroubles.h"

#include "companion/archive/unzipresult.h"
#include "companion/log/troublelist.h"

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

QString quotedList(const QStringList& names)
{
    return u'\'' + names.join("' or '"_L1) + u'\'';
}

} // namespace

bool DownloadTroubles::read(const LogEntry& entry)
{
    return readDownload(entry) || readExtraction(entry);
}

void DownloadTroubles::finish()
{
    for (const Running& download : std::as_const(m_downloads)) {
        reportUnsaved(download);
    }
}

bool DownloadTroubles::readDownload(const LogEntry& entry)
{
    static const QRegularExpression begun(u"^Download - '(.*)' → (.*)$"_s,
                                          QRegularExpression::DotMatchesEverythingOption);
    if (const auto folder = textBehind(entry.text, "Config - Download folder: "_L1)) {
        m_downloadFolder = *folder;
        return true;
    }
    if (const auto match = begun.match(entry.text); match.hasMatch()) {
        beginDownload(entry, match.captured(1), match.captured(2));
        return true;
    }
    if (const auto path = textBehind(entry.text, "Download - Saved: "_L1)) {
        endDownload(path->section(u'/', -1));
        return true;
    }
    if (const auto error = textBehind(entry.text, "Download - Error: "_L1)) {
        failDownload(entry, *error);
        return true;
    }
    return false;
}

void DownloadTroubles::failDownload(const LogEntry& entry, const QString& error)
{
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
        m_downloads.removeIf([&](const Running& d) { return d.name == names.constFirst(); });
    }
}

void DownloadTroubles::beginDownload(const LogEntry& entry, const QString& name,
                                     const QString& target)
{
    const auto former =
        std::find_if(m_downloads.begin(), m_downloads.end(),
                     [&name](const Running& download) { return download.name == name; });
    if (target.startsWith("aborted, "_L1)) {
        if (former != m_downloads.end()) {
            m_downloads.erase(former);
        }
        return;
    }
    if (former != m_downloads.end()) {
        reportUnsaved(*former);
        m_downloads.erase(former);
    }
    m_downloads.append({name, QUrl(target), entry});
}

void DownloadTroubles::endDownload(const QString& fileName)
{
    const auto ended =
        std::find_if(m_downloads.begin(), m_downloads.end(), [&fileName](const Running& download) {
            const QString address = download.url.toString();
            return address.endsWith(u'/' + fileName) ||
                   download.url.fileName(QUrl::FullyDecoded) == fileName;
        });
    if (ended != m_downloads.end()) {
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

bool DownloadTroubles::readExtraction(const LogEntry& entry)
{
    static const QRegularExpression failed(
        u"^Extract - Failed \\(exit code (\\d+)\\)(?:: (.*))?$"_s,
        QRegularExpression::DotMatchesEverythingOption);
    if (const auto target = textBehind(entry.text, "Extract - Starting: "_L1)) {
        m_extractions.append({target->section(u" → "_s, 0, -2), {}, entry});
        return true;
    }
    if (const auto match = failed.match(entry.text); match.hasMatch()) {
        const int code = match.captured(1).toInt();
        const QString said = match.captured(2).simplified();
        m_list.add(
            entry, Severity::Error, u"extraction-failed"_s,
            u"%1 was not unpacked: unzip ended with code %2, that is, %3."_s.arg(
                quotedList(endExtraction()), QString::number(code), unzipMeaning(code)),
            {said.isEmpty() ? u"unzip said nothing more."_s : u"unzip said: "_s + said,
             u"Run the archive command on the file that lies on the server; if it is sound there, "
             "let the user download it again. The archive and its work folder "
             "\".quillmere_extract\" are left in the download folder and may be removed."_s});
        return true;
    }
    if (entry.text == "Extract - Done"_L1) {
        m_lastArchives = endExtraction();
        return true;
    }
    if (entry.text == "Extract - No installable file found in archive"_L1) {
        m_list.add(
            entry, Severity::Error, u"extraction-empty"_s,
            u"%1 was unpacked, but nothing in it can be opened."_s.arg(quotedList(m_lastArchives)),
            {u"It holds no application, package or disk image, or uninstallers and hidden items "
             "only."_s,
             u"Run the archive command on it, and make it anew."_s});
        return true;
    }
    if (const auto reason = textBehind(entry.text, "Extract - Cannot start unzip: "_L1)) {
        m_list.add(entry, Severity::Error, u"unzip-missing"_s,
                   u"%1 was not unpacked: unzip could not be started (%2)."_s.arg(
                       quotedList(endExtraction()), *reason),
                   {u"/usr/bin/unzip is missing or may not be run."_s,
                    u"Restore it; the wait window that stays open may be closed."_s});
        return true;
    }
    return false;
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
