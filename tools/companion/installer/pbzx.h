#pragma once

#include "companion/installer/bytesource.h"

#include <QByteArray>

#include <memory>

/// The bytes inside "pbzx", Apple's chunks of xz: what many packages' payloads are packed in.
class PbzxReader
{
public:
    /// Whether bytes that begin so are of this kind.
    [[nodiscard]] static bool isPbzx(const QByteArray& start) { return start.startsWith("pbzx"); }

    /// Reads what @p source yields after those four bytes.
    explicit PbzxReader(ByteSource source);
    ~PbzxReader();
    Q_DISABLE_COPY_MOVE(PbzxReader)

    /// The next bytes, as a ByteSource yields them. A chunk that is cut or wrong is a failure.
    [[nodiscard]] qint64 read(char* buffer, qint64 size);
    /// Whether it has failed as a chunk needs more memory than is allowed, which is no fault of it.
    [[nodiscard]] bool hasMetLimit() const { return m_hasMetLimit; }

private:
    struct Decoder;

    /// Fills @p bytes; fails where the source ends before, @p isAtEnd tells when at the very start.
    [[nodiscard]] bool readWhole(char* bytes, qint64 size, bool* isAtEnd = nullptr);
    /// Reads the head of the next chunk; false at the end and on failure.
    [[nodiscard]] bool startChunk();
    [[nodiscard]] bool refill();
    [[nodiscard]] qint64 readPlain(char* buffer, qint64 size);
    [[nodiscard]] qint64 readPacked(char* buffer, qint64 size);

    ByteSource m_source;
    std::unique_ptr<Decoder> m_decoder;
    QByteArray m_input;      ///< of the current chunk, the part at hand
    quint64 m_chunkLeft = 0; ///< bytes of the current chunk behind m_input
    bool m_isPacked = false; ///< whether the current chunk is xz
    bool m_isInChunk = false;
    bool m_hasFailed = false;
    bool m_hasMetLimit = false;
    bool m_hasHead = false; ///< the size of all chunks, which stands before the first one
};
