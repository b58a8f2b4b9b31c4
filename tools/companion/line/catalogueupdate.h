#pragma once

#include "companion/line/proposedline.h"
#include "web/catalogueformat.h"

#include <QByteArray>
#include <QList>

/// A catalogue whose lines are replaced or added to, one by one; everything else stays byte for
/// byte.
class CatalogueUpdate
{
public:
    CatalogueUpdate(const QByteArray& catalogue, const QString& separator);

    /// Why lines cannot be written in this catalogue's columns; empty when they can.
    [[nodiscard]] QString error() const;
    /// The line that an entry would have here if it were new.
    [[nodiscard]] KnownText newLine(const ProposedLine& line) const;
    /// Replaces the values in the entry's line, or adds a line. The entry is the one of exactly the
    /// name, or else the only one whose name the line's goes on with digits, dots and blanks alone.
    /// Returns why that cannot be; empty when it is done.
    [[nodiscard]] QString set(const ProposedLine& line);
    [[nodiscard]] QByteArray bytes() const;

private:
    struct Line
    {
        QByteArray text;
        QByteArray end; ///< "\n", "\r\n" or nothing
    };

    /// @p fields with the line's values in their columns.
    [[nodiscard]] KnownText filled(QStringList fields, const ProposedLine& line) const;
    /// The lines, from 1, whose entries @p line may be meant for.
    [[nodiscard]] QList<qsizetype> linesFor(const QString& name) const;
    [[nodiscard]] QString nameIn(const Line& line) const;
    void add(const QString& text);

    QString m_separator;
    QStringList m_titles;
    CatalogueFormat m_format;
    QList<Line> m_lines; ///< the header's is the first
};

/// The header of a catalogue that has the columns which the client reads, in their usual order.
[[nodiscard]] QByteArray usualHeader(const QString& separator);
