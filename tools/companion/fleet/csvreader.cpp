#include "companion/fleet/csvreader.h"

#include <QIODevice>

#include <algorithm>

namespace {

/// A lost quote must not make a record of all that follows.
constexpr qsizetype longestRecord = 1 << 20;

void removeLineEnd(QByteArray& record)
{
    if (record.endsWith('\n')) {
        record.chop(1);
    }
    if (record.endsWith('\r')) {
        record.chop(1);
    }
}

} // namespace

bool CsvReader::next()
{
    QByteArray record;
    qsizetype quotes = 0;
    while (!m_device.atEnd() && record.size() <= longestRecord) {
        const QByteArray line = m_device.readLine(longestRecord + 2);
        quotes += line.count('"');
        record += line;
        if (quotes % 2 != 0) {
            continue; // the line ends within quotes
        }
        m_hasLineEnd = record.endsWith('\n');
        removeLineEnd(record);
        if (!record.isEmpty()) {
            split(record);
            return true;
        }
    }
    m_isCutShort = !record.isEmpty();
    return false;
}

void CsvReader::split(const QByteArray& record)
{
    m_fields.clear();
    QByteArray field;
    bool isQuoted = false;
    for (qsizetype at = 0; at < record.size(); ++at) {
        const char c = record[at];
        if (c == '"') {
            // A doubled quote inside quotes stands for itself: the second one opens them again.
            if (!isQuoted && at > 0 && record[at - 1] == '"') {
                field += c;
            }
            isQuoted = !isQuoted;
        } else if (c == m_separator && !isQuoted) {
            m_fields.append(field);
            field.clear();
        } else {
            field += c;
        }
    }
    m_fields.append(field);
}

char separatorOf(const QByteArray& header)
{
    const char candidates[] = {',', ';', '\t'};
    return *std::max_element(
        std::begin(candidates), std::end(candidates),
        [&header](char a, char b) { return header.count(a) < header.count(b); });
}
