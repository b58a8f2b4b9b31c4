#pragma once

#include <QByteArray>
#include <QList>

class QIODevice;

/// Reads a table whose fields may be quoted, as RFC 4180 has it: a quoted field may hold
/// separators, line ends and, doubled, quotes. Keeps one record at a time.
class CsvReader
{
public:
    /// @p device must outlive the reader.
    CsvReader(QIODevice& device, char separator) : m_device(device), m_separator(separator) {}

    /// Reads the next record that is no empty line; false at the end, or when the quotes of a
    /// record do not end within 1 MB or the text, see isCutShort().
    [[nodiscard]] bool next();
    [[nodiscard]] const QByteArrayList& fields() const { return m_fields; }
    [[nodiscard]] bool isCutShort() const { return m_isCutShort; }
    /// Whether the record has a line end; only the last one may have none.
    [[nodiscard]] bool hasLineEnd() const { return m_hasLineEnd; }

private:
    void split(const QByteArray& record);

    QIODevice& m_device;
    char m_separator;
    QByteArrayList m_fields;
    bool m_isCutShort = false;
    bool m_hasLineEnd = false;
};

/// The separator that divides a table's @p header: a comma, a semicolon or a tab, whichever is most
/// often in it.
[[nodiscard]] char separatorOf(const QByteArray& header);
