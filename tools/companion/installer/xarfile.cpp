#include "companion/installer/xarfile.h"

#include <QtEndian>

#include <algorithm>

namespace {

constexpr qsizetype headSize = 28; // bytes; a checksum's name can follow
constexpr qsizetype sizePlace = 4;
constexpr qsizetype checksumPlace = 24;
constexpr quint32 lastKnown = 2; // checksum; 0 is none
constexpr quint16 largestHead = 4'096;

} // namespace

XarFile::XarFile(const QString& path) : m_file(path)
{
    if (!m_file.open(QIODevice::ReadOnly)) {
        return;
    }
    m_head = m_file.read(headSize);
    if (m_head.size() < headSize || !m_head.startsWith("xar!")) {
        return;
    }
    const auto size = qFromBigEndian<quint16>(m_head.constData() + sizePlace);
    if (qFromBigEndian<quint32>(m_head.constData() + checksumPlace) > lastKnown &&
        size >= headSize && size <= largestHead) {
        qToBigEndian(static_cast<quint16>(headSize), m_head.data() + sizePlace);
        qToBigEndian<quint32>(0, m_head.data() + checksumPlace);
        m_left = size - headSize;
    }
}

qint64 XarFile::size() const
{
    return std::max<qint64>(m_file.size() - m_left, m_head.size());
}

qint64 XarFile::read(char* buffer, qint64 size)
{
    qint64 count = 0;
    if (m_position < m_head.size()) {
        count = std::min<qint64>(size, m_head.size() - m_position);
        std::copy_n(m_head.cbegin() + m_position, count, buffer);
    } else {
        count = m_file.isOpen() && m_file.seek(m_position + m_left) ? m_file.read(buffer, size) : 0;
    }
    m_position += std::max<qint64>(count, 0);
    return count;
}

void XarFile::seek(qint64 position)
{
    m_position = std::clamp<qint64>(position, 0, size());
}
