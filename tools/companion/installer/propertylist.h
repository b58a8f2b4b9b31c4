#pragma once

#include "companion/installer/known.h"

#include <QByteArray>
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
    [[nodiscard]] KnownText text(const QString& key) const;
};

/// Reads a property list: XML, binary, or the old text form.
[[nodiscard]] PropertyList readPropertyList(const QByteArray& bytes);

/// The version that the client reads from an installed bundle with this Info.plist: by its own
/// reading of XML text, else what plutil tells.
[[nodiscard]] KnownText clientVersion(const QByteArray& infoPlist);
