#include "companion/catalogue/filerules.h"

#include "companion/archive/archiverules.h"
#include "companion/catalogue/fileending.h"
#include "companion/catalogue/filetype.h"
#include "companion/installer/installerreader.h"
#include "companion/installer/installerrules.h"
#include "companion/report/progress.h"
#include "companion/report/texttable.h"
#include "companion/report/workahead.h"
#include "install/downloadtarget.h"
#include "install/ownupdate.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QThread>

#include <algorithm>
#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype longestName = 255; // bytes

bool changesAddress(QChar c)
{
    return c == u'#' || c == u'?' || c == u'%';
}

bool isHidden(QChar c)
{
    return !c.isSurrogate() && isUnseen(c.unicode());
}

/// Whether @p name can be asked for and saved; reports it when not.
bool checkFileName(const CatalogueEntry& entry, Report& report)
{
    const QString& name = entry.fileName;
    if (name.isEmpty()) {
        report.add(entry.line, u"file-none"_s, u"%1 names no file"_s.arg(quoted(entry.name)));
        return false;
    }
    bool isFit = true;
    if (std::any_of(name.cbegin(), name.cend(), changesAddress)) {
        report.add(entry.line, u"file-address"_s, u"%1 means another address"_s.arg(quoted(name)));
        isFit = false;
    }
    if (std::any_of(name.cbegin(), name.cend(), isHidden)) {
        report.add(entry.line, u"file-unseen"_s,
                   u"%1 holds a character that is not seen"_s.arg(quoted(name)));
        isFit = false;
    }
    if (name.contains(u'/') || name == "."_L1 || !staysInFolder(name)) {
        report.add(entry.line, u"file-folder"_s,
                   u"%1 is not the name of a file alone"_s.arg(quoted(name)));
        isFit = false;
    }
    // Three bytes a character at most, so that most names need no conversion.
    if (name.size() * 3 > longestName && name.toUtf8().size() > longestName) {
        report.add(entry.line, u"file-long"_s,
                   u"the file name has %1 bytes"_s.arg(name.toUtf8().size()));
        isFit = false;
    }
    return isFit;
}

void checkEnding(const CatalogueEntry& entry, Report& report)
{
    switch (fileEnding(entry.fileName)) {
    case FileEnding::Opened:
        break;
    case FileEnding::Unknown:
        report.add(entry.line, u"file-ending-unknown"_s,
                   u"%1 ends in nothing that every Mac opens"_s.arg(quoted(entry.fileName)));
        break;
    case FileEnding::Foreign:
        report.add(entry.line, u"file-ending"_s,
                   u"%1 ends in nothing that a Mac opens"_s.arg(quoted(entry.fileName)));
        break;
    }
}

/// Whether the file can be looked for.
bool isFit(const QString& fileName)
{
    return !fileName.isEmpty() && !fileName.contains(u'/');
}

/// The files of one folder, and what is wrong with them.
class FileCheck
{
public:
    /// While an archive is unpacked, @p goesOn is asked whether that is still wanted.
    FileCheck(const FileTask& task, const Published& published, Report& report,
              const std::function<bool()>& goesOn)
        : m_folder(task.folder)
        , m_isThorough(task.isThorough)
        , m_goesOn(goesOn)
        , m_publication(published.changed)
        , m_report(report)
    {
        const QStringList names = m_folder.entryList(QDir::Files);
        m_names = QSet<QString>(names.cbegin(), names.cend());
        for (const QString& name : names) {
            QString& spelling = m_spellings[name.toCaseFolded()];
            if (!spelling.isEmpty()) {
                m_report.addElsewhere(m_folder.filePath(name), u"file-twice"_s,
                                      u"%1 is there too"_s.arg(quoted(spelling)));
            }
            spelling = name;
        }
        for (const CatalogueEntry& entry : published.text.entries) {
            m_formerFiles.insert(entry.name, entry.fileName);
            m_publishedFiles.insert(entry.fileName);
        }
    }

    /// @p facts: what the entry's installer brings.
    void check(const CatalogueEntry& entry, const InstallerFacts& facts)
    {
        if (!exists(entry)) {
            return;
        }
        const QString path = m_folder.filePath(entry.fileName);
        const QFileInfo file(path);
        checkAge(entry, file);
        if (file.size() == 0) {
            m_report.add(entry.line, u"file-empty"_s, u"%1 is empty"_s.arg(shown(entry)));
        } else if (!file.isReadable()) {
            m_report.add(entry.line, u"file-missing"_s, u"%1 cannot be read"_s.arg(shown(entry)));
        } else if (const QString wrong = wrongFileType(path, entry.fileName);
                   !wrong.isEmpty() && !isSelfExtracting(entry, path)) {
            m_report.add(entry.line, u"file-type"_s, shown(entry) + u' ' + wrong);
        } else {
            checkContent(entry, path, facts);
        }
    }

