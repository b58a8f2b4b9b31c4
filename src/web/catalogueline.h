#pragma once

#include <QString>

#include <optional>

/// The field at @p place, from 0, of one @p line of the catalogue after its header; nothing when
/// the line has fewer fields. Valid as long as @p line is.
///
/// A line is split at every @p separator (quotes do not protect it), each field without surrounding
/// white space and then without one pair of surrounding double quotes.
[[nodiscard]] std::optional<QStringView> catalogueField(QStringView line, const QString& separator,
                                                        qsizetype place);
