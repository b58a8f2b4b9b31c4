#include "companion/catalogue/cataloguetext.h"

#include "companion/catalogue/columns.h"
#include "companion/catalogue/fieldrules.h"
#include "companion/report/texttable.h"
#include "web/catalogueformat.h"

#include <QIODevice>
#include <QStringTokenizer>
#include <QTextStream>

#include <algorithm>
#include <limits>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

/// A title without what is easily added to it by mistake.
QString bareTitle(const QString& title)
{
    QString bare = title;
    return bare.remove(u'"').simplified().toLower();
}

QString separatorName(const QString& separator)
{
    return separator == "\t"_L1 ? u"a tabulator"_s : quoted(separator);
}

/// The separator by which the header has the client's titles; empty when there is none such.
QString likelySeparator(const QString& header)
{
    for (const QString& separator : {u","_s, u";"_s, u"\t"_s, u"|"_s}) {
        QStringList titles;
        for (const QString& title : header.split(separator)) {
            titles.append(bareTitle(title));
        }
        if (titles.contains(bareTitle(Column::ignored)) ||
            titles.contains(bareTitle(Column::version))) {
            return separator;
        }
    }
    return {};
}

bool isSeparatorWrong(const QString& header, const QString& separator, Report& report)
{
    const QString likely = likelySeparator(header);
    if (header.contains(separator) || likely.isEmpty() || likely == separator) {
        return false;
    }
    report.add(1, u"separator"_s,
               u"the header has no %1, its titles stand between %2"_s.arg(separatorName(separator),
                                                                          separatorName(likely)));
    return true;
}

void checkHeader(const QString& header, const QString& separator, Report& report)
{
    if (header.contains(u'\r')) {
        report.add(1, u"line-ends"_s, u"the first line holds a carriage return"_s);
        return;
    }
    if (isSeparatorWrong(header, separator, report)) {
        return;
    }
    // The first field's title is not used.
    const QStringList titles = header.split(separator).sliced(1);
    for (const QString& wanted :
         {Column::version, Column::date, Column::fileName, Column::ignored}) {
        if (titles.contains(wanted)) {
            continue;
        }
        const auto similar =
            std::find_if(titles.cbegin(), titles.cend(), [&wanted](const QString& title) {
                return bareTitle(title) == bareTitle(wanted);
            });
        if (similar != titles.cend()) {
            report.add(1, u"header-title"_s,
                       u"the title %1 is not exactly %2"_s.arg(quoted(*similar), quoted(wanted)));
        } else {
            report.add(1, u"header-column"_s, u"no column is titled %1"_s.arg(quoted(wanted)));
        }
    }
}

/// The last of the columns that the client reads.
qsizetype lastUsedColumn(const QStringList& titles)
{
    qsizetype last = 0;
    for (const QString& title :
         {Column::version, Column::date, Column::fileName, Column::ignored}) {
        last = std::max(last, titles.lastIndexOf(title));
    }
    return last;
}

/// The field that begins with a quote, in the column @p last or before it, and ends in another
/// field; empty when there is none.
QString splitField(const QString& line, const QString& separator,
                   qsizetype last = std::numeric_limits<qsizetype>::max())
{
    if (!line.contains(u'"') || separator.isEmpty()) {
        return {};
    }
    QStringView start;
    qsizetype column = 0;
    for (const QStringView raw : QStringTokenizer(QStringView(line), QStringView(separator))) {
        const QStringView field = raw.trimmed();
        const bool opens = field.startsWith(u'"');
        const bool closes = field.endsWith(u'"');
        if (opens && (!closes || field.size() == 1) && start.isNull()) {
            if (column > last) {
                break;
            }
            start = field;
        } else if (closes && !opens && !start.isNull()) {
            return QString(start.data(), field.data() + field.size() - start.data());
        }
        ++column;
    }
    return {};
}

void reportSplitField(qsizetype number, const QString& field, Report& report)
{
    report.add(number, u"field-split"_s,
               u"the quotes of %1 protect nothing"_s.arg(printable(field)));
}

void reportDropped(qsizetype number, const QString& line, const QString& separator,
                   const CatalogueFormat& format, Report& report)
{
    if (line.trimmed().isEmpty()) {
        report.add(number, u"dropped-empty"_s, u"the line is empty"_s);
        return;
    }
    const QString ignored = format.value(line, Column::ignored);
    if (const QString field = splitField(line, separator); !field.isEmpty()) {
        reportSplitField(number, field, report);
    } else if (ignored.isNull()) {
        report.add(number, u"dropped-short"_s,
                   u"the line ends before \"Ignored\": it has %1 field(s)"_s.arg(
                       line.count(separator) + 1));
    } else if (ignored == "1"_L1) {
        report.add(number, u"dropped-hidden"_s,
                   u"\"Ignored\" is 1 for %1"_s.arg(quoted(format.name(line))));
    } else {
        report.add(number, u"dropped-ignored"_s,
                   ignored.isEmpty() ? u"\"Ignored\" is empty"_s
                                     : u"\"Ignored\" is %1"_s.arg(quoted(ignored)));
    }
}

} // namespace

CatalogueText readCatalogue(const QByteArray& bytes, const QString& separator, Report& report)
{
    CatalogueText text;
    QTextStream lines(bytes, QIODevice::ReadOnly);
    const QString header = lines.readLine();
    const CatalogueFormat format(header, separator);
    const QStringList titles = header.split(separator);
    const bool hasIgnored = titles.sliced(1).contains(Column::ignored);
    const qsizetype lastUsed = lastUsedColumn(titles);
    if (!bytes.isEmpty()) {
        checkHeader(header, separator, report);
    }
    QString line;
    for (qsizetype number = 2; lines.readLineInto(&line); ++number) {
        if (format.isOffered(line)) {
            text.entries.append({number, format.name(line), format.value(line, Column::version),
                                 format.value(line, Column::fileName)});
            // A split in the columns behind is of no account.
            if (const QString field = splitField(line, separator, lastUsed); !field.isEmpty()) {
                reportSplitField(number, field, report);
            } else {
                checkQuotes(number, line, format, report);
            }
            checkEncoding(number, line, format, report);
        } else if (hasIgnored) { // else the header's finding tells of every line
            reportDropped(number, line, separator, format, report);
            if (format.value(line, Column::ignored) == "1"_L1) {
                text.hiddenNames.append(format.name(line));
                text.hiddenFiles.append(format.value(line, Column::fileName));
            }
        }
    }
    if (text.entries.isEmpty()) {
        report.add(0, u"no-entry"_s,
                   bytes.isEmpty() ? u"the catalogue is empty"_s
                                   : u"no line of %1 bytes is a valid entry"_s.arg(bytes.size()));
    }
    return text;
}
