#include "companion/report/severity.h"

using namespace Qt::Literals::StringLiterals;

QString severityName(Severity severity)
{
    switch (severity) {
    case Severity::Note:
        return u"note"_s;
    case Severity::Warning:
        return u"warning"_s;
    case Severity::Error:
        break;
    }
    return u"error"_s;
}
