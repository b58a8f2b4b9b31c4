#include "companion/report/texttable.h"

#include <QTextStream>

#include <algorithm>
#include <utility>

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

QString writtenOut(char32_t c)
{
    return c > 0xffff ? u"\\U%1"_s.arg(uint(c), 8, 16, QChar(u'0'))
                      : u"\\u%1"_s.arg(uint(c), 4, 16, QChar(u'0'));
}

} // namespace

bool isUnseen(char32_t c)
{
    switch (QChar::category(c)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Other_Surrogate:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

QString printable(const QString& text)
{
    QString shown;
    shown.reserve(text.size());
    for (qsizetype at = 0; at < text.size();) {
        const bool isPair =
            at + 1 < text.size() && text[at].isHighSurrogate() && text[at + 1].isLowSurrogate();
        const char32_t c =
            isPair ? QChar::surrogateToUcs4(text[at], text[at + 1]) : text[at].unicode();
        const qsizetype length = isPair ? 2 : 1;
        if (isUnseen(c)) {
            shown += writtenOut(c);
        } else {
            shown += QStringView(text).sliced(at, length);
        }
        at += length;
    }
    return shown;
}

QString quoted(const QString& text)
{
    return u'\'' + printable(text) + u'\'';
}

QString printableJson(const QByteArray& json)
{
    QString shown;
    shown.reserve(json.size());
    const QString text = QString::fromUtf8(json);
    for (qsizetype at = 0; at < text.size(); ++at) {
        const bool isPair =
            at + 1 < text.size() && text[at].isHighSurrogate() && text[at + 1].isLowSurrogate();
        if (isPair) {
            const char32_t c = QChar::surrogateToUcs4(text[at], text[at + 1]);
            shown += isUnseen(c)
                         ? writtenOut(text[at].unicode()) + writtenOut(text[at + 1].unicode())
                         : text.sliced(at, 2);
            ++at;
        } else if (isUnseen(text[at].unicode()) && text[at] != u'\n') {
            shown += writtenOut(text[at].unicode()); // line feeds stand between values alone
        } else {
            shown += text[at];
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
