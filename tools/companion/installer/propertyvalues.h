#pragma once

#include "companion/installer/known.h"

#include <QHash>

/// One value of a property list's outermost dictionary.
struct PropertyValue
{
    enum Type
    {
        Text,
        Integer,
        Truth, ///< "true" or "false"
        Other  ///< a dictionary, a list, a real number, a date or data
    };
    Type type = Text;
    QString text; ///< as `plutil -extract KEY raw` prints it; empty for Other

    bool operator==(const PropertyValue&) const = default;
};

/// A property list's outermost dictionary.
struct PropertyList
{
    QHash<QString, PropertyValue> values;
    QString error; ///< why it cannot be read; empty when it can

    /// The value of @p key without the blanks around it; known and empty where there is none, or no
    /// text.
    [[nodiscard]] KnownText text(const QString& key) const
    {
        return error.isEmpty()
                   ? KnownText{values.value(key).text.trimmed(), {}}
                   : unknownText(QStringLiteral("its property list cannot be read: ") + error);
    }
};
