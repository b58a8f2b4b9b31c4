#pragma once

#include "companion/installer/bytesource.h"
#include "companion/installer/memberreader.h"
#include "companion/installer/xarfile.h"

#include <memory>

struct archive;
struct archive_entry;

/// An archive that libarchive reads, from its begin to its end.
class ArchiveReader : public MemberReader
{
public:
    /// Opens the xar archive at @p path.
    explicit ArchiveReader(const QString& path);
    /// Opens the cpio archive that @p source yields, as it is, or packed by gzip, bzip2 or xz.
    explicit ArchiveReader(ByteSource source);
    ~ArchiveReader() override;
    Q_DISABLE_COPY_MOVE(ArchiveReader)

    [[nodiscard]] bool next() override;
    [[nodiscard]] QString error() const override { return m_error; }
    /// Whether error() is a fault of what is read, and not that of too little memory.
    [[nodiscard]] bool isDamaged() const { return m_isDamaged; }
    [[nodiscard]] BundleCollector::Entry entry() const override;
    [[nodiscard]] qint64 size() const override;
    [[nodiscard]] QByteArray start(qint64 most) override;
    /// Reads on in the member's content, as a ByteSource does.
    [[nodiscard]] qint64 read(char* buffer, qint64 size);

private:
    struct Closer
    {
        void operator()(archive* archive) const;
    };

    void open();
    [[nodiscard]] qint64 skipInFile(qint64 size);
    [[nodiscard]] qint64 seekInFile(qint64 offset, int whence);
    void keepError();

    ByteSource m_source;
    std::unique_ptr<XarFile> m_file; ///< that m_source reads
    QByteArray m_buffer;             ///< what m_source has yielded last
    std::unique_ptr<archive, Closer> m_archive;
    QByteArrayView m_block;           ///< of the content, what is read but not handed out
    archive_entry* m_entry = nullptr; ///< libarchive's own
    QString m_error;
    bool m_isDamaged = false;
};
