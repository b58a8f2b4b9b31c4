#include "companion/archive/archivecontent.h"

#include "companion/report/texttable.h"
#include "install/downloadtarget.h"

#include <QFile>
#include <QStringDecoder>

#include <zip.h>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr zip_uint64_t largestText = 4'194'304; // bytes; of a link or a property list

constexpr std::size_t firstBytes = 4096; // of an item, which are tried

// Of one archive, so that a directory which is made to fill the memory does not.
constexpr zip_int64_t mostItems = 1'000'000;
constexpr qsizetype longestPaths = 100'000'000;

// A Mac's paths end at 1,024 bytes, and the download folder's comes before.
constexpr qsizetype longestName = 900;

constexpr int mostLinks = 40; // that a path may lead over

// Any folder does: candidates are ordered by where they lie below it.
const QString root = u"/archive"_s;

/// What unzip can unpack, as its own list of methods and Debian's build have it.
bool isMethodKnown(zip_uint16_t method)
{
    static constexpr std::array<zip_uint16_t, 6> known = {ZIP_CM_STORE,     ZIP_CM_SHRINK,
                                                          ZIP_CM_IMPLODE,   ZIP_CM_DEFLATE,
                                                          ZIP_CM_DEFLATE64, ZIP_CM_BZIP2};
    return std::find(known.cbegin(), known.cend(), method) != known.cend();
}

bool isLinkMode(zip_uint8_t system, zip_uint32_t attributes)
{
    const bool hasLinks =
        system == ZIP_OPSYS_UNIX || system == ZIP_OPSYS_ATARI_ST || system == ZIP_OPSYS_BEOS;
    return hasLinks && (attributes >> 16 & 0170000U) == 0120000U;
}

bool isHidden(const QString& path)
{
    return path.startsWith(u'.') || path.contains("/."_L1);
}

QString lastStep(const QString& path)
{
    return path.sliced(path.lastIndexOf(u'/') + 1);
}

} // namespace

const QStringList& processors()
{
    static const QStringList names = {u"arm64"_s, u"x86_64"_s};
    return names;
}

void ArchiveContent::Closer::operator()(zip* archive) const
{
    zip_discard(archive); // closes it without a change
}

ArchiveContent::ArchiveContent(const QString& path)
{
    int code = 0;
    m_zip.reset(zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY, &code));
    if (m_zip) {
        readDirectory();
        return;
    }
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    m_error = QString::fromUtf8(zip_error_strerror(&error));
    zip_error_fini(&error);
}

ArchiveContent::~ArchiveContent() = default;

void ArchiveContent::readDirectory()
{
    const zip_int64_t count = zip_get_num_entries(m_zip.get(), 0);
    if (count == 0) {
        m_failures.append({u"archive-fails"_s, u"the archive is empty"_s});
    }
    for (zip_int64_t item = 0; item < count; ++item) {
        addItem(static_cast<quint64>(item));
        if (item == mostItems || m_tree.pathsLength() > longestPaths) {
            m_isBeyondLimits = true;
            m_error = u"it has more than %1 items, or %2 characters of paths"_s.arg(mostItems).arg(
                longestPaths);
            m_tree = {};
            return;
        }
    }
}

QString ArchiveContent::itemName(quint64 item) const
{
    // The bytes as they stand are what unzip makes a file's name of, unless they are no UTF-8.
    const char* raw = zip_get_name(m_zip.get(), item, ZIP_FL_ENC_RAW);
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString name = decoder(QByteArrayView(raw ? raw : ""));
    return decoder.hasError() ? QString::fromUtf8(zip_get_name(m_zip.get(), item, ZIP_FL_ENC_GUESS))
                              : name;
}

void ArchiveContent::checkName(quint64 item, quint8 system, const QString& shown)
{
    const QByteArray raw = zip_get_name(m_zip.get(), item, ZIP_FL_ENC_RAW);
    if (raw.size() > longestName) {
        m_headFindings.append({u"archive-long"_s, u"%1 has %2 bytes"_s.arg(shown).arg(raw.size())});
    }
    if (std::all_of(raw.cbegin(), raw.cend(), [](char c) { return c >= 0; })) {
        return;
    }
    if (!raw.isValidUtf8()) {
        m_headFindings.append({u"archive-bytes"_s, u"%1 is no UTF-8 text"_s.arg(shown)});
    } else if (system != ZIP_OPSYS_UNIX && system != ZIP_OPSYS_OS_X) {
        m_headFindings.append({u"archive-letters"_s, u"%1 was not packed as on Unix"_s.arg(shown)});
    } else {
        m_headFindings.append({u"archive-accents"_s, u"%1 is not all ASCII"_s.arg(shown)});
    }
}

