#include "companion/fleet/jsonreader.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

bool isSpace(char c)
{
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

bool isScalarEnd(char c)
{
    return c == ',' || c == '}' || c == ']' || isSpace(c);
}

char unescaped(char c)
{
    switch (c) {
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return c; // a quote, a slash or a backslash
    }
}

/// The text of @p bytes, which hold escapes.
QString withoutEscapes(QByteArrayView bytes)
{
    QString text;
    while (!bytes.isEmpty()) {
        const qsizetype plain = bytes.indexOf('\\');
        if (plain < 0 || plain + 1 >= bytes.size()) {
            return text + QString::fromUtf8(bytes);
        }
        text += QString::fromUtf8(bytes.first(plain));
        const char escape = bytes[plain + 1];
        bytes = bytes.sliced(plain + 2);
        if (escape == 'u') {
            const QByteArrayView digits = bytes.first(std::min(qsizetype(4), bytes.size()));
            text += QChar(char16_t(digits.toByteArray().toUShort(nullptr, 16)));
            bytes = bytes.sliced(digits.size());
        } else {
            text += QLatin1Char(unescaped(escape));
        }
    }
    return text;
}

} // namespace

QString JsonReader::Text::decoded() const
{
    return isEscaped ? withoutEscapes(bytes) : QString::fromUtf8(bytes);
}

bool JsonReader::fail()
{
    m_hasFailed = true;
    m_at = m_end;
    return false;
}

void JsonReader::skipSpace()
{
    while (m_at != m_end && isSpace(*m_at)) {
        ++m_at;
    }
}

bool JsonReader::isAt(char c)
{
    skipSpace();
    return m_at != m_end && *m_at == c;
}

bool JsonReader::isAtEnd()
{
    skipSpace();
    return m_at == m_end && !m_hasFailed;
}

bool JsonReader::enter(char bracket)
{
    if (!isAt(bracket)) {
        return fail();
    }
    ++m_at;
    m_isFirst = true;
    return true;
}

bool JsonReader::nextIn(char closingBracket)
{
    const bool isFirst = std::exchange(m_isFirst, false);
    if (isAt(closingBracket)) {
        ++m_at;
        return false;
    }
    if (!isFirst) {
        if (!isAt(',')) {
            return fail();
        }
        ++m_at;
    }
    return true;
}

bool JsonReader::nextMember()
{
    if (!nextIn('}')) {
        return false;
    }
    if (!isAt('"')) {
        return fail();
    }
    const Text key = readString();
    if (!isAt(':')) {
        return fail();
    }
    ++m_at;
    m_key = key.bytes;
    if (key.isEscaped) {
        m_decodedKey = key.decoded().toUtf8();
        m_key = m_decodedKey;
    }
    return true;
}

bool JsonReader::nextElement()
{
    return nextIn(']');
}

JsonReader::Text JsonReader::readString()
{
    const char* const begin = m_at + 1;
    skipString();
    if (m_hasFailed) {
        return {};
    }
    const QByteArrayView bytes(begin, m_at - 1 - begin);
    return {bytes, bytes.contains('\\')};
}

std::optional<JsonReader::Text> JsonReader::takeString()
{
    if (!isAtString()) {
        skip();
        return std::nullopt;
    }
    const Text text = readString();
    return m_hasFailed ? std::nullopt : std::optional(text);
}

QString JsonReader::takeText()
{
    const std::optional<Text> text = takeString();
    return text ? text->decoded() : QString();
}

qint64 JsonReader::takeNumber()
{
    if (isAtString()) {
        return takeText().toLongLong();
    }
    const char* const begin = m_at;
    skip();
    return QByteArray(begin, m_hasFailed ? 0 : m_at - begin).toLongLong();
}

void JsonReader::skip()
{
    if (isAtString()) {
        skipString();
    } else if (isAtObject() || isAtArray()) {
        ++m_at;
        skipToEnd(1);
    } else {
        const char* const end = std::find_if(m_at, m_end, isScalarEnd);
        if (end == m_at) {
            fail();
            return;
        }
        m_at = end;
    }
    m_isFirst = false;
}

/// Goes behind the closing quote of the string that begins here.
void JsonReader::skipString()
{
    for (++m_at;; ++m_at) {
        // Most texts are short and without escapes: the search for the quote is all the work.
        const auto length = static_cast<std::size_t>(m_end - m_at);
        const auto* const quote = static_cast<const char*>(std::memchr(m_at, '"', length));
        if (!quote) {
            fail();
            return;
        }
        const char* escapes = quote;
        while (escapes != m_at && escapes[-1] == '\\') {
            --escapes;
        }
        m_at = quote;
        if ((quote - escapes) % 2 == 0) {
            ++m_at;
            return;
        }
    }
}

void JsonReader::skipToEnd(int depth)
{
    while (depth > 0) {
        if (m_at == m_end) {
            fail();
            return;
        }
        const char c = *m_at;
        if (c == '"') {
            skipString();
            continue;
        }
        depth += c == '{' || c == '[' ? 1 : 0;
        depth -= c == '}' || c == ']' ? 1 : 0;
        ++m_at;
    }
    m_isFirst = false;
}
