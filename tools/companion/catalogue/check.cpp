#include "companion/catalogue/check.h"

#include "companion/archive/interruption.h"
#include "companion/catalogue/accepted.h"
#include "companion/catalogue/filerules.h"
#include "companion/catalogue/knownnames.h"
#include "companion/catalogue/namerules.h"
#include "companion/catalogue/published.h"
#include "companion/catalogue/publishedrules.h"
#include "companion/catalogue/versionrules.h"
#include "companion/report/commandline.h"
#include "companion/report/progress.h"
#include "companion/report/rules.h"
#include "companion/report/source.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString acceptName = u"accept"_s;
const QString filesName = u"files"_s;
const QString knownName = u"known"_s;
const QString removesName = u"removes"_s;
const QString thoroughName = u"thorough"_s;
const QString listRulesName = u"list-rules"_s;

void describe(CommandLine& line)
{
    line.addArgument(u"CATALOGUE"_s, u"A file, or an http or https address."_s);
    line.addShared(CommandLine::Separator | CommandLine::Published | CommandLine::Strict |
                   CommandLine::Short | CommandLine::Json);
    line.addPlace(filesName, u"Check the installers in <FOLDER> too."_s, u"FOLDER"_s);
    line.addSwitch(thoroughName, u"Unpack every archive of --files by unzip."_s);
    line.addPlace(knownName, u"Compare with the names of bundles in <NAMES>, one a line."_s,
                  u"NAMES"_s);
    line.addPlace(acceptName,
                  u"Leave out the findings in <LIST>: a rule and an entry's name in each line."_s,
                  u"LIST"_s);
    line.addNumber(removesName, u"Let <N> published entries be gone, none by default."_s, u"N"_s);
    line.addEnd(listRulesName, u"Explain every rule and end."_s);
}

void listRules(QTextStream& out)
{
    for (const Rule& rule : catalogueRules()) {
        out << rule.id << " (" << severityName(rule.severity) << ")\n    " << rule.meaning
            << "\n    " << rule.effect << "\n    " << rule.remedy << '\n';
    }
}

void listRulesAsJson(QTextStream& out)
{
    QJsonArray rules;
    for (const Rule& rule : catalogueRules()) {
        rules.append(QJsonObject{{u"rule"_s, rule.id},
                                 {u"severity"_s, severityName(rule.severity)},
                                 {u"meaning"_s, rule.meaning},
                                 {u"effect"_s, rule.effect},
                                 {u"remedy"_s, rule.remedy}});
    }
    out << QJsonDocument(QJsonObject{{u"version"_s, 1}, {u"rules"_s, rules}}).toJson();
}

/// What the command found.
struct CheckResult
{
    QList<Finding> findings;
    Summary summary;
};

void write(const CheckResult& result, const CommandLine& line, QTextStream& out)
{
    if (line.isJson()) {
        writeFindingsAsJson(result.findings, result.summary, out);
    } else if (line.isShort()) {
        writeFindingsShortly(result.findings, out);
    } else {
        writeFindings(result.findings, out);
    }
}

/// Says what the findings do not.
void writeEnd(const CheckResult& result, bool isInterrupted, QTextStream& err)
{
    if (isInterrupted) {
        err << "interrupted: not everything was looked at\n";
    } else if (result.findings.isEmpty()) {
        err << cleanText(result.summary) << '\n';
    } else if (result.summary.leftOut > 0) {
        err << result.summary.leftOut << " more findings are left out\n";
    }
}

/// What the command reads and how.
struct CheckTask
{
    QString place;
    QByteArray catalogue;
    QString separator;
    Published published;
    qsizetype mayGo = 0; ///< how many of its entries may be gone
    QStringList known;   ///< names of bundles that others have
    FileTask files;
    std::optional<AcceptedFindings> accepted;
    QString error; ///< why nothing can be checked; empty when something can
};

void readKnown(CheckTask& task, const QString& place)
{
    const Source known = readSource(place);
    task.error = known.error;
    task.known = readKnownNames(known.bytes);
    if (task.error.isEmpty() && task.known.isEmpty()) {
        task.error = u"%1 holds no name"_s.arg(place);
    }
}