void ArchiveContent::addItem(quint64 item)
{
    zip_stat_t about;
    zip_stat_init(&about);
    zip_stat_index(m_zip.get(), item, 0, &about);
    m_unpackedSize += about.size;
    zip_uint8_t system = ZIP_OPSYS_DOS;
    zip_uint32_t attributes = 0;
    zip_file_get_external_attributes(m_zip.get(), item, 0, &system, &attributes);

    QString name = itemName(item);
    const QString shown = quoted(name);
    checkName(item, system, shown);
    if ((about.valid & ZIP_STAT_ENCRYPTION_METHOD) && about.encryption_method != ZIP_EM_NONE) {
        m_failures.append({u"archive-encrypted"_s, u"%1 is encrypted"_s.arg(shown)});
        return;
    }
    if ((about.valid & ZIP_STAT_COMP_METHOD) && !isMethodKnown(about.comp_method)) {
        m_failures.append({u"archive-fails"_s,
                           u"%1 is compressed by method %2, which unzip lacks"_s.arg(shown).arg(
                               about.comp_method)});
        return;
    }
    if ((about.valid & ZIP_STAT_COMP_METHOD) && about.comp_method != ZIP_CM_STORE &&
        about.comp_method != ZIP_CM_DEFLATE) {
        m_headFindings.append(
            {u"archive-method"_s,
             u"%1 is compressed by method %2"_s.arg(shown).arg(about.comp_method)});
    }
    if (system == ZIP_OPSYS_DOS && name.contains(u'\\') && !name.contains(u'/')) {
        m_failures.append({u"archive-name"_s, u"%1 has backslashes"_s.arg(shown)});
        name.replace(u'\\', u'/');
    }
    const bool isLink = isLinkMode(system, attributes) && about.size > 0;
    switch (m_tree.add(name, isLink ? UnpackedTree::Link : UnpackedTree::File, item)) {
    case UnpackedTree::Unpacked:
        break;
    case UnpackedTree::Renamed:
        m_failures.append({u"archive-name"_s, u"%1 leads out of its folder"_s.arg(shown)});
        break;
    case UnpackedTree::NotCreated:
        m_failures.append({u"archive-fails"_s, u"%1 cannot be created"_s.arg(shown)});
        break;
    }
}

QByteArray ArchiveContent::itemContent(quint64 item) const
{
    zip_stat_t about;
    zip_stat_init(&about);
    if (zip_stat_index(m_zip.get(), item, 0, &about) != 0 || about.size > largestText) {
        return {};
    }
    zip_file_t* file = zip_fopen_index(m_zip.get(), item, 0);
    if (!file) {
        return {};
    }
    QByteArray bytes(static_cast<qsizetype>(about.size), Qt::Uninitialized);
    const zip_int64_t length = zip_fread(file, bytes.data(), about.size);
    zip_fclose(file);
    bytes.truncate(std::max<zip_int64_t>(length, 0));
    return bytes;
}

