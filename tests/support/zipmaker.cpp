#include "support/zipmaker.h"

#include <QDataStream>
#include <QIODevice>

namespace {

quint32 checksum(const QByteArray& bytes)
{
    quint32 crc = 0xffffffffU;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = crc >> 1U ^ ((crc & 1U) != 0 ? 0xedb88320U : 0U);
        }
    }
    return ~crc;
}

/// The part that an item's two heads share, from the version needed on.
void writeCommon(QDataStream& stream, const ZipMaker::Item& item)
{
    const auto size = static_cast<quint32>(item.content.size());
    stream << quint16(20) << quint16((item.isEncrypted ? 1 : 0) | (item.isUtf8 ? 0x800 : 0))
           << item.method << quint16(0) << quint16(0x5b35) // a time of the day, and a day
           << checksum(item.content) << size << size << quint16(item.name.size()) << quint16(0);
}

} // namespace

void ZipMaker::add(const Item& item)
{
    const auto offset = static_cast<quint32>(m_body.size());
    {
        QDataStream stream(&m_body, QIODevice::Append);
        stream.setByteOrder(QDataStream::LittleEndian);
        stream << quint32(0x04034b50);
        writeCommon(stream, item);
    }
    m_body += item.name + item.content;
    const quint32 attributes = item.system == Unix || item.system == Darwin ? item.mode << 16U : 0;
    {
        QDataStream stream(&m_directory, QIODevice::Append);
        stream.setByteOrder(QDataStream::LittleEndian);
        stream << quint32(0x02014b50) << quint16(item.system << 8 | 20);
        writeCommon(stream, item);
        stream << quint16(0) << quint16(0) << quint16(0) << attributes << offset;
    }
    m_directory += item.name;
    ++m_count;
}

void ZipMaker::addLink(const QByteArray& name, const QByteArray& target)
{
    Item item;
    item.name = name;
    item.content = target;
    item.mode = 0120777;
    add(item);
}

QByteArray ZipMaker::bytes() const
{
    QByteArray whole = m_body + m_directory;
    QDataStream stream(&whole, QIODevice::Append);
    stream.setByteOrder(QDataStream::LittleEndian);
    stream << quint32(0x06054b50) << quint16(0) << quint16(0) << m_count << m_count
           << quint32(m_directory.size()) << quint32(m_body.size()) << quint16(0);
    return whole;
}

QByteArray zipOf(const QList<QByteArray>& names)
{
    ZipMaker zip;
    for (const QByteArray& name : names) {
        ZipMaker::Item item;
        item.name = name;
        if (name.endsWith('/')) {
            item.content.clear();
            item.mode = 040755;
        }
        zip.add(item);
    }
    return zip.bytes();
}
