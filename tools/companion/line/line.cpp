#include "companion/line/line.h"

#include "companion/archive/archiverules.h"
#include "companion/catalogue/check.h"
#include "companion/installer/installerreader.h"
#include "companion/installer/installerrules.h"
#include "companion/line/catalogueupdate.h"
#include "companion/report/commandline.h"
#include "companion/report/rules.h"
#include "companion/report/source.h"
#include "companion/report/texttable.h"
#include "install/downloadtarget.h"

#include <QFileInfo>
#include <QStringDecoder>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString likeName = u"like"_s;
const QString updateName = u"update"_s;

/// The text of a catalogue, its byte order mark included; not known where it is no UTF-8.
KnownText text(const QByteArray& bytes)
{
    QStringDecoder decode(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    const QString decoded = decode(bytes);
    return decode.hasError() ? unknownText(u"the catalogue is no text in UTF-8"_s)
                             : KnownText{decoded, {}};
}

/// What `check` would say of the line and its file, beside @p findings of what that brings; empty
/// when nothing but notes.
QString checkedProblem(const QString& path, QList<Finding> findings, const QString& line,
                       const QByteArray& header, const QString& separator)
{
    Report report(path);
    const CatalogueText text =
        checkCatalogue(header + '\n' + line.toUtf8() + '\n', separator, report);
    findings += report.takeFindings();
    if (isArchive(path)) {
        const ArchiveContent archive(path);
        findings += archiveFindings(archive) + firstOfEachRule(archive.damages());
    }
    for (const Finding& finding : std::as_const(findings)) {
        if (catalogueRule(finding.rule).severity != Severity::Note) {
            return u"%1 [%2]"_s.arg(finding.problem, finding.rule);
        }
    }
    return text.entries.size() == 1 ? QString() : u"the client would drop its line"_s;
}

/// Makes lines for one file after another, in the columns of one catalogue.
class LineWriter
{
public:
    LineWriter(const QByteArray& catalogue, const QString& separator, QTextStream& err)
        : m_update(catalogue, separator)
        , m_header(
              catalogue
                  .first(catalogue.indexOf('\n') < 0 ? catalogue.size() : catalogue.indexOf('\n'))
                  .trimmed())
        , m_separator(separator)
        , m_err(err)
    {}

    [[nodiscard]] QString error() const { return m_update.error(); }

    /// The new line for @p path; nothing, with the reason said, where there can be none.
    [[nodiscard]] KnownText lineFor(const QString& path)
    {
        const InstallerFacts facts = InstallerReader::read(path);
        m_line = proposedLine(facts, QFileInfo(path).fileName());
        KnownText text{{}, m_line.unknown};
        if (m_line.isKnown() && m_names.contains(m_line.value.name)) {
            text.unknown = u"another file here brings %1 too"_s.arg(quoted(m_line.value.name));
        } else if (m_line.isKnown()) {
            text = m_update.newLine(m_line.value);
        }
        if (text.isKnown()) {
            const ProposedLine& line = m_line.value;
            text.unknown = checkedProblem(
                path, installerFindings(facts, {line.name, line.version, line.fileName}),
                text.value, m_header, m_separator);
        }
        return told(path, text);
    }

    /// Puts the line that lineFor() has made last into the catalogue; false, with the reason said,
    /// where that cannot be.
    [[nodiscard]] bool update(const QString& path)
    {
        return told(path, {{}, m_update.set(m_line.value)}).isKnown();
    }

    [[nodiscard]] QByteArray catalogue() const { return m_update.bytes(); }
    void keepName() { m_names.append(m_line.value.name); }
    void sayDateSource(const QString& path)
    {
        m_err << printable(path) << ": " << printable(m_line.value.dateSource) << '\n';
    }

private:
    KnownText told(const QString& path, const KnownText& text)
    {
        if (!text.isKnown()) {
            m_err << printable(path) << ": no line: " << printable(text.unknown) << '\n';
        }
        return text;
    }

    CatalogueUpdate m_update;
    QByteArray m_header;
    QString m_separator;
    QTextStream& m_err;
    Known<ProposedLine> m_line; ///< of the file that was read last
    QStringList m_names;        ///< that have a line
};

int writeLines(const CommandLine& line, const QByteArray& catalogue, QTextStream& out,
               QTextStream& err)
{
    const bool isUpdate = line.isSet(updateName);
    LineWriter writer(catalogue, line.separator(), err);
    if (const QString error = writer.error(); !error.isEmpty()) {
        return line.fail(error, err);
    }
    bool hasFailed = false;
    for (const QString& path : line.arguments()) {
        const KnownText proposed = writer.lineFor(path);
        if (!proposed.isKnown() || (isUpdate && !writer.update(path))) {
            hasFailed = true;
            continue;
        }
        writer.keepName();
        writer.sayDateSource(path);
        if (!isUpdate) {
            out << proposed.value << '\n';
        }
    }
    if (isUpdate) {
        out << text(writer.catalogue()).value;
    }
    return hasFailed ? SomethingFound : NothingFound;
}

} // namespace

int runLine(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    CommandLine line(u"line"_s,
                     u"Writes a catalogue's line for each installer: name and version as "
                     "the client will read them. Ends with 1 where there is none for "
                     "one, with the reason."_s);
    line.addArgument(u"FILE..."_s, u"Archives, packages, disk images."_s, true);
    line.addPlace(likeName, u"Write in the column order of <CATALOGUE>."_s, u"CATALOGUE"_s);
    line.addPlace(updateName,
                  u"Print <CATALOGUE> with the lines replaced or added, all else as it is."_s,
                  u"CATALOGUE"_s);
    line.addShared(CommandLine::Separator);
    if (const auto status = line.read(arguments, out, err)) {
        return *status;
    }
    const QString like = line.isSet(updateName) ? line.value(updateName) : line.value(likeName);
    if (line.isSet(updateName) && line.isSet(likeName)) {
        return line.fail(u"--like and --update exclude each other"_s, err);
    }
    for (const QString& file : line.arguments()) {
        if (!QFileInfo(file).isFile() || !QFileInfo(file).isReadable()) {
            return line.fail(u"cannot read %1"_s.arg(printable(file)), err);
        }
    }
    if (like.isEmpty()) {
        return writeLines(line, usualHeader(line.separator()), out, err);
    }
    const Source catalogue = readSource(like);
    const QString error =
        catalogue.error.isEmpty() ? text(catalogue.bytes).unknown : catalogue.error;
    return error.isEmpty() ? writeLines(line, catalogue.bytes, out, err) : line.fail(error, err);
}