QString ArchiveContent::damageOf(quint64 item) const
{
    zip_stat_t about;
    zip_stat_init(&about);
    zip_stat_index(m_zip.get(), item, 0, &about);
    const bool isRead = about.comp_method == ZIP_CM_STORE || about.comp_method == ZIP_CM_DEFLATE;
    if (about.size == 0 || !isRead || about.encryption_method != ZIP_EM_NONE) {
        return {};
    }
    zip_file_t* file = zip_fopen_index(m_zip.get(), item, 0);
    if (!file) {
        return QString::fromUtf8(zip_strerror(m_zip.get()));
    }
    // Of a short item all, and its end with the checksum behind it.
    std::array<char, firstBytes> bytes{};
    std::size_t length = 0;
    zip_int64_t count = 1;
    while (count > 0 && length < bytes.size()) {
        count = zip_fread(file, bytes.data(), bytes.size() - length);
        length += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    const QString damage = count < 0 ? QString::fromUtf8(zip_file_strerror(file)) : QString();
    zip_fclose(file);
    return damage;
}

QList<Finding> ArchiveContent::damages() const
{
    QList<Finding> damages;
    const zip_int64_t count = m_zip ? zip_get_num_entries(m_zip.get(), 0) : 0;
    for (quint64 item = 0; item < static_cast<quint64>(count); ++item) {
        if (const QString damage = damageOf(item); !damage.isEmpty()) {
            damages.append({u"archive-fails"_s,
                            u"%1 cannot be read: %2"_s.arg(quoted(itemName(item)), damage)});
        }
    }
    return damages;
}

QByteArray ArchiveContent::content(const QString& path) const
{
    const auto node = m_tree.nodes().constFind(path);
    const bool isFile = node != m_tree.nodes().cend() && node->kind == UnpackedTree::File;
    return isFile ? itemContent(node->item) : QByteArray();
}

bool ArchiveContent::isLink(const QString& path) const
{
    return m_tree.nodes().value(path).kind == UnpackedTree::Link;
}

bool ArchiveContent::isExecutable(const QString& path) const
{
    const auto node = m_tree.nodes().constFind(path);
    if (node == m_tree.nodes().cend() || node->kind != UnpackedTree::File) {
        return false;
    }
    zip_uint8_t system = ZIP_OPSYS_DOS;
    zip_uint32_t attributes = 0;
    zip_file_get_external_attributes(m_zip.get(), node->item, 0, &system, &attributes);
    const bool hasMode = system == ZIP_OPSYS_UNIX || system == ZIP_OPSYS_OS_X;
    return hasMode && (attributes >> 16U & 0111U) != 0;
}

bool ArchiveContent::leadsOut(const QString& path, const UnpackedTree::Node& link) const
{
    const QString target = QFile::decodeName(itemContent(link.item));
    const QString folder = path.first(path.lastIndexOf(u'/') + 1);
    // Who moves an application finds the place for it by this link; nothing hangs on it.
    const bool isPlace = target == "/Applications"_L1;
    return !isPlace && (target.startsWith(u'/') || !staysInFolder(folder + target));
}

QStringList ArchiveContent::linksThatLeadOut() const
{
    QStringList links;
    const auto& nodes = m_tree.nodes();
    for (auto node = nodes.cbegin(); node != nodes.cend(); ++node) {
        if (node->kind == UnpackedTree::Link && leadsOut(node.key(), *node)) {
            links.append(node.key());
        }
    }
    return links;
}

bool ArchiveContent::isThere(const QString& path) const
{
    QStringList steps = path.split(u'/');
    QStringList done;
    for (int links = 0; !steps.isEmpty();) {
        const QString step = steps.takeFirst();
        if (step.isEmpty() || step == "."_L1) {
            continue;
        }
        if (step == ".."_L1) {
            if (done.isEmpty()) {
                return false; // what lies outside is not known
            }
            done.removeLast();
            continue;
        }
        done.append(step);
        const auto node = m_tree.nodes().constFind(done.join(u'/'));
        if (node == m_tree.nodes().cend() ||
            (node->kind == UnpackedTree::File && !steps.isEmpty())) {
            return false;
        }
        if (node->kind == UnpackedTree::Link) {
            const QString target = QFile::decodeName(itemContent(node->item));
            if (target.startsWith(u'/') || ++links > mostLinks) {
                return false;
            }
            done.removeLast();
            steps = target.split(u'/') + steps;
        }
    }
    return true;
}

bool ArchiveContent::isListed(const QString& path, const UnpackedTree::Node& node) const
{
    return !isHidden(path) && (node.kind != UnpackedTree::Link || isThere(path));
}

QList<InstallerCandidate> ArchiveContent::candidates(const QString& architecture) const
{
    QList<InstallerCandidate> candidates;
    const auto& nodes = m_tree.nodes();
    for (auto node = nodes.cbegin(); node != nodes.cend(); ++node) {
        const QString name = lastStep(node.key());
        if (hasInstallerEnding(name) && !isExcludedInstaller(name) && isListed(node.key(), *node)) {
            candidates.append({root + u'/' + node.key(), name, installerScore(name, architecture)});
        }
    }
    sortInstallers(candidates, root);
    for (InstallerCandidate& candidate : candidates) {
        candidate.path.remove(0, root.size() + 1);
    }
    return candidates;
}

QStringList ArchiveContent::excluded() const
{
    QStringList paths;
    const auto& nodes = m_tree.nodes();
    for (auto node = nodes.cbegin(); node != nodes.cend(); ++node) {
        const QString name = lastStep(node.key());
        if (hasInstallerEnding(name) && isExcludedInstaller(name) && isListed(node.key(), *node)) {
            paths.append(node.key());
        }
    }
    return paths;
}
