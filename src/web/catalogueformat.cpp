#include "web/catalogueformat.h"

#include "web/catalogueline.h"

using namespace Qt::Literals::StringLiterals;

CatalogueFormat::CatalogueFormat(const QString& header, const QString& separator)
    : m_separator(separator)
{
    const QStringList titles = header.split(separator);
    for (qsizetype place = 1; place < titles.size(); ++place) {
        m_places[titles[place]].prepend(place);
    }
}

QString CatalogueFormat::name(QStringView record) const
{
    return catalogueField(record, m_separator, 0)->toString();
}

QString CatalogueFormat::value(QStringView record, const QString& title) const
{
    for (const qsizetype place : m_places.value(title)) {
        if (const auto field = catalogueField(record, m_separator, place)) {
            return field->toString();
        }
    }
    return {};
}

bool CatalogueFormat::isOffered(QStringView record) const
{
    return value(record, u"Ignored"_s) == "0"_L1;
}
