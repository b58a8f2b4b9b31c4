#include "companion/preview/preview.h"

#include "companion/preview/inventory.h"
#include "companion/preview/previewtable.h"
#include "companion/report/commandline.h"
#include "companion/report/source.h"
#include "companion/report/texttable.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString logName = u"log"_s;
const QString scanName = u"scan"_s;

void describe(CommandLine& line)
{
    line.addArgument(u"CATALOGUE"_s, u"A file, or an http(s) address."_s);
    line.addPlace(logName, u"Show what a user sees whose machine wrote this quillmere.log."_s,
                  u"LOG"_s);
    line.addSwitch(scanName, u"Show what this machine's user sees."_s);
    line.addShared(CommandLine::Separator | CommandLine::Published | CommandLine::Json);
}

/// Reads what a user named; nothing, with the reason told, when that fails.
std::optional<QByteArray> readNamed(const QString& place, const CommandLine& line, QTextStream& err)
{
    const Source source = readSource(place);
    if (!source.error.isEmpty()) {
        line.fail(source.error, err);
        return std::nullopt;
    }
    return source.bytes;
}

std::optional<Inventory> readLog(const QString& place, const CommandLine& line, QTextStream& err)
{
    const std::optional<QByteArray> log = readNamed(place, line, err);
    if (!log) {
        return std::nullopt;
    }
    std::optional<Inventory> inventory = loggedInventory(*log);
    if (!inventory) {
        line.fail(place + ": the log shows no scan"_L1, err);
    } else if (!inventory->isWhole) {
        err << place << ": the log ends within its scan, applications are missing\n";
    }
    return inventory;
}

/// Reads what is installed; nothing, with the reason told, when that fails.
std::optional<Inventory> readInventory(const CommandLine& line, QTextStream& err)
{
    if (line.isSet(scanName)) {
        return scannedInventory();
    }
    return line.isSet(logName) ? readLog(line.value(logName), line, err) : noInventory();
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
        QStringList shown;
        for (const QString& name : names) {
            shown.append(quoted(name));
        }
        return shown.isEmpty() ? u"no row"_s : shown.join(", "_L1);
    };
    for (const MatchChange& change : difference.matches) {
        out << "Installed " << quoted(change.application) << ": matched by "
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
    out << printableJson(QJsonDocument(array).toJson());
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
    out << printableJson(
        QJsonDocument(QJsonObject{{u"rows"_s, rows}, {u"matches"_s, matches}}).toJson());
}

int preview(const CommandLine& line, QTextStream& out, QTextStream& err)
{
    const QString place = line.arguments().constFirst();
    const bool isComparison = !line.published().isEmpty();
    const std::optional<QByteArray> catalogue = readNamed(place, line, err);
    if (!catalogue) {
        return Unusable;
    }
    const std::optional<QByteArray> published =
        isComparison ? readNamed(line.published(), line, err) : QByteArray();
    if (!published) {
        return Unusable;
    }
    const std::optional<Inventory> inventory = readInventory(line, err);
    if (!inventory) {
        return Unusable;
    }
    const QList<PreviewRow> rows = previewRows(*catalogue, line.separator(), *inventory);
    if (rows.isEmpty()) {
        return line.fail(place +
                             ": no entry is offered; a window would report that it cannot reach "
                             "the catalogue"_L1,
                         err);
    }
    if (!isComparison) {
        line.isJson() ? writeRowsAsJson(rows, out) : writeRows(rows, out);
        return NothingFound;
    }
    const QList<PreviewRow> formerRows = previewRows(*published, line.separator(), *inventory);
    if (formerRows.isEmpty()) {
        return line.fail(
            u"cannot compare with %1: no entry of it is offered"_s.arg(line.published()), err);
    }
    const PreviewDifference difference = previewDifference(formerRows, rows);
    line.isJson() ? writeDifferenceAsJson(difference, out) : writeDifference(difference, out);
    return NothingFound;
}

} // namespace

int runPreview(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    CommandLine line(
        u"preview"_s,
        u"Prints the table that a window shows for a catalogue: a row's name, the installed and\n"
        "the catalogue's version, the verdict that its colour tells, and the installed\n"
        "application that it stands for. Without --log and --scan, as before a first scan.\n"
        "With --published, prints what changes for its users instead."_s);
    describe(line);
    if (const auto status = line.read(arguments, out, err)) {
        return *status;
    }
    if (line.isSet(logName) && line.isSet(scanName)) {
        return line.fail(u"--log and --scan exclude each other"_s, err);
    }
    return preview(line, out, err);
}
