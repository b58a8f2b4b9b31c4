#pragma once

#include <QStringList>

/// The fields of one line of the catalogue after its header, split at every @p separator (quotes do
/// not protect it), each without surrounding white space and then without one pair of surrounding
/// double quotes.
[[nodiscard]] QStringList catalogueFields(const QString& line, const QString& separator);
