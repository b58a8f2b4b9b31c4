#include "web/catalogueline.h"

namespace {

QStringView unquoted(QStringView field)
{
    const bool isQuoted = field.size() >= 2 && field.startsWith(u'"') && field.endsWith(u'"');
    return isQuoted ? field.sliced(1, field.size() - 2) : field;
}

} // namespace

QStringList catalogueFields(const QString& line, const QString& separator)
{
    QStringList fields;
    for (const QStringView field : QStringView(line).split(separator)) {
        fields.append(unquoted(field.trimmed()).toString());
    }
    return fields;
}
