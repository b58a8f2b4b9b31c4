#include "companion/installer/asciipropertylist.h"

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int deepest = 128; // of dictionaries and lists in one another

bool isPlain(QChar c)
{
    return (c.unicode() < 0x80 && c.isLetterOrNumber()) || u"_$/:.-"_s.contains(c);
}

/// Reads along one text. Where it does not go on as it must, the reader has failed and stays where
/// it is.
class Reader
{
public:
    explicit Reader(QStringView text) : m_text(text) {}

    [[nodiscard]] PropertyList read()
    {
        PropertyList list;
        const bool hasBraces = take(u'{');
        readPairs(list.values, 0);
        if (hasBraces) {
            expect(u'}');
        }
        skipBlanks();
        if (m_hasFailed || m_at != m_text.size()) {
            return {{},
                    u"it is neither XML nor binary, and as old text it is wrong at character "
                    "%1"_s.arg(m_at + 1)};
        }
        return list;
    }

private:
    void skipBlanks()
    {
        while (m_at < m_text.size()) {
            const QStringView rest = m_text.sliced(m_at);
            if (rest.front().isSpace() || rest.front() == QChar::ByteOrderMark) {
                ++m_at;
            } else if (rest.startsWith("//"_L1)) {
                skipTo(u"\n", 1);
            } else if (rest.startsWith("/*"_L1)) {
                skipTo(u"*/", 2);
            } else {
                return;
            }
        }
    }

    void skipTo(QStringView end, qsizetype length)
    {
        const qsizetype at = m_text.indexOf(end, m_at);
        m_at = at < 0 ? m_text.size() : at + length;
    }

    [[nodiscard]] bool take(QChar c)
    {
        skipBlanks();
        if (m_hasFailed || m_at == m_text.size() || m_text[m_at] != c) {
            return false;
        }
        ++m_at;
        return true;
    }

    void expect(QChar c) { m_hasFailed = !take(c); }

    /// Whether a key or a text can begin here.
    [[nodiscard]] bool isAtText()
    {
        skipBlanks();
        return !m_hasFailed && m_at < m_text.size() &&
               (isPlain(m_text[m_at]) || m_text[m_at] == u'"' || m_text[m_at] == u'\'');
    }

    void readPairs(QHash<QString, PropertyValue>& values, int depth)
    {
        while (isAtText()) {
            const PropertyValue key = readText();
            PropertyValue value = key; // "key;" alone stands for itself
            if (take(u'=')) {
                value = readValue(depth);
            }
            expect(u';');
            if (m_hasFailed) {
                return;
            }
            values.insert(key.text, value);
        }
    }

    [[nodiscard]] PropertyValue readValue(int depth)
    {
        const PropertyValue other{PropertyValue::Other, {}};
        if (depth == deepest) {
            m_hasFailed = true;
            return other;
        }
        if (take(u'{')) {
            QHash<QString, PropertyValue> unused;
            readPairs(unused, depth + 1);
            expect(u'}');
        } else if (take(u'(')) {
            readList(depth + 1);
        } else if (take(u'<')) {
            skipData();
        } else if (isAtText()) {
            return readText();
        } else {
            m_hasFailed = true;
        }
        return other;
    }

    void readList(int depth)
    {
        while (!m_hasFailed && !take(u')')) {
            static_cast<void>(readValue(depth));
            if (!take(u',')) {
                expect(u')');
                return;
            }
        }
    }

    void skipData()
    {
        const qsizetype end = m_text.indexOf(u'>', m_at);
        m_hasFailed = end < 0;
        m_at = end < 0 ? m_at : end + 1;
    }

    [[nodiscard]] PropertyValue readText()
    {
        const QChar quote = m_text[m_at];
        if (quote == u'"' || quote == u'\'') {
            ++m_at;
            return readQuoted(quote);
        }
        const qsizetype start = m_at;
        while (m_at < m_text.size() && isPlain(m_text[m_at])) {
            ++m_at;
        }
        return {PropertyValue::Text, m_text.sliced(start, m_at - start).toString()};
    }

    [[nodiscard]] PropertyValue readQuoted(QChar quote)
    {
        PropertyValue value;
        while (m_at < m_text.size()) {
            const QChar c = m_text[m_at++];
            if (c == quote) {
                return value;
            }
            if (c != u'\\') {
                value.text += c;
            } else if (const auto escaped = readEscape()) {
                value.text += *escaped;
            } else {
                value = {PropertyValue::Other, {}};
            }
        }
        m_hasFailed = true;
        return value;
    }

    /// What stands after a backslash; nothing for a byte beyond ASCII, which is of an encoding that
    /// is not told.
    [[nodiscard]] std::optional<QChar> readEscape()
    {
        if (m_at == m_text.size()) {
            m_hasFailed = true;
            return std::nullopt;
        }
        const QChar c = m_text[m_at];
        if (c == u'U') {
            ++m_at;
            return readNumber(4, 16, 0xffff);
        }
        if (c >= u'0' && c <= u'7') {
            return readNumber(3, 8, 0x7f);
        }
        ++m_at;
        static const QString letters = u"abfnrtv"_s;
        static const QString meanings = u"\a\b\f\n\r\t\v"_s;
        const qsizetype letter = letters.indexOf(c);
        return letter < 0 ? c : meanings[letter];
    }

    [[nodiscard]] std::optional<QChar> readNumber(qsizetype most, int base, int largest)
    {
        int number = 0;
        for (qsizetype digits = 0; digits < most && m_at < m_text.size(); ++digits, ++m_at) {
            bool isDigit = false;
            const int digit = QString(m_text[m_at]).toInt(&isDigit, base);
            if (!isDigit) {
                break;
            }
            number = number * base + digit;
        }
        return number > largest ? std::nullopt
                                : std::optional(QChar(static_cast<char16_t>(number)));
    }

    QStringView m_text;
    qsizetype m_at = 0;
    bool m_hasFailed = false;
};

} // namespace

PropertyList readAsciiPropertyList(const QString& text)
{
    return Reader(text).read();
}
