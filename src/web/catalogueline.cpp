#include "web/catalogueline.h"

#include <QList>

namespace {

QStringView unquoted(QStringView field)
{
    const bool isQuoted = field.size() >= 2 && field.startsWith(u'"') && field.endsWith(u'"');
    return isQuoted ? field.sliced(1, field.size() - 2) : field;
}

} // namespace

std::optional<QStringView> catalogueField(QStringView line, const QString& separator,
                                          qsizetype place)
{
    if (separator.isEmpty()) { // splits between all characters: no search finds it
        const auto fields = line.split(separator);
        return place < fields.size() ? std::optional(unquoted(fields[place].trimmed()))
                                     : std::nullopt;
    }
    qsizetype start = 0;
    qsizetype end = line.indexOf(separator);
    for (; place > 0; --place) {
        if (end < 0) {
            return std::nullopt;
        }
        start = end + separator.size();
        end = line.indexOf(separator, start);
    }
    const QStringView field = end < 0 ? line.sliced(start) : line.sliced(start, end - start);
    return unquoted(field.trimmed());
}
