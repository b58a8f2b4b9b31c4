#pragma once

#include <QHash>
#include <QStringList>

/// How the records of one catalogue are laid out, as its header line tells: which field stands
/// under which title.
class CatalogueFormat
{
public:
    /// No title at all.
    CatalogueFormat() = default;
    /// The titles are those between the separators, deliberately as they stand: neither trimmed nor
    /// unquoted.
    CatalogueFormat(const QString& header, const QString& separator);

    /// The name of the application that @p record, a line of the catalogue, is about.
    [[nodiscard]] QString name(QStringView record) const;
    /// The field of @p record under @p title; a null text when the title is unknown or the record
    /// ends before. Of two columns of one title the later counts.
    [[nodiscard]] QString value(QStringView record, const QString& title) const;
    /// Whether the application is offered to users: its "Ignored" is exactly "0".
    [[nodiscard]] bool isOffered(QStringView record) const;

private:
    QString m_separator;
    QHash<QString, QList<qsizetype>> m_places; ///< a title's fields, the last one first
};
