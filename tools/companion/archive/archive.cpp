#include "companion/archive/archive.h"

#include "companion/archive/archiverules.h"
#include "companion/archive/interruption.h"
#include "companion/archive/unzipresult.h"
#include "companion/installer/installerreader.h"
#include "companion/installer/installerrules.h"
#include "companion/installer/installertext.h"
#include "companion/report/commandline.h"
#include "companion/report/finding.h"
#include "companion/report/progress.h"
#include "companion/report/rules.h"
#include "companion/report/texttable.h"
#include "companion/report/workahead.h"
#include "install/downloadtarget.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>
#include <QThread>

#include <atomic>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString previousName = u"previous"_s;

constexpr int formatVersion = 1; // of the JSON; grows when a key changes its meaning

/// What is told about one archive.
struct ArchiveReport
{
    QString file;
    QHash<QString, QList<InstallerCandidate>> candidates; ///< by processor, best first
    QStringList excluded;
    std::optional<int> unzipCode; ///< nothing where unzip was not run
    QString obstacle;             ///< why it was not
    bool isUnpacked = false;      ///< whether the client gets as far as to choose
    InstallerFacts installer;
    QList<Finding> findings;
};

QList<Finding> contentFindings(const ArchiveContent& archive, const UnpackedArchive& unpacked,
                               const QString& previous)
{
    QList<Finding> findings = archiveFindings(archive, unpacked);
    if (archive.error().isEmpty() && !previous.isEmpty()) {
        findings += repetitionFindings(archive, ArchiveContent(previous));
    }
    return findings;
}

void setFile(QList<Finding>& findings, const QString& file)
{
    for (Finding& finding : findings) {
        finding.file = file;
    }
}

ArchiveReport examine(const QString& file, const QString& previous,
                      const std::atomic<bool>& isStopped)
{
    ArchiveReport report;
    report.file = file;
    const auto goesOn = [&isStopped] { return !isStopped; };
    report.installer = InstallerReader::read(file, goesOn);
    report.findings = damageFindings(report.installer);
    if (!isArchive(file)) {
        setFile(report.findings, file);
        return report;
    }
    const ArchiveContent archive(file);
    const UnpackedArchive unpacked =
        isTooLarge(archive) ? UnpackedArchive() : unpackArchive(file, goesOn);
    report.unzipCode = unpacked.unzipCode;
    report.obstacle = isTooLarge(archive) ? u"the archive is too large"_s : unpacked.obstacle;
    report.findings += contentFindings(archive, unpacked, previous);
    setFile(report.findings, file);
    report.isUnpacked = report.unzipCode
                            ? report.unzipCode == 0
                            : archive.error().isEmpty() && archive.failures().isEmpty();
    if (report.unzipCode && report.isUnpacked) {
        report.candidates = unpacked.candidates;
        report.excluded = unpacked.excluded;
        return report;
    }
    for (const QString& processor : processors()) {
        report.candidates.insert(processor, archive.candidates(processor));
    }
    report.excluded = archive.excluded();
    return report;
}

/// Why the first of @p candidates comes before the second.
QString tieMeaning(const QList<InstallerCandidate>& candidates)
{
    if (candidates.size() < 2 || candidates[0].score != candidates[1].score) {
        return {};
    }
    return "; "_L1 +
           tieReason(candidates[0].path, candidates[1].path).arg(quoted(candidates[1].path));
}

void writeChoice(const ArchiveReport& report, const QString& processor, QTextStream& out)
{
    const QList<InstallerCandidate> candidates = report.candidates.value(processor);
    out << "  " << processor << ": ";
    if (!report.isUnpacked) {
        out << "opens nothing, as unzip would fail\n";
    } else if (candidates.isEmpty()) {
        out << "opens nothing\n";
    } else {
        out << "opens " << quoted(candidates[0].path) << ", which "
            << scoreMeaning(candidates[0].score) << tieMeaning(candidates) << '\n';
    }
    for (const InstallerCandidate& candidate : candidates) {
        out << "    [score " << candidate.score << "] " << quoted(candidate.path) << '\n';
    }
}

/// What the client would open in an archive.
void writeArchive(const ArchiveReport& report, QTextStream& out)
{
    for (const QString& processor : processors()) {
        writeChoice(report, processor, out);
    }
    for (const QString& path : report.excluded) {
        out << "  left out: " << quoted(path) << ", as its name holds \"Uninstall\"\n";
    }
    if (report.unzipCode) {
        out << "  unzip: ends with " << *report.unzipCode << ", " << unzipMeaning(*report.unzipCode)
            << '\n';
    } else {
        out << "  unzip: not run, as " << report.obstacle << '\n';
    }
}

void writeReport(const ArchiveReport& report, QTextStream& out)
{
    out << printable(report.file) << '\n';
    if (isArchive(report.file)) {
        writeArchive(report, out);
    }
    writeInstaller(report.installer, out);
    writeFindings(report.findings, out);
}

