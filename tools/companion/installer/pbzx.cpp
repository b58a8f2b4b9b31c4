#include "companion/installer/pbzx.h"

#include <QtEndian>

#include <lzma.h>

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr std::uint64_t mostMemory = 134'217'728; // bytes that the decoder may take
constexpr qint64 atOnce = 65'536;                 // bytes read
constexpr quint64 largestChunk = 268'435'456;     // bytes; usual ones have 16 MiB

} // namespace

struct PbzxReader::Decoder
{
    lzma_stream stream = LZMA_STREAM_INIT;

    ~Decoder() { lzma_end(&stream); }
};

PbzxReader::PbzxReader(ByteSource source)
    : m_source(std::move(source))
    , m_decoder(std::make_unique<Decoder>())
{}

PbzxReader::~PbzxReader() = default;

bool PbzxReader::readWhole(char* bytes, qint64 size, bool* isAtEnd)
{
    qint64 done = 0;
    while (done < size) {
        const qint64 count = m_source(bytes + done, size - done);
        if (count <= 0) {
            if (isAtEnd) {
                *isAtEnd = count == 0 && done == 0;
            }
            return false;
        }
        done += count;
    }
    return true;
}

bool PbzxReader::startChunk()
{
    std::array<char, 16> head;
    if (!m_hasHead) {
        m_hasHead = readWhole(head.data(), 8);
        m_hasFailed = !m_hasHead;
    }
    bool isAtEnd = false;
    if (m_hasFailed || !readWhole(head.data(), 16, &isAtEnd)) {
        m_hasFailed = !isAtEnd;
        return false;
    }
    m_chunkLeft = qFromBigEndian<quint64>(head.data() + 8);
    m_input.clear();
    m_isInChunk = true;
    if (m_chunkLeft == 0 || m_chunkLeft > largestChunk || !refill()) {
        m_hasFailed = true;
        return false;
    }
    m_isPacked = m_input.startsWith(QByteArray("\xfd"
                                               "7zXZ\0",
                                               6));
    if (m_isPacked) {
        m_hasFailed = lzma_stream_decoder(&m_decoder->stream, mostMemory, 0) != LZMA_OK;
    }
    return !m_hasFailed;
}

bool PbzxReader::refill()
{
    const qint64 size = static_cast<qint64>(std::min<quint64>(m_chunkLeft, atOnce));
    m_input.resize(size);
    m_chunkLeft -= static_cast<quint64>(size);
    return readWhole(m_input.data(), size);
}

qint64 PbzxReader::read(char* buffer, qint64 size)
{
    while (!m_hasFailed && size > 0) {
        if (!m_isInChunk && !startChunk()) {
            return m_hasFailed ? -1 : 0;
        }
        if (m_input.isEmpty() && m_chunkLeft > 0 && !refill()) {
            break;
        }
        const qint64 count = m_isPacked ? readPacked(buffer, size) : readPlain(buffer, size);
        if (count != 0) {
            m_hasFailed = count < 0;
            return count;
        }
    }
    m_hasFailed = true;
    return -1;
}

qint64 PbzxReader::readPlain(char* buffer, qint64 size)
{
    const qint64 count = std::min<qint64>(size, m_input.size());
    std::copy_n(m_input.cbegin(), count, buffer);
    m_input.remove(0, count);
    m_isInChunk = !m_input.isEmpty() || m_chunkLeft > 0;
    return count;
}

qint64 PbzxReader::readPacked(char* buffer, qint64 size)
{
    lzma_stream& stream = m_decoder->stream;
    stream.next_in = reinterpret_cast<const std::uint8_t*>(m_input.constData());
    stream.avail_in = static_cast<std::size_t>(m_input.size());
    stream.next_out = reinterpret_cast<std::uint8_t*>(buffer);
    stream.avail_out = static_cast<std::size_t>(size);
    const lzma_ret result = lzma_code(&stream, m_chunkLeft == 0 ? LZMA_FINISH : LZMA_RUN);
    m_hasMetLimit = result == LZMA_MEMLIMIT_ERROR || result == LZMA_MEM_ERROR;
    m_input = m_input.last(static_cast<qsizetype>(stream.avail_in));
    const qint64 count = size - static_cast<qint64>(stream.avail_out);
    if (result == LZMA_STREAM_END) {
        // Nothing may follow in the chunk.
        m_isInChunk = false;
        return m_input.isEmpty() && m_chunkLeft == 0 ? count : -1;
    }
    return result == LZMA_OK || (result == LZMA_BUF_ERROR && count > 0) ? count : -1;
}
