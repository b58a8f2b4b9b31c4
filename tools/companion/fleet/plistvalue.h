#pragma once

#include <QVariant>

#include <optional>

/// Reads a property list in XML: dictionaries become maps, arrays lists, everything else the text
/// between its tags. Nothing when it is damaged or no property list.
[[nodiscard]] std::optional<QVariant> readPlistValue(const QByteArray& xml);
