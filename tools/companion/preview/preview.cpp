#include "companion/preview/preview.h"

#include "companion/command.h"
#include "companion/preview/inventory.h"
#include "companion/preview/previewtable.h"
#include "companion/report/source.h"
#include "companion/report/texttable.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

/// What the options and arguments ask for.
struct PreviewOptions
{
    QString catalogue;
    QString published; ///< the catalogue to compare with; empty for none
    QString log;       ///< empty for none
    bool isScan = false;
    bool isJson = false;
    QString separator;
};

/// Reads one of the two catalogues; nothing, with the reason told, when that fails.
std::optional<QByteArray> readCatalogue(const QString& place, QTextStream& err)
{
    const Source source = readSource(place);
    if (!source.error.isEmpty()) {
        failCommand(u"preview"_s, place + ": "_L1 + source.error, err);
        return std::nullopt;
    }
    return source.bytes;
}

/// Reads what is installed; nothing, with the reason told, when that fails.
std::optional<Inventory> readInventory(const PreviewOptions& options, QTextStream& err)
{
    if (options.isScan) {
        return scannedInventory();
    }
    if (options.log.isEmpty()) {
        return noInventory();
    }
    const Source log = readSource(options.log);
    if (!log.error.isEmpty()) {
        failCommand(u"preview"_s, options.log + ": "_L1 + log.error, err);
        return std::nullopt;
    }
    std::optional<Inventory> inventory = loggedInventory(log.bytes);
    if (!inventory) {
        failCommand(u"preview"_s, options.log + ": the log shows no scan"_L1, err);
    } else if (!inventory->isWhole) {
        err << options.log << ": the log ends within its scan, applications are missing\n";
    }
    return inventory;
}

QString shownInstalled(const PreviewRow& row)
{
    return row.installedVersion.value_or(u"unknown"_s);
}

QString shownVerdict(const PreviewRow& row)
{
    return row.verdict.isEmpty() ? u"unknown"_s : row.verdict;
}

void writeRows(const QList<PreviewRow>& rows, QTextStream& out)
{
    QList<QStringList> table = {
        {u"Application"_s, u"Installed"_s, u"Catalogue"_s, u"Verdict"_s, u"Matched application"_s}};
    for (const PreviewRow& row : rows) {
        table.append({row.name, shownInstalled(row), row.catalogueVersion, shownVerdict(row),
                      row.matches.join(" or "_L1)});
    }
    writeTable(table, out);
}

void writeDifference(const PreviewDifference& difference, QTextStream& out)
{
    for (const RowChange& change : difference.rows) {
        const PreviewRow& row = change.after ? *change.after : *change.before;
        out << printable(row.name) << ": ";
        if (!change.before) {
            out << "new row, " << shownVerdict(row);
        } else if (!change.after) {
            out << "row gone, was " << shownVerdict(row);
        } else {
            out << shownVerdict(*change.before) << " -> " << shownVerdict(row);
        }
        out << " (installed: " << printable(shownInstalled(row))
            << ", catalogue: " << printable(row.catalogueVersion) << ")\n";
    }
    const auto rowNames = [](const QStringList& names) {
        return names.isEmpty() ? u"no row"_s : u'\'' + printable(names.join("', '"_L1)) + u'\'';
    };
    for (const MatchChange& change : difference.matches) {
        out << "Installed '" << printable(change.application) << "': matched by "
            << rowNames(change.before) << " -> " << rowNames(change.after) << '\n';
    }
    if (difference.rows.isEmpty() && difference.matches.isEmpty()) {
        out << "No row changes its colour and no match changes.\n";
    }
}

QJsonValue jsonRow(const std::optional<PreviewRow>& row)
{
    if (!row) {
        return QJsonValue::Null;
    }
    return QJsonObject{
        {u"name"_s, row->name},
        {u"installed"_s,
         row->installedVersion ? QJsonValue(*row->installedVersion) : QJsonValue(QJsonValue::Null)},
        {u"catalogue"_s, row->catalogueVersion},
        {u"verdict"_s,
         row->verdict.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(row->verdict)},
        {u"matches"_s, QJsonArray::fromStringList(row->matches)},
    };
}

