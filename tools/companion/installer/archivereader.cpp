#include "companion/installer/archivereader.h"

#include <archive.h>
#include <archive_entry.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype atOnce = 65'536; // bytes read

} // namespace

void ArchiveReader::Closer::operator()(archive* archive) const
{
    archive_read_free(archive);
}

ArchiveReader::ArchiveReader(const QString& path)
    : m_file(std::make_unique<XarFile>(path))
    , m_archive(archive_read_new())
{
    m_source = [this](char* buffer, qint64 size) { return m_file->read(buffer, size); };
    archive_read_support_format_xar(m_archive.get());
    open();
}

ArchiveReader::ArchiveReader(ByteSource source)
    : m_source(std::move(source))
    , m_archive(archive_read_new())
{
    archive_read_support_format_cpio(m_archive.get());
    archive_read_support_filter_gzip(m_archive.get());
    archive_read_support_filter_bzip2(m_archive.get());
    archive_read_support_filter_xz(m_archive.get());
    open();
}

ArchiveReader::~ArchiveReader() = default;

void ArchiveReader::open()
{
    m_buffer.resize(atOnce);
    const auto read = [](archive* archive, void* self, const void** bytes) -> la_ssize_t {
        auto* reader = static_cast<ArchiveReader*>(self);
        *bytes = reader->m_buffer.constData();
        const qint64 count = reader->m_source(reader->m_buffer.data(), reader->m_buffer.size());
        if (count < 0) {
            archive_set_error(archive, EILSEQ, "what it is packed in is wrong");
        }
        return static_cast<la_ssize_t>(count);
    };
    const auto skip = [](archive*, void* self, la_int64_t size) -> la_int64_t {
        return static_cast<ArchiveReader*>(self)->skipInFile(size);
    };
    const auto seek = [](archive*, void* self, la_int64_t offset, int whence) -> la_int64_t {
        return static_cast<ArchiveReader*>(self)->seekInFile(offset, whence);
    };
    if (m_file) {
        archive_read_set_skip_callback(m_archive.get(), skip);
        archive_read_set_seek_callback(m_archive.get(), seek);
    }
    archive_read_set_callback_data(m_archive.get(), this);
    archive_read_set_read_callback(m_archive.get(), read);
    if (archive_read_open1(m_archive.get()) != ARCHIVE_OK) {
        keepError();
    }
}

qint64 ArchiveReader::skipInFile(qint64 size)
{
    const qint64 start = m_file->position();
    m_file->seek(start + size);
    return m_file->position() - start;
}

qint64 ArchiveReader::seekInFile(qint64 offset, int whence)
{
    const qint64 start = whence == SEEK_END ? m_file->size() : m_file->position();
    m_file->seek(whence == SEEK_SET ? offset : start + offset);
    return m_file->position();
}

void ArchiveReader::keepError()
{
    const char* text = archive_error_string(m_archive.get());
    m_error = text ? QString::fromUtf8(text) : u"it is damaged"_s;
    m_isDamaged = archive_errno(m_archive.get()) != ENOMEM;
}

bool ArchiveReader::next()
{
    if (!m_error.isEmpty()) {
        return false;
    }
    m_block = {};
    const int result = archive_read_next_header(m_archive.get(), &m_entry);
    if (result == ARCHIVE_OK || result == ARCHIVE_WARN) {
        return true;
    }
    if (result != ARCHIVE_EOF) {
        keepError();
    }
    return false;
}

BundleCollector::Entry ArchiveReader::entry() const
{
    BundleCollector::Entry entry;
    // As bytes: libarchive's own conversion depends on the locale.
    const std::optional<QString> path = memberPath(archive_entry_pathname(m_entry));
    entry.path = path.value_or(QString());
    entry.leadsOut = !path;
    if (archive_entry_filetype(m_entry) == AE_IFDIR) {
        entry.kind = BundleCollector::Folder;
    } else if (archive_entry_filetype(m_entry) != AE_IFREG || archive_entry_hardlink(m_entry)) {
        entry.kind = BundleCollector::Link;
    }
    entry.isExecutable = (archive_entry_perm(m_entry) & 0111) != 0;
    if (archive_entry_mtime_is_set(m_entry)) {
        entry.changed = static_cast<qint64>(archive_entry_mtime(m_entry));
    }
    return entry;
}

qint64 ArchiveReader::size() const
{
    return archive_entry_size_is_set(m_entry) ? archive_entry_size(m_entry) : 0;
}

qint64 ArchiveReader::read(char* buffer, qint64 size)
{
    while (m_block.isEmpty()) {
        // By blocks, whose places are not looked at: no member of these formats has holes, and
        // those of a xar archive are wrong after a member whose content was passed over.
        const void* bytes = nullptr;
        std::size_t count = 0;
        la_int64_t place = 0;
        const int result = archive_read_data_block(m_archive.get(), &bytes, &count, &place);
        if (result == ARCHIVE_EOF) {
            return 0;
        }
        if (result != ARCHIVE_OK) {
            keepError();
            return -1;
        }
        m_block = QByteArrayView(static_cast<const char*>(bytes), static_cast<qsizetype>(count));
    }
    const qint64 count = std::min<qint64>(size, m_block.size());
    std::copy_n(m_block.cbegin(), count, buffer);
    m_block = m_block.sliced(count);
    return count;
}

QByteArray ArchiveReader::start(qint64 most)
{
    QByteArray bytes;
    QByteArray part(static_cast<qsizetype>(std::min<qint64>(most, atOnce)), Qt::Uninitialized);
    while (bytes.size() < most) {
        const qint64 count = read(part.data(), std::min<qint64>(part.size(), most - bytes.size()));
        if (count <= 0) {
            break;
        }
        bytes.append(part.constData(), static_cast<qsizetype>(count));
    }
    return bytes;
}