    void reportUnnamed(const QStringList& alsoNamed)
    {
        QSet<QString> unnamed = m_names - m_named;
        unnamed -= m_publishedFiles; // windows that hold the published catalogue ask for them
        unnamed -= QSet<QString>(alsoNamed.cbegin(), alsoNamed.cend());
        QStringList names = unnamed.values();
        names.sort();
        for (const QString& name : names) {
            m_report.addElsewhere(m_folder.filePath(name), u"file-unnamed"_s,
                                  u"no entry names the file"_s);
        }
    }

private:
    static QString shown(const CatalogueEntry& entry) { return quoted(entry.fileName); }

    void checkAge(const CatalogueEntry& entry, const QFileInfo& file)
    {
        if (m_publication.isValid() && m_publishedFiles.contains(entry.fileName) &&
            file.lastModified() > m_publication) {
            m_report.add(
                entry.line, u"file-changed"_s,
                u"%1 is newer than the published catalogue that names it"_s.arg(shown(entry)));
        }
    }

    bool exists(const CatalogueEntry& entry)
    {
        m_named.insert(entry.fileName);
        if (m_names.contains(entry.fileName)) {
            return true;
        }
        const auto other = m_spellings.constFind(entry.fileName.toCaseFolded());
        if (other != m_spellings.cend()) {
            m_named.insert(*other);
            m_report.add(entry.line, u"file-case"_s,
                         u"%1 is named %2"_s.arg(shown(entry), quoted(*other)));
        } else {
            m_report.add(entry.line, u"file-missing"_s, u"%1 is not there"_s.arg(shown(entry)));
        }
        return false;
    }

    /// Whether the file is an archive behind a program that unpacks it, which unzip takes as well.
    static bool isSelfExtracting(const CatalogueEntry& entry, const QString& path)
    {
        return isArchive(entry.fileName) && ArchiveContent(path).error().isEmpty();
    }

    QList<Finding> contentFindings(const ArchiveContent& archive, const QString& path)
    {
        // What cannot be read here, unzip may be able to.
        const bool isUnpacked = m_isThorough || !archive.error().isEmpty();
        if (!isUnpacked || isTooLarge(archive)) {
            return archiveFindings(archive) + firstOfEachRule(archive.damages());
        }
        return archiveFindings(archive, unpackArchive(path, m_goesOn));
    }

    void checkContent(const CatalogueEntry& entry, const QString& path, const InstallerFacts& facts)
    {
        const bool isZip = isArchive(entry.fileName);
        const QString former = m_formerFiles.value(entry.name);
        const bool hasFormer = former != entry.fileName && m_names.contains(former);
        QList<Finding> findings;
        if (isZip) {
            const ArchiveContent archive(path);
            findings = contentFindings(archive, path);
            if (archive.error().isEmpty() && hasFormer && isArchive(former)) {
                findings += repetitionFindings(archive, ArchiveContent(m_folder.filePath(former)));
            }
        }
        findings += installerFindings(facts, {entry.name, entry.version, entry.fileName});
        if (hasFormer) {
            findings += identifierFindings(
                facts, InstallerReader::read(m_folder.filePath(former), m_goesOn), entry.name);
        }
        for (Finding& finding : findings) {
            if (finding.rule == "archive-application"_L1 && isOwnUpdate(entry.name)) {
                finding.rule = u"archive-own-application"_s;
            }
            m_report.add(entry.line, finding.rule, shown(entry) + ": "_L1 + finding.problem);
        }
    }

    QDir m_folder;
    bool m_isThorough;
    std::function<bool()> m_goesOn;
    QDateTime m_publication; ///< when the published catalogue was written; invalid if unknown
    QSet<QString> m_names;
    QHash<QString, QString> m_spellings;   ///< by their folded letters
    QHash<QString, QString> m_formerFiles; ///< by the names of published entries
    QSet<QString> m_publishedFiles;
    QSet<QString> m_named;
    Report& m_report;
};

} // namespace

void checkFileNames(const QList<CatalogueEntry>& entries, Report& report)
{
    for (const CatalogueEntry& entry : entries) {
        if (checkFileName(entry, report)) {
            checkEnding(entry, report);
        }
    }
}

qsizetype checkFiles(const CatalogueText& text, const FileTask& task, const Published& published,
                     Report& report, Progress& progress, const std::atomic<bool>& isStopped)
{
    qsizetype count = 0;
    const auto goesOn = [&] {
        progress.tell(u"%1 of %2 files read"_s.arg(count).arg(text.entries.size()));
        return !isStopped;
    };
    FileCheck check(task, published, report, goesOn);
    const auto isWanted = [&isStopped] { return !isStopped; };
    WorkAhead<InstallerFacts> reading(
        text.entries.size(), QThread::idealThreadCount(), [&](qsizetype i) {
            const QString& name = text.entries[i].fileName;
            const QString path = QDir(task.folder).filePath(name);
            return isWanted() && isFit(name) && QFileInfo(path).isFile()
                       ? InstallerReader::read(path, isWanted)
                       : InstallerFacts();
        });
    for (const CatalogueEntry& entry : text.entries) {
        const InstallerFacts facts = reading.next(goesOn);
        if (!goesOn()) {
            return count;
        }
        // A name that is unfit has been reported; its file is not looked for.
        if (isFit(entry.fileName)) {
            check.check(entry, facts);
            ++count;
        }
    }
    check.reportUnnamed(text.hiddenFiles);
    return count;
}
