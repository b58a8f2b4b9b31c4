#include "companion/report/texttable.h"

#include <QTextStream>

#include <algorithm>
#include <iterator>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString columnGap = u"  "_s;

struct Range
{
    char32_t first;
    char32_t last;
};

/// The blocks that a terminal shows two columns wide: East Asian letters and signs, and the signs
/// that are shown as pictures.
constexpr Range wideRanges[] = {
    {0x1100, 0x115f},   {0x231a, 0x231b},   {0x23e9, 0x23ec},   {0x25fd, 0x25fe},
    {0x2614, 0x2615},   {0x2648, 0x2653},   {0x26a1, 0x26a1},   {0x2705, 0x2705},
    {0x2728, 0x2728},   {0x274c, 0x274c},   {0x2753, 0x2755},   {0x2795, 0x2797},
    {0x2b1b, 0x2b1c},   {0x2b50, 0x2b50},   {0x2e80, 0x303e},   {0x3041, 0xa4cf},
    {0xa960, 0xa97f},   {0xac00, 0xd7a3},   {0xf900, 0xfaff},   {0xfe30, 0xfe6f},
    {0xff00, 0xff60},   {0xffe0, 0xffe6},   {0x16fe0, 0x18aff}, {0x1b000, 0x1b2ff},
    {0x1f1e6, 0x1f1ff}, {0x1f300, 0x1f64f}, {0x1f680, 0x1f6ff}, {0x1f7e0, 0x1f7eb},
    {0x1f900, 0x1f9ff}, {0x1fa70, 0x1faff}, {0x20000, 0x3fffd}};

bool isWide(char32_t c)
{
    return std::any_of(std::begin(wideRanges), std::end(wideRanges),
                       [c](const Range& range) { return c >= range.first && c <= range.last; });
}

bool isCombining(char32_t c)
{
    const QChar::Category category = QChar::category(c);
    const bool isMedialJamo = c >= 0x1160 && c <= 0x11ff;
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing || isMedialJamo;
}

QList<qsizetype> columnWidths(const QList<QStringList>& rows)
{
    QList<qsizetype> widths(rows.isEmpty() ? 0 : rows.constFirst().size());
    for (const QStringList& row : rows) {
        for (qsizetype column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], shownWidth(row[column]));
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
    if (c >= 0x20 && c < 0x7f) {
        return false; // almost all
    }
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

qsizetype shownWidth(const QString& text)
{
    qsizetype width = 0;
    for (const char32_t c : text.toUcs4()) {
        width += isCombining(c) ? 0 : isWide(c) ? 2 : 1;
    }
    return width;
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
            line +=
                row[column] + QString(widths[column] - shownWidth(row[column]), u' ') + columnGap;
        }
        out << line << row.last() << '\n';
    }
}
