#pragma once

#include <QByteArray>
#include <QList>

/// A binary property list whose dictionary has @p pairs: each a key in ASCII, and its value's
/// object as the format has it. Of 60 pairs at most.
[[nodiscard]] inline QByteArray binaryList(const QList<std::pair<QByteArray, QByteArray>>& pairs)
{
    const auto count = static_cast<char>(pairs.size());
    QByteArray dictionary = QByteArray("\xdf\x10") + count;
    for (char key = 1; key <= count; ++key) {
        dictionary += key;
    }
    for (char value = 1; value <= count; ++value) {
        dictionary += static_cast<char>(count + value);
    }
    QList<QByteArray> objects{dictionary};
    for (const auto& pair : pairs) {
        objects.append(QByteArray("\x5f\x10") + static_cast<char>(pair.first.size()) + pair.first);
    }
    for (const auto& pair : pairs) {
        objects.append(pair.second);
    }
    QByteArray bytes = "bplist00";
    QByteArray places;
    for (const QByteArray& object : std::as_const(objects)) {
        places += static_cast<char>(bytes.size() >> 8);
        places += static_cast<char>(bytes.size() & 0xff);
        bytes += object;
    }
    const auto start = bytes.size();
    // Offsets of two bytes, references of one; the number of objects, the first one, the table.
    QByteArray trailer(32, '\0');
    trailer[6] = 2;
    trailer[7] = 1;
    trailer[15] = static_cast<char>(objects.size());
    trailer[30] = static_cast<char>(start >> 8);
    trailer[31] = static_cast<char>(start & 0xff);
    return bytes + places + trailer;
}

/// A text as such a list has it.
[[nodiscard]] inline QByteArray binaryText(const QByteArray& ascii)
{
    return QByteArray("\x5f\x10") + static_cast<char>(ascii.size()) + ascii;
}