void readAccepted(CheckTask& task, const QString& place)
{
    const Source accepted = readSource(place);
    task.accepted.emplace(accepted.bytes, shownPlace(place));
    task.error = accepted.error.isEmpty() ? task.accepted->error() : accepted.error;
}

CheckTask taskOf(const CommandLine& line)
{
    CheckTask task;
    task.separator = line.separator();
    task.place = line.arguments().constFirst();
    task.files = {line.value(filesName), line.isSet(thoroughName)};
    if (!task.files.folder.isEmpty() && !QFileInfo(task.files.folder).isDir()) {
        task.error = u"%1 is no folder"_s.arg(task.files.folder);
        return task;
    }
    if (task.files.isThorough && task.files.folder.isEmpty()) {
        task.error = u"--thorough needs --files"_s;
        return task;
    }
    const Source catalogue = readSource(task.place);
    task.catalogue = catalogue.bytes;
    task.error = catalogue.error;
    if (task.error.isEmpty() && !line.published().isEmpty()) {
        task.published = readPublished(line.published(), task.separator);
        task.error = task.published.error;
    }
    task.mayGo = line.number(removesName);
    if (task.error.isEmpty() && line.isSet(knownName)) {
        readKnown(task, line.value(knownName));
    }
    if (task.error.isEmpty() && line.isSet(acceptName)) {
        readAccepted(task, line.value(acceptName));
    }
    return task;
}

/// The names that lines have for whoever accepts a finding in them.
QHash<qsizetype, QString> namesByLine(const CatalogueText& text)
{
    QHash<qsizetype, QString> names;
    for (const CatalogueEntry& entry : text.entries) {
        names.insert(entry.line, entry.name);
    }
    return names;
}

CheckResult resultOf(CheckTask& task, Progress& progress, const std::atomic<bool>& isStopped)
{
    CheckResult result;
    Report report(shownPlace(task.place));
    const CatalogueText text = checkCatalogue(task.catalogue, task.separator, report);
    checkAgainstPublished(text, task.published.text.entries, task.mayGo, report);
    checkKnownNames(text.entries, task.known, report);
    if (!task.files.folder.isEmpty()) {
        result.summary.files =
            checkFiles(text, task.files, task.published, report, progress, isStopped);
    }
    result.findings = report.takeFindings();
    result.summary.entries = text.entries.size();
    result.summary.leftOut = report.leftOut();
    if (task.accepted) {
        result.summary.accepted = task.accepted->removeFrom(result.findings, namesByLine(text));
        result.findings += task.accepted->needless();
    }
    return result;
}

} // namespace

CatalogueText checkCatalogue(const QByteArray& bytes, const QString& separator, Report& report)
{
    CatalogueText text = readCatalogue(bytes, separator, report);
    checkNames(text.entries, report);
    checkVersions(text.entries, report);
    checkFileNames(text.entries, report);
    return text;
}

int runCheck(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    CommandLine line(u"check"_s, u"Finds what is wrong with a catalogue. Ends with 0 when there is "
                                 "nothing or warnings only, with 1 for errors, with 2 for unusable "
                                 "input."_s);
    describe(line);
    if (const auto status = line.read(arguments, out, err)) {
        return *status;
    }
    if (line.isSet(listRulesName)) {
        line.isJson() ? listRulesAsJson(out) : listRules(out);
        return NothingFound;
    }
    CheckTask task = taskOf(line);
    if (!task.error.isEmpty()) {
        return line.fail(task.error, err);
    }
    CheckResult result;
    const Interruption interruption;
    {
        Progress progress(err, Progress::isOnTerminal());
        result = resultOf(task, progress, interruption.hasCome());
    }
    write(result, line, out);
    writeEnd(result, interruption.hasCome(), err);
    if (interruption.hasCome()) {
        return interruption.exitStatus();
    }
    const bool hasFailed =
        result.summary.leftOut > 0 || isFailure(result.findings, line.isStrict());
    return hasFailed ? SomethingFound : NothingFound;
}
