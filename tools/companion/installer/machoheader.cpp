#include "companion/installer/machoheader.h"

#include <QHash>
#include <QtEndian>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr quint32 fatMagic = 0xcafebabe;   // universal; always big-endian
constexpr quint32 fatMagic64 = 0xcafebabf; // the same with 64-bit offsets
constexpr quint32 mostProcessors = 30;     // a Java class, of the same magic, has a version here

QString processorName(quint32 type)
{
    static const QHash<quint32, QString> names = {
        {7, u"i386"_s}, {0x01000007, u"x86_64"_s}, {0x0100000c, u"arm64"_s}, {12, u"arm"_s},
        {18, u"ppc"_s}, {0x01000012, u"ppc64"_s}};
    return names.value(type);
}

quint32 bigEndianAt(const QByteArray& bytes, qsizetype at)
{
    return qFromBigEndian<quint32>(bytes.constData() + at);
}

Known<QStringList> unknownProcessors(const QString& reason)
{
    return {{}, reason};
}

Known<QStringList> named(const QList<quint32>& types)
{
    Known<QStringList> processors;
    for (const quint32 type : types) {
        const QString name = processorName(type);
        if (name.isEmpty()) {
            return unknownProcessors(u"it has a processor of the number %1"_s.arg(type));
        }
        if (!processors.value.contains(name)) {
            processors.value.append(name);
        }
    }
    processors.value.sort();
    return processors;
}

Known<QStringList> universalProcessors(const QByteArray& head, qsizetype recordSize)
{
    const quint32 count = bigEndianAt(head, 4);
    if (count == 0 || count > mostProcessors ||
        head.size() < 8 + static_cast<qsizetype>(count) * recordSize) {
        return unknownProcessors(u"it is no program of a Mac"_s);
    }
    QList<quint32> types;
    for (qsizetype i = 0; i < static_cast<qsizetype>(count); ++i) {
        types.append(bigEndianAt(head, 8 + i * recordSize));
    }
    return named(types);
}

} // namespace

Known<QStringList> programProcessors(const QByteArray& head)
{
    if (head.startsWith("#!")) {
        return unknownProcessors(u"it is a script"_s);
    }
    if (head.size() < 8) {
        return unknownProcessors(u"it is no program of a Mac"_s);
    }
    switch (bigEndianAt(head, 0)) {
    case fatMagic:
        return universalProcessors(head, 20);
    case fatMagic64:
        return universalProcessors(head, 32);
    case 0xfeedface:
    case 0xfeedfacf:
        return named({bigEndianAt(head, 4)});
    case 0xcefaedfe:
    case 0xcffaedfe:
        return named({qFromLittleEndian<quint32>(head.constData() + 4)});
    default:
        return unknownProcessors(u"it is no program of a Mac"_s);
    }
}
