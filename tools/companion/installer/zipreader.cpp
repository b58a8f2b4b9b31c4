#include "companion/installer/zipreader.h"

#include "companion/installer/limits.h"

#include <QFile>

#include <zip.h>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 atOnce = 65'536; // bytes read

struct FileCloser
{
    void operator()(zip_file_t* file) const { zip_fclose(file); }
};
using File = std::unique_ptr<zip_file_t, FileCloser>;

/// Of what the archive's directory tells of an item, what is needed here.
zip_stat_t about(zip* archive, quint64 item)
{
    zip_stat_t told;
    zip_stat_init(&told);
    zip_stat_index(archive, item, 0, &told);
    return told;
}

} // namespace

void ZipReader::Closer::operator()(zip* archive) const
{
    zip_discard(archive);
}

ZipReader::ZipReader(const QString& path)
{
    m_zip.reset(zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY, nullptr));
    if (m_zip) {
        m_count = static_cast<quint64>(zip_get_num_entries(m_zip.get(), 0));
    } else {
        m_error = u"it is no whole ZIP archive"_s;
    }
}

ZipReader::~ZipReader() = default;

bool ZipReader::next()
{
    if (!m_error.isEmpty() || m_next == m_count) {
        return false;
    }
    ++m_next;
    return true;
}

BundleCollector::Entry ZipReader::entry() const
{
    const char* name = zip_get_name(m_zip.get(), m_next - 1, ZIP_FL_ENC_RAW);
    zip_uint8_t system = ZIP_OPSYS_DOS;
    zip_uint32_t attributes = 0;
    zip_file_get_external_attributes(m_zip.get(), m_next - 1, 0, &system, &attributes);
    const zip_stat_t told = about(m_zip.get(), m_next - 1);

    BundleCollector::Entry entry;
    // What unzip does with a name that leads out is told by the rules of archives.
    entry.path = memberPath(name).value_or(QString());
    const quint32 mode = attributes >> 16;
    if (name && QByteArrayView(name).endsWith('/')) {
        entry.kind = BundleCollector::Folder;
    } else if ((mode & 0170000U) == 0120000U) {
        entry.kind = BundleCollector::Link;
    }
    entry.isExecutable = (mode & 0111U) != 0;
    entry.changed = (told.valid & ZIP_STAT_MTIME) ? static_cast<qint64>(told.mtime) : 0;
    return entry;
}

qint64 ZipReader::size() const
{
    const zip_stat_t told = about(m_zip.get(), m_next - 1);
    return (told.valid & ZIP_STAT_SIZE) ? static_cast<qint64>(told.size) : 0;
}

QByteArray ZipReader::start(qint64 most)
{
    const File file(zip_fopen_index(m_zip.get(), m_next - 1, 0));
    QByteArray bytes;
    while (file && bytes.size() < most) {
        const qint64 wanted = std::min(most - bytes.size(), atOnce);
        QByteArray part(static_cast<qsizetype>(wanted), Qt::Uninitialized);
        const zip_int64_t count =
            zip_fread(file.get(), part.data(), static_cast<zip_uint64_t>(wanted));
        if (count <= 0) {
            m_error = count < 0 ? u"a member is damaged"_s : m_error;
            return bytes;
        }
        bytes.append(part.constData(), static_cast<qsizetype>(count));
    }
    if (!file) {
        m_error = u"a member cannot be unpacked"_s;
    }
    return bytes;
}

bool ZipReader::copyTo(const QString& path)
{
    const File member(zip_fopen_index(m_zip.get(), m_next - 1, 0));
    QFile file(path);
    if (!member || !file.open(QIODevice::WriteOnly)) {
        m_error = member ? file.errorString() : u"a member cannot be unpacked"_s;
        return false;
    }
    QByteArray part(static_cast<qsizetype>(atOnce), Qt::Uninitialized);
    for (qint64 done = 0; m_error.isEmpty();) {
        const zip_int64_t count =
            zip_fread(member.get(), part.data(), static_cast<zip_uint64_t>(part.size()));
        if (count == 0) {
            break;
        }
        done += count;
        if (count < 0 || done > InstallerLimits::unpackedBytes) {
            m_error = u"a member is damaged or too large"_s;
        } else if (file.write(part.constData(), count) != count) {
            m_error = file.errorString();
        }
    }
    return m_error.isEmpty() && file.flush();
}
