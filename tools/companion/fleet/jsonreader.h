#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// Reads JSON in place, from its begin to its end, and keeps nothing: an inventory is read for a
/// few of its values, and a server's answer can hold thousands of inventories.
///
/// A container is entered, its members or elements are stepped through, and each is taken or
/// skipped:
///
///     reader.enterObject();
///     while (reader.nextMember()) {
///         if (reader.key() == "name") { name = reader.takeText(); } else { reader.skip(); }
///     }
///
/// After a mistake of the text every question is answered with no and hasFailed() is true. What is
/// skipped is looked at only as far as its end must be found.
class JsonReader
{
public:
    /// A string as it stands between its quotes.
    struct Text
    {
        QByteArrayView bytes;
        bool isEscaped = false; ///< holds a backslash

        [[nodiscard]] QString decoded() const;
        [[nodiscard]] bool isEmpty() const { return bytes.isEmpty(); }
    };

    /// @p json must outlive the reader.
    explicit JsonReader(QByteArrayView json) : m_at(json.begin()), m_end(json.end()) {}

    [[nodiscard]] bool isAtObject() { return isAt('{'); }
    [[nodiscard]] bool isAtArray() { return isAt('['); }
    [[nodiscard]] bool isAtString() { return isAt('"'); }

    /// Enters the object or the array that comes next; false, and a failure, when something else
    /// does.
    bool enterObject() { return enter('{'); }
    bool enterArray() { return enter('['); }
    /// Goes to the next member and stands before its value; false behind the last one.
    [[nodiscard]] bool nextMember();
    /// Goes to the next element and stands before it; false behind the last one.
    [[nodiscard]] bool nextElement();
    /// The member's key.
    [[nodiscard]] QByteArrayView key() const { return m_key; }

    /// The string that comes next; nothing, the value skipped, when it is no string.
    [[nodiscard]] std::optional<Text> takeString();
    /// The same decoded; empty for nothing.
    [[nodiscard]] QString takeText();
    /// The number that comes next, be it a number or one in a string; 0, the value skipped, for
    /// anything else.
    [[nodiscard]] qint64 takeNumber();
    /// Goes behind the value that comes next.
    void skip();
    /// Goes behind the end of the container that was entered last, from any place between its
    /// values.
    void leave() { skipToEnd(1); }

    /// Whether nothing but white space is left.
    [[nodiscard]] bool isAtEnd();
    [[nodiscard]] bool hasFailed() const { return m_hasFailed; }

private:
    [[nodiscard]] bool isAt(char c);
    bool enter(char bracket);
    [[nodiscard]] bool nextIn(char closingBracket);
    [[nodiscard]] Text readString();
    void skipToEnd(int depth);
    void skipString();
    void skipSpace();
    bool fail();

    const char* m_at;
    const char* m_end;
    QByteArrayView m_key;
    QByteArray m_decodedKey; ///< behind m_key where that was escaped
    bool m_isFirst = false;  ///< no member or element of the innermost container was seen
    bool m_hasFailed = false;
};
