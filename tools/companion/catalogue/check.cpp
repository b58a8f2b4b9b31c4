#include "companion/catalogue/check.h"

#include "companion/catalogue/filerules.h"
#include "companion/catalogue/knownnames.h"
#include "companion/catalogue/namerules.h"
#include "companion/catalogue/published.h"
#include "companion/catalogue/publishedrules.h"
#include "companion/catalogue/versionrules.h"
#include "companion/report/commandline.h"
#include "companion/report/rules.h"
#include "companion/report/source.h"

#include <QFileInfo>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString filesName = u"files"_s;
const QString knownName = u"known"_s;
const QString removesName = u"removes"_s;
const QString listRulesName = u"list-rules"_s;

void describe(CommandLine& line)
{
    line.addArgument(u"CATALOGUE"_s, u"A file, or an http or https address."_s);
    line.addShared(CommandLine::Separator | CommandLine::Published | CommandLine::Strict |
                   CommandLine::Json);
    line.addPlace(filesName, u"Check the installers in <FOLDER> too."_s, u"FOLDER"_s);
    line.addPlace(knownName, u"Compare with the names of bundles in <NAMES>, one a line."_s,
                  u"NAMES"_s);
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

void write(const QList<Finding>& findings, bool asJson, QTextStream& out)
{
    asJson ? writeFindingsAsJson(findings, out) : writeFindings(findings, out);
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
    QString folder;      ///< the installers'; empty when they are not checked
    QString error;       ///< why nothing can be checked; empty when something can
};

CheckTask taskOf(const CommandLine& line)
{
    CheckTask task;
    task.separator = line.separator();
    task.place = line.arguments().constFirst();
    task.folder = line.value(filesName);
    if (!task.folder.isEmpty() && !QFileInfo(task.folder).isDir()) {
        task.error = u"%1 is no folder"_s.arg(task.folder);
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
        const Source known = readSource(line.value(knownName));
        task.error = known.error;
        task.known = readKnownNames(known.bytes);
        if (task.error.isEmpty() && task.known.isEmpty()) {
            task.error = u"%1 holds no name"_s.arg(line.value(knownName));
        }
    }
    return task;
}

QList<Finding> findingsOf(const CheckTask& task, QTextStream& progress)
{
    Report report(shownPlace(task.place));
    const CatalogueText text = checkCatalogue(task.catalogue, task.separator, report);
    checkAgainstPublished(text, task.published.text.entries, task.mayGo, report);
    checkKnownNames(text.entries, task.known, report);
    if (!task.folder.isEmpty()) {
        checkFiles(text, task.folder, task.published, report, progress);
    }
    return report.findings();
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
        listRules(out);
        return NothingFound;
    }
    const CheckTask task = taskOf(line);
    if (!task.error.isEmpty()) {
        return line.fail(task.error, err);
    }
    const QList<Finding> findings = findingsOf(task, err);
    write(findings, line.isJson(), out);
    return isFailure(findings, line.isStrict()) ? SomethingFound : NothingFound;
}
