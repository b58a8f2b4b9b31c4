#pragma once

#include <QStringList>

#include <optional>

/// The fields of one line of the catalogue after its header, split at every @p separator (quotes do
/// not protect it), each without surrounding white space and then without one pair of surrounding
/// double quotes.
[[nodiscard]] QStringList catalogueFields(const QString& line, const QString& separator);

/// The field of that line at @p place, from 0; nothing when the line has fewer fields. Valid as
/// long as @p line is.
[[nodiscard]] std::optional<QStringView> catalogueField(QStringView line, const QString& separator,
                                                        qsizetype place);
