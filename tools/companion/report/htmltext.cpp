#include "companion/report/htmltext.h"

#include "companion/report/texttable.h"

using namespace Qt::Literals::StringLiterals;

QString htmlText(const QString& text)
{
    return printable(text).toHtmlEscaped().replace(u'\'', "&#39;"_L1);
}
