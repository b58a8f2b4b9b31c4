// The companion's reading of a package's outermost form. Of its bytes: those of the file, but for a
// head that names a checksum which libarchive does not know, wherever reading begins and however
// much is asked for. Of the package: either what it brings or a reason, and damage has a reason.

#include "fuzzing.h"

#include "companion/installer/flatpackage.h"
#include "companion/installer/xarfile.h"

#include <QtEndian>

#include <algorithm>

namespace {

constexpr qsizetype headSize = 28;

/// The bytes that are to be read of a file, by a second reading of its head.
QByteArray expectedBytes(const QByteArray& file)
{
    if (file.size() < headSize || !file.startsWith("xar!")) {
        return file;
    }
    const auto size = qFromBigEndian<quint16>(file.constData() + 4);
    const auto checksum = qFromBigEndian<quint32>(file.constData() + 24);
    if (checksum <= 2 || size < headSize || size > 4'096) {
        return file;
    }
    return file.first(4) + QByteArray::fromHex("001c") + file.sliced(6, 18) + QByteArray(4, '\0') +
           file.mid(size);
}

void requireBytes(const QString& path, const QByteArray& bytes, FuzzedDataProvider& input)
{
    XarFile file(path);
    requireEqual<qint64>("the size is that of the bytes", file.size(), bytes.size());
    QByteArray buffer(64, '\0');
    while (input.remaining_bytes() > 0) {
        if (input.ConsumeBool()) {
            file.seek(input.ConsumeIntegral<qint16>());
        }
        const qint64 place = file.position();
        require("no place lies outside", place >= 0 && place <= bytes.size());
        const auto asked = input.ConsumeIntegralInRange<qint64>(1, buffer.size());
        const qint64 count = file.read(buffer.data(), asked);
        require("something is read but for the end", (count > 0) == (place < bytes.size()));
        require("no more is read than is asked for", count <= asked);
        requireEqual("what is read is there", buffer.first(count), bytes.mid(place, count));
        requireEqual("reading goes on behind it", file.position(), place + count);
    }
}

void requireFacts(const InstallerItem& item)
{
    require("what brings something has no reason against it",
            item.unknown.isEmpty() || item.bundles.isEmpty());
    require("damage has a reason", !item.isDamaged || !item.unknown.isEmpty());
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    static const QString path = privateFolder() + QStringLiteral("file.pkg");
    const std::string start = input.ConsumeRandomLengthString();
    const QByteArray bytes = QByteArray::fromStdString(start);
    writeFile(path, bytes);
    requireFacts(readFlatPackage(path));
    requireBytes(path, expectedBytes(bytes), input);
    return 0;
}