QJsonObject toJson(const ArchiveReport& report)
{
    if (!isArchive(report.file)) {
        return {{u"file"_s, report.file},
                {u"installer"_s, toJson(report.installer)},
                {u"findings"_s, toJson(report.findings)}};
    }
    QJsonObject opens;
    QJsonObject candidates;
    for (const QString& processor : processors()) {
        QJsonArray items;
        for (const InstallerCandidate& candidate : report.candidates.value(processor)) {
            items.append(QJsonObject{{u"path"_s, candidate.path}, {u"score"_s, candidate.score}});
        }
        candidates.insert(processor, items);
        opens.insert(processor, report.isUnpacked && !items.isEmpty()
                                    ? items.first().toObject().value(u"path"_s)
                                    : QJsonValue());
    }
    return {{u"file"_s, report.file},
            {u"opens"_s, opens},
            {u"candidates"_s, candidates},
            {u"excluded"_s, QJsonArray::fromStringList(report.excluded)},
            {u"installer"_s, toJson(report.installer)},
            {u"unzip"_s, report.unzipCode ? QJsonValue(*report.unzipCode) : QJsonValue()},
            {u"findings"_s, toJson(report.findings)}};
}

/// Writes reports as they come, as texts or as one JSON object, and counts what they hold.
class Writer
{
public:
    Writer(bool isJson, QTextStream& out) : m_isJson(isJson), m_out(out)
    {
        if (m_isJson) {
            m_out << "{\"version\": " << formatVersion << ",\n\"archives\": [";
        }
    }

    void write(const ArchiveReport& report)
    {
        ++m_count;
        for (const Finding& finding : report.findings) {
            ++m_found[catalogueRule(finding.rule).severity];
        }
        if (m_isJson) {
            m_out << (m_count == 1 ? "\n" : ",\n")
                  << printableJson(QJsonDocument(toJson(report)).toJson(QJsonDocument::Compact));
        } else {
            writeReport(report, m_out);
        }
        m_out.flush();
    }

    /// Writes what stands behind the reports on the output, and what does beside it on @p err.
    void finish(bool isInterrupted, QTextStream& err)
    {
        if (m_isJson) {
            const QJsonObject summary{{u"archives"_s, m_count},
                                      {u"errors"_s, m_found.value(Severity::Error)},
                                      {u"warnings"_s, m_found.value(Severity::Warning)},
                                      {u"notes"_s, m_found.value(Severity::Note)}};
            m_out << "\n],\n\"summary\": "
                  << QString::fromUtf8(QJsonDocument(summary).toJson(QJsonDocument::Compact))
                  << "}\n";
        }
        if (isInterrupted) {
            err << "interrupted: not everything was looked at\n";
        } else if (m_found.isEmpty()) {
            err << m_count << (m_count == 1 ? " archive" : " archives") << ": nothing found\n";
        }
    }

private:
    bool m_isJson;
    QTextStream& m_out;
    qsizetype m_count = 0;
    QHash<Severity, qsizetype> m_found;
};

} // namespace

int runArchive(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    CommandLine line(u"archive"_s, u"Tells what an installer would bring; of an archive also "
                                   "which item the client opens on each processor, and what would "
                                   "keep it from that."_s);
    line.addArgument(u"FILE..."_s, u"Archives, packages, disk images."_s, true);
    line.addPlace(previousName, u"Compare with <FILE>, the release before."_s, u"FILE"_s);
    line.addShared(CommandLine::Strict | CommandLine::Json);
    if (const auto status = line.read(arguments, out, err)) {
        return *status;
    }
    const QStringList files = line.arguments();
    const QString previous = line.value(previousName);
    for (const QString& file : previous.isEmpty() ? files : files + QStringList{previous}) {
        if (!QFileInfo(file).isFile() || !QFileInfo(file).isReadable()) {
            return line.fail(u"cannot read %1"_s.arg(file), err);
        }
    }

    const Interruption interruption;
    const std::atomic<bool>& isStopped = interruption.hasCome();
    WorkAhead<std::optional<ArchiveReport>> reports(
        files.size(), QThread::idealThreadCount(),
        [&](qsizetype i) -> std::optional<ArchiveReport> {
            if (isStopped) {
                return std::nullopt;
            }
            ArchiveReport report = examine(files[i], previous, isStopped);
            return isStopped ? std::nullopt : std::optional(report);
        });
    Writer writer(line.isJson(), out);
    bool hasFailed = false;
    for (qsizetype i = 0; i < files.size(); ++i) {
        std::optional<ArchiveReport> report;
        {
            Progress progress(err, Progress::isOnTerminal());
            report = reports.next([&] {
                progress.tell(u"%1 of %2 archives read, now %3"_s.arg(i)
                                  .arg(files.size())
                                  .arg(quoted(files[i])));
            });
        }
        if (!report) {
            break;
        }
        hasFailed = isFailure(report->findings, line.isStrict()) || hasFailed;
        writer.write(*report);
    }
    writer.finish(interruption.hasCome(), err);
    if (interruption.hasCome()) {
        return interruption.exitStatus();
    }
    return hasFailed ? SomethingFound : NothingFound;
}
