#include "companion/report/texttable.h"

#include <QTextStream>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString columnGap = u"  "_s;

QList<qsizetype> columnWidths(const QList<QStringList>& rows)
{
    QList<qsizetype> widths(rows.isEmpty() ? 0 : rows.constFirst().size());
    for (const QStringList& row : rows) {
        for (qsizetype column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    return widths;
}

} // namespace

QString printable(const QString& text)
{
    QString shown;
    shown.reserve(text.size());
    for (const QChar c : text) {
        if (c.category() == QChar::Other_Control) {
            shown += u"\\u%1"_s.arg(int(c.unicode()), 4, 16, QChar(u'0'));
        } else {
            shown += c;
        }
    }
    return shown;
}

void writeTable(const QList<QStringList>& rows, QTextStream& out)
{
    QList<QStringList> shown = rows;
    for (QStringList& row : shown) {
        std::transform(row.cbegin(), row.cend(), row.begin(), printable);
    }
    const QList<qsizetype> widths = columnWidths(shown);
    for (const QStringList& row : std::as_const(shown)) {
        QString line;
        for (qsizetype column = 0; column + 1 < row.size(); ++column) {
            line += row[column].leftJustified(widths[column]) + columnGap;
        }
        out << line << row.last() << '\n';
    }
}
