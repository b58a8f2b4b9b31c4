#include "support/packagemaker.h"

#include <QtEndian>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 changed = 1'772'366'400; // 1 March 2026, at noon

/// A number as cpio's old text form has it.
QByteArray octal(qint64 value, qsizetype digits)
{
    return QByteArray::number(value, 8).rightJustified(digits, '0');
}

QByteArray cpioMember(const PackedFile& file, int number)
{
    QByteArray head = "070707" + octal(1, 6) + octal(number, 6) + octal(file.mode, 6);
    head += octal(0, 6) + octal(0, 6) + octal(1, 6) + octal(0, 6) + octal(changed, 11);
    head += octal(file.path.size() + 1, 6) + octal(file.content.size(), 11);
    return head + file.path + '\0' + file.content;
}

QByteArray cpio(const QList<PackedFile>& files)
{
    QByteArray bytes;
    int number = 0;
    for (const PackedFile& file : files) {
        bytes += cpioMember(file, ++number);
    }
    return bytes + cpioMember({"TRAILER!!!", {}, 0}, 0);
}

template <typename T>
QByteArray bigEndian(T value)
{
    QByteArray bytes(sizeof(T), '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

/// What a xar archive's table of contents says of a file that is stored as it is.
QByteArray described(const QByteArray& path, qint64 bytes, int number, qint64 place)
{
    const QByteArray size = QByteArray::number(bytes);
    return "<file id=\"" + QByteArray::number(number) + "\"><name>" + path +
           "</name><type>file</type><data><encoding style=\"application/octet-stream\"/><size>" +
           size + "</size><offset>" + QByteArray::number(place) + "</offset><length>" + size +
           "</length></data></file>";
}

/// The archive of the described files, whose contents are @p heap.
QByteArray xar(const QByteArray& descriptions, const QByteArray& heap)
{
    const QByteArray contents =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><xar><toc>" + descriptions + "</toc></xar>";
    constexpr quint16 headSize = 28;
    const QByteArray packed = qCompress(contents).sliced(4); // behind its size, it is zlib's
    return "xar!" + bigEndian(headSize) + bigEndian<quint16>(1) +
           bigEndian<quint64>(static_cast<quint64>(packed.size())) +
           bigEndian<quint64>(static_cast<quint64>(contents.size())) + bigEndian<quint32>(0) +
           packed + heap;
}

} // namespace

QByteArray bundleList(const QByteArray& version, const QByteArray& identifier)
{
    return "<plist><dict><key>CFBundleShortVersionString</key><string>" + version +
           "</string><key>CFBundleIdentifier</key><string>" + identifier +
           "</string></dict></plist>";
}

QByteArray armProgram()
{
    return QByteArray::fromHex("cffaedfe0c000001");
}

QByteArray intelProgram()
{
    return QByteArray::fromHex("cffaedfe07000001");
}

QList<PackedFile> bundleFiles(const QByteArray& name, const QByteArray& list,
                              const QByteArray& program)
{
    const QByteArray contents = "./" + name + ".app/Contents";
    return {{"./" + name + ".app", {}, 040755},
            {contents, {}, 040755},
            {contents + "/Info.plist", list},
            {contents + "/MacOS", {}, 040755},
            {contents + "/MacOS/" + name, program, 0100755}};
}

QByteArray packageOf(const QList<PackedFile>& payload)
{
    const QByteArray info = "<pkg-info install-location=\"/Applications\"/>";
    const QByteArray packed = cpio(payload);
    return xar(described("PackageInfo", info.size(), 1, 0) +
                   described("Payload", packed.size(), 2, info.size()),
               info + packed);
}

QByteArray packageStart(qint64 payloadSize)
{
    const QByteArray info = "<pkg-info install-location=\"/Library\"/>";
    return xar(described("PackageInfo", info.size(), 1, 0) +
                   described("Payload", payloadSize, 2, info.size()),
               info);
}
