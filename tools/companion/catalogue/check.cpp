#include "companion/catalogue/check.h"

#include "companion/catalogue/filerules.h"
#include "companion/catalogue/namerules.h"
#include "companion/catalogue/versionrules.h"
#include "companion/command.h"
#include "companion/report/rules.h"
#include "companion/report/source.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

struct CheckOptions
{
    QCommandLineOption separator{
        u"separator"_s, u"Fields stand between <S>; \"\\t\" is a tabulator."_s, u"S"_s, u","_s};
    QCommandLineOption files{u"files"_s, u"Check the installers in <FOLDER> too."_s, u"FOLDER"_s};
    QCommandLineOption published{
        u"published"_s, u"Compare with <OLD>, the catalogue that users have now."_s, u"OLD"_s};
    QCommandLineOption strict{u"strict"_s, u"Let warnings count: end with 1 for them too."_s};
    QCommandLineOption json{u"json"_s, u"Write the findings as JSON."_s};
    QCommandLineOption listRules{u"list-rules"_s, u"Explain every rule and end."_s};
};

void describe(QCommandLineParser& parser, const CheckOptions& options)
{
    parser.setApplicationDescription(u"Finds what is wrong with a catalogue. Ends with 0 when "
                                     "there is nothing or warnings only, with 1 for errors, with 2 "
                                     "for unusable input."_s);
    parser.addPositionalArgument(u"CATALOGUE"_s, u"A file, or an http or https address."_s);
    parser.addOptions({options.separator, options.files, options.published, options.strict,
                       options.json, options.listRules});
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
    QList<CatalogueEntry> published;
    QString folder; ///< the installers'; empty when they are not checked
    QString error;  ///< why nothing can be checked; empty when something can
};

QString readInto(QByteArray& bytes, const QString& place)
{
    const Source source = readSource(place);
    bytes = source.bytes;
    return source.error.isEmpty() ? QString() : u"cannot read %1: %2"_s.arg(place, source.error);
}

CheckTask taskOf(const QCommandLineParser& parser, const CheckOptions& options)
{
    CheckTask task;
    const QString separator = parser.value(options.separator);
    task.separator = separator == "\\t"_L1 ? u"\t"_s : separator;
    task.place = parser.positionalArguments().constFirst();
    task.folder = parser.value(options.files);
    if (task.separator.isEmpty()) {
        task.error = u"the separator is empty"_s;
    } else if (parser.isSet(options.files) && !QFileInfo(task.folder).isDir()) {
        task.error = u"%1 is no folder"_s.arg(task.folder);
    } else {
        task.error = readInto(task.catalogue, task.place);
    }
    if (task.error.isEmpty() && parser.isSet(options.published)) {
        QByteArray published;
        task.error = readInto(published, parser.value(options.published));
        Report unused(task.place);
        task.published = readCatalogue(published, task.separator, unused).entries;
    }
    return task;
}

QList<Finding> findingsOf(const CheckTask& task, QTextStream& progress)
{
    Report report(task.place);
    const CatalogueText text = checkCatalogue(task.catalogue, task.separator, report);
    checkAgainstPublished(text.entries, task.published, report);
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
    const CheckOptions options;
    QCommandLineParser parser;
    describe(parser, options);
    const bool listsRules = arguments.contains("--list-rules"_L1);
    if (const auto status = readArguments(parser, arguments, listsRules ? 0 : 1, 1, out, err)) {
        return *status;
    }
    if (listsRules) {
        listRules(out);
        return NothingFound;
    }
    const CheckTask task = taskOf(parser, options);
    if (!task.error.isEmpty()) {
        return failCommand(u"check"_s, task.error, err);
    }
    const QList<Finding> findings = findingsOf(task, err);
    write(findings, parser.isSet(options.json), out);
    return isFailure(findings, parser.isSet(options.strict)) ? SomethingFound : NothingFound;
}
