#include "companion/catalogue/fieldrules.h"

#include "companion/catalogue/columns.h"
#include "companion/report/texttable.h"
#include "web/catalogueformat.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

/// What the client shows or asks for of an entry.
QStringList usedFields(const QString& line, const CatalogueFormat& format)
{
    return {format.name(line), format.value(line, Column::version),
            format.value(line, Column::date), format.value(line, Column::fileName)};
}

/// Whether the client keeps quotes in @p field, of @p line, that are a spreadsheet's own.
bool hasOddQuotes(const QString& line, const QString& field)
{
    const bool wasQuoted = line.contains(u'"' + field + u'"');
    return field.startsWith(u'"') || field.contains("\"\""_L1) ||
           (wasQuoted && field.contains(u'"'));
}

} // namespace

void checkEncoding(qsizetype number, const QString& line, const CatalogueFormat& format,
                   Report& report)
{
    if (!line.contains(QChar::ReplacementCharacter)) {
        return; // most lines need not be taken apart
    }
    const QStringList fields = usedFields(line, format);
    const auto broken = std::find_if(fields.cbegin(), fields.cend(), [](const QString& field) {
        return field.contains(QChar::ReplacementCharacter);
    });
    if (broken != fields.cend()) {
        report.add(number, u"encoding"_s, u"%1 has bytes that are no UTF-8"_s.arg(quoted(*broken)));
    }
}

void checkQuotes(qsizetype number, const QString& line, const CatalogueFormat& format,
                 Report& report)
{
    if (!line.contains(u'"')) {
        return;
    }
    const QStringList fields = usedFields(line, format);
    const auto odd = std::find_if(fields.cbegin(), fields.cend(), [&line](const QString& field) {
        return hasOddQuotes(line, field);
    });
    if (odd != fields.cend()) {
        report.add(number, u"field-quotes"_s,
                   u"the client keeps the quotes of %1"_s.arg(quoted(*odd)));
    }
}
