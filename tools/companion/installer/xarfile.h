#pragma once

#include <QByteArray>
#include <QFile>

/// A xar archive's bytes, as libarchive takes them: of the checksums of its table of contents that
/// library knows two, and refuses a file with another one, for example SHA-256. As nothing depends
/// on that checksum here, such a file's head says that there is none.
class XarFile
{
public:
    /// Opens the file at @p path; one that cannot be opened has no bytes.
    explicit XarFile(const QString& path);

    /// The next bytes, as a ByteSource yields them.
    [[nodiscard]] qint64 read(char* buffer, qint64 size);
    [[nodiscard]] qint64 position() const { return m_position; }
    [[nodiscard]] qint64 size() const;
    /// Goes to @p position, or to the end where that lies beyond.
    void seek(qint64 position);

private:
    QFile m_file;
    QByteArray m_head;     ///< the first bytes, as they are yielded
    qint64 m_left = 0;     ///< bytes of the file that are left out behind m_head
    qint64 m_position = 0; ///< of the next byte yielded
};
