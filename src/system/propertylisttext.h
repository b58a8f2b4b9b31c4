#pragma once

#include <QString>

#include <optional>

class QIODevice;

/// The value of @p key in the XML text of the property list that @p file, which is open, holds: the
/// text of the element after the key; of several keys the last one's, however deep. Empty where the
/// text lacks the key; nothing where it is no whole XML and yields no value.
[[nodiscard]] std::optional<QString> propertyListText(QIODevice& file, const QString& key);
