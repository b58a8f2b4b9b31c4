#include "profiler/versionorder.h"

#include <QList>

#include <algorithm>

namespace {

QStringView beforeBracket(const QString& version)
{
    const QStringView text(version);
    const qsizetype bracket = text.indexOf(u'(');
    return (bracket < 0 ? text : text.first(bracket)).trimmed();
}

bool isDigit(QChar c)
{
    return c.unicode() < 0x80 ? c >= u'0' && c <= u'9' : c.category() == QChar::Number_DecimalDigit;
}

/// The number that @p part begins with; 0 where there is none, or none of 32 bits.
int leadingNumber(QStringView part)
{
    const auto end = std::find_if_not(part.cbegin(), part.cend(), isDigit);
    return part.first(end - part.cbegin()).toInt();
}

} // namespace

int compareVersions(const QString& a, const QString& b)
{
    const auto partsOfA = beforeBracket(a).split(u'.');
    const auto partsOfB = beforeBracket(b).split(u'.');
    const qsizetype common = std::min(partsOfA.size(), partsOfB.size());
    for (qsizetype i = 0; i < common; ++i) {
        const int numberOfA = leadingNumber(partsOfA[i]);
        const int numberOfB = leadingNumber(partsOfB[i]);
        if (numberOfA != numberOfB) {
            return numberOfA > numberOfB ? 1 : -1;
        }
    }
    return 0;
}