void writeRowsAsJson(const QList<PreviewRow>& rows, QTextStream& out)
{
    QJsonArray array;
    for (const PreviewRow& row : rows) {
        array.append(jsonRow(row));
    }
    out << QJsonDocument(array).toJson();
}

void writeDifferenceAsJson(const PreviewDifference& difference, QTextStream& out)
{
    QJsonArray rows;
    for (const RowChange& change : difference.rows) {
        rows.append(QJsonObject{{u"before"_s, jsonRow(change.before)},
                                {u"after"_s, jsonRow(change.after)}});
    }
    QJsonArray matches;
    for (const MatchChange& change : difference.matches) {
        matches.append(QJsonObject{
            {u"application"_s, change.application},
            {u"before"_s, QJsonArray::fromStringList(change.before)},
            {u"after"_s, QJsonArray::fromStringList(change.after)},
        });
    }
    out << QJsonDocument(QJsonObject{{u"rows"_s, rows}, {u"matches"_s, matches}}).toJson();
}

int preview(const PreviewOptions& options, QTextStream& out, QTextStream& err)
{
    const std::optional<QByteArray> catalogue = readCatalogue(options.catalogue, err);
    if (!catalogue) {
        return Unusable;
    }
    const bool isComparison = !options.published.isEmpty();
    const std::optional<QByteArray> published =
        isComparison ? readCatalogue(options.published, err) : QByteArray();
    if (!published) {
        return Unusable;
    }
    const std::optional<Inventory> inventory = readInventory(options, err);
    if (!inventory) {
        return Unusable;
    }
    const QList<PreviewRow> rows = previewRows(*catalogue, options.separator, *inventory);
    if (rows.isEmpty()) {
        return failCommand(u"preview"_s,
                           options.catalogue +
                               ": no entry is offered; a window would report that it cannot reach "
                               "the catalogue"_L1,
                           err);
    }
    if (!isComparison) {
        options.isJson ? writeRowsAsJson(rows, out) : writeRows(rows, out);
        return NothingFound;
    }
    const PreviewDifference difference =
        previewDifference(previewRows(*published, options.separator, *inventory), rows);
    options.isJson ? writeDifferenceAsJson(difference, out) : writeDifference(difference, out);
    return NothingFound;
}

} // namespace

int runPreview(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    const QCommandLineOption log(
        u"log"_s, u"Show what a user sees whose machine wrote this quillmere.log."_s, u"LOG"_s);
    const QCommandLineOption scan(u"scan"_s, u"Show what this machine's user sees."_s);
    const QCommandLineOption published(
        u"published"_s, u"Print what changes for users of this catalogue instead."_s, u"OLD"_s);
    const QCommandLineOption separator(
        u"separator"_s, u"What separates the catalogue's fields; a comma by default."_s, u"S"_s,
        u","_s);
    const QCommandLineOption json(u"json"_s, u"Print JSON."_s);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Prints the table that a window shows for a catalogue: a row's name, the installed and\n"
        "the catalogue's version, the verdict that its colour tells, and the installed\n"
        "application that it stands for. Without --log and --scan, as before a first scan."_s);
    parser.addPositionalArgument(u"CATALOGUE"_s, u"A file, or an http(s) address."_s);
    parser.addOptions({log, scan, published, separator, json});
    if (const auto status = readArguments(parser, arguments, 1, 1, out, err)) {
        return *status;
    }
    if (parser.isSet(log) && parser.isSet(scan)) {
        return failCommand(u"preview"_s, u"--log and --scan exclude each other"_s, err);
    }
    return preview({parser.positionalArguments().constFirst(), parser.value(published),
                    parser.value(log), parser.isSet(scan), parser.isSet(json),
                    parser.value(separator)},
                   out, err);
}
