#include "companion/installer/payload.h"

#include "companion/installer/archivereader.h"
#include "companion/installer/pbzx.h"

#include <QByteArray>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Puts bytes that were read ahead before what a source yields.
class Prefixed
{
public:
    Prefixed(const QByteArray& start, const ByteSource& source) : m_start(start), m_source(source)
    {}

    [[nodiscard]] qint64 read(char* buffer, qint64 size)
    {
        if (m_start.isEmpty()) {
            return m_source(buffer, size);
        }
        const qint64 count = std::min<qint64>(size, m_start.size());
        std::copy_n(m_start.cbegin(), count, buffer);
        m_start.remove(0, count);
        return count;
    }

private:
    QByteArray m_start;
    ByteSource m_source;
};

QByteArray firstBytes(const ByteSource& source, qint64 size)
{
    QByteArray bytes(static_cast<qsizetype>(size), Qt::Uninitialized);
    qint64 done = 0;
    while (done < size) {
        const qint64 count = source(bytes.data() + done, size - done);
        if (count <= 0) {
            break;
        }
        done += count;
    }
    bytes.truncate(static_cast<qsizetype>(done));
    return bytes;
}

/// Whether a payload that begins so is packed in a way that is read here.
bool isReadable(const QByteArray& start)
{
    return start.startsWith("0707") || start.startsWith("\x1f\x8b") || start.startsWith("BZh") ||
           start.startsWith("\xfd"
                            "7zX") ||
           PbzxReader::isPbzx(start);
}

PayloadEnd readMembers(ArchiveReader& archive, const QString& location, BundleCollector& collector)
{
    const QString reason = collectMembers(
        archive, [&location](const QString& path) { return location + u'/' + path; }, collector);
    return {reason.isEmpty() ? reason : u"its payload cannot be read to its end: "_s + reason,
            archive.isDamaged()};
}

} // namespace

PayloadEnd readPayload(const ByteSource& source, const QString& location,
                       BundleCollector& collector)
{
    const QString folder = location == "/"_L1 ? QString() : location;
    const QByteArray start = firstBytes(source, 4);
    if (!isReadable(start)) {
        return {u"its payload is packed in a way that is not read"_s, false};
    }
    if (PbzxReader::isPbzx(start)) {
        PbzxReader pbzx(source);
        ArchiveReader archive(
            [&pbzx](char* buffer, qint64 size) { return pbzx.read(buffer, size); });
        PayloadEnd end = readMembers(archive, folder, collector);
        end.isDamaged = end.isDamaged && !pbzx.hasMetLimit();
        return end;
    }
    Prefixed prefixed(start, source);
    ArchiveReader archive(
        [&prefixed](char* buffer, qint64 size) { return prefixed.read(buffer, size); });
    return readMembers(archive, folder, collector);
}
