// The companion's readers of what packages are made of. Of pbzx: chunks that are stored come back
// byte for byte, however they are asked for, and what is cut or wrong fails instead of ending well.
// Of PackageInfo and Distribution: a location is a path from "/", and a document that is not whole
// has a reason. Of programs' heads: the processors are those that were written.

#include "fuzzing.h"

#include "companion/installer/machoheader.h"
#include "companion/installer/packagetext.h"
#include "companion/installer/pbzx.h"

#include <QMap>
#include <QtEndian>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

template <typename T>
QByteArray bigEndian(T value)
{
    QByteArray bytes(sizeof(T), '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

/// What the reader yields of @p bytes, some at a time; @p hasFailed tells how it ends.
QByteArray unpacked(const QByteArray& bytes, qint64 given, qint64 asked, bool* hasFailed)
{
    qsizetype at = 0;
    PbzxReader reader([&](char* buffer, qint64 size) {
        const qint64 count = std::min({size, given, static_cast<qint64>(bytes.size() - at)});
        std::copy_n(bytes.cbegin() + at, count, buffer);
        at += count;
        return count;
    });
    constexpr qsizetype most = 4'000'000; // a few hundred bytes of xz can hold more
    QByteArray text;
    QByteArray part(static_cast<qsizetype>(asked), '\0');
    qint64 count = 0;
    while (text.size() < most && (count = reader.read(part.data(), asked)) > 0) {
        require("no more is told than there is room for", count <= asked);
        text.append(part.constData(), static_cast<qsizetype>(count));
    }
    *hasFailed = count < 0;
    return text;
}

void requireStoredChunks(FuzzedDataProvider& input)
{
    const auto given = input.ConsumeIntegralInRange<qint64>(1, 64);
    const auto asked = input.ConsumeIntegralInRange<qint64>(1, 64);
    const bool isCut = input.ConsumeBool();
    QByteArray text;
    QByteArray bytes = bigEndian<quint64>(64);
    QList<qsizetype> ends{bytes.size()};
    while (input.remaining_bytes() > 0) {
        const std::string part = "-" + input.ConsumeRandomLengthString(40);
        const auto size = static_cast<quint64>(part.size());
        bytes += bigEndian(size) + bigEndian(size) + QByteArray::fromStdString(part);
        text += QByteArray::fromStdString(part);
        ends.append(bytes.size());
    }
    const qsizetype end = isCut ? bytes.size() / 2 : bytes.size();
    bool hasFailed = false;
    const QByteArray read = unpacked(bytes.first(end), given, asked, &hasFailed);
    require("what is read was written", text.startsWith(read));
    requireEqual("it fails where it is cut", hasFailed, !ends.contains(end));
    require("nothing is lost", isCut || read == text);
}

void requireTexts(const QByteArray& xml)
{
    require("a location is a path", readPackageInfo(xml).location.startsWith(u'/'));
    const Distribution told = readDistribution(xml);
    require("no package lies elsewhere and in the file",
            std::none_of(told.elsewhere.cbegin(), told.elsewhere.cend(),
                         [](const QString& place) { return place.startsWith(u'#'); }));
    if (!xml.trimmed().endsWith('>')) {
        require("a document that is not whole has a reason",
                !readPackageInfo(xml).error.isEmpty() && !told.error.isEmpty());
    }
}

void requireProcessors(FuzzedDataProvider& input)
{
    static const std::array<std::pair<quint32, QString>, 3> known{
        {{0x01000007, u"x86_64"_s}, {0x0100000c, u"arm64"_s}, {7, u"i386"_s}}};
    const bool isWide = input.ConsumeBool();
    const auto count = input.ConsumeIntegralInRange<quint32>(1, 30);
    QByteArray head = bigEndian<quint32>(isWide ? 0xcafebabf : 0xcafebabe) + bigEndian(count);
    QMap<QString, int> expected;
    for (quint32 i = 0; i < count; ++i) {
        const auto& [type, name] = input.PickValueInArray(known);
        head += bigEndian(type) + QByteArray(isWide ? 28 : 16, 'x');
        expected.insert(name, 0);
    }
    requireEqual("the processors are those that were written", programProcessors(head).value,
                 QStringList(expected.keys()));
    require("a head that is cut has none", !programProcessors(head.chopped(1)).isKnown());
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    switch (input.ConsumeIntegralInRange(0, 3)) {
    case 0:
        requireStoredChunks(input);
        break;
    case 1:
        requireProcessors(input);
        break;
    case 2:
        requireTexts(rest(input));
        break;
    default: {
        const QByteArray bytes = rest(input);
        bool hasFailed = false;
        unpacked(bytes, 7, 100, &hasFailed);
        const Known<QStringList> processors = programProcessors(bytes);
        require("either processors or a reason",
                processors.isKnown() != processors.value.isEmpty());
    }
    }
    return 0;
}
