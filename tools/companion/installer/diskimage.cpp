#include "companion/installer/diskimage.h"

#include "companion/installer/bundlecollector.h"
#include "companion/installer/machoheader.h"
#include "companion/installer/propertylist.h"
#include "companion/installer/sevenzip.h"
#include "companion/report/texttable.h"
#include "install/installerchoice.h"

#include <QTemporaryDir>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

using Entry = BundleCollector::Entry;

bool endsIn(const QString& path, QLatin1StringView ending)
{
    return path.endsWith(ending, Qt::CaseInsensitive);
}

bool isPackage(const QString& path)
{
    return endsIn(path, ".pkg"_L1) || endsIn(path, ".mpkg"_L1);
}

bool isVolume(const Entry& entry)
{
    return entry.kind == BundleCollector::File && !entry.path.contains(u'/') &&
           (endsIn(entry.path, ".hfs"_L1) || endsIn(entry.path, ".hfsx"_L1) ||
            endsIn(entry.path, ".apfs"_L1));
}

QString lastStep(const QString& path)
{
    return path.section(u'/', -1);
}

/// The folder that stands for the volume and holds everything, with its "/"; empty where there is
/// none.
QString volumeFolder(const QList<Entry>& entries)
{
    const QString first = entries.constFirst().path.section(u'/', 0, 0);
    const bool isAround =
        std::all_of(entries.cbegin(), entries.cend(), [&first](const Entry& entry) {
            return entry.path == first ? entry.kind == BundleCollector::Folder
                                       : entry.path.startsWith(first + u'/');
        });
    return isAround && !first.endsWith(".app"_L1) ? first + u'/' : QString();
}

/// The applications and packages that the user sees in a volume: at its top, or else one folder
/// down.
QStringList visibleItems(const QList<Entry>& entries, const QString& folder)
{
    for (const qsizetype depth : {0, 1}) {
        QStringList items;
        for (const Entry& entry : entries) {
            const QString path = entry.path.mid(folder.size());
            const bool isApplication =
                path.endsWith(".app"_L1) && entry.kind == BundleCollector::Folder;
            const bool isInside = path.section(u'/', 0, -2).contains(".app"_L1);
            if (path.count(u'/') == depth && !isInside && !lastStep(path).startsWith(u'.') &&
                (isApplication || isPackage(path)) && !isExcludedInstaller(lastStep(path))) {
                items.append(entry.path);
            }
        }
        if (!items.isEmpty()) {
            return items;
        }
    }
    return {};
}

/// Reads one volume after another, and keeps what they bring together.
class ImageReading
{
public:
    explicit ImageReading(const ItemReader& readItem) : m_readItem(readItem)
    {
        m_item.kind = u"disk image"_s;
    }

    [[nodiscard]] InstallerItem read(const QString& path)
    {
        const SevenZip::Listing listing = SevenZip::list(path);
        if (!listing.error.isEmpty()) {
            m_item.unknown = listing.error;
            return m_item;
        }
        QList<Entry> volumes;
        std::copy_if(listing.entries.cbegin(), listing.entries.cend(), std::back_inserter(volumes),
                     isVolume);
        if (volumes.isEmpty()) {
            readVolume(path, listing.entries);
        }
        for (const Entry& volume : std::as_const(volumes)) {
            unpackVolume(path, volume.path);
        }
        sayWhatIsNotKnown();
        return m_item;
    }

private:
    void unpackVolume(const QString& image, const QString& name)
    {
        const QTemporaryDir folder;
        const QString volume = folder.filePath(u"volume"_s);
        if (!SevenZip::copyTo(image, name, volume)) {
            setUnknown(u"7-Zip cannot unpack its volume %1"_s.arg(quoted(name)));
            return;
        }
        const SevenZip::Listing listing = SevenZip::list(volume);
        if (!listing.error.isEmpty()) {
            setUnknown(u"of its volume %1, %2"_s.arg(quoted(name), listing.error));
            return;
        }
        readVolume(volume, listing.entries);
    }

    void readVolume(const QString& image, const QList<Entry>& entries)
    {
        const QString folder = volumeFolder(entries);
        if (std::any_of(entries.cbegin(), entries.cend(),
                        [](const Entry& entry) { return entry.leadsOut; })) {
            setUnknown(u"a name in it leads out, or is no UTF-8"_s);
            return;
        }
        BundleCollector collector;
        for (const QString& item : visibleItems(entries, folder)) {
            if (isPackage(item)) {
                ++m_packages;
                readPackage(image, item);
                continue;
            }
            ++m_applications;
            readApplication(image, entries, item, collector);
        }
        m_item.bundles += collector.bundles();
        if (!collector.limitReached().isEmpty()) {
            setUnknown(collector.limitReached());
        }
    }

    static void readApplication(const QString& image, const QList<Entry>& entries,
                                const QString& item, BundleCollector& collector)
    {
        const QString place = u"/Applications/"_s + lastStep(item);
        QStringList programs; // their paths in the image
        QString executable = lastStep(item).chopped(4);
        for (const Entry& packed : entries) {
            const QString& path = packed.path;
            if (path != item && !path.startsWith(item + u'/')) {
                continue;
            }
            Entry entry = packed;
            entry.path = place + path.sliced(item.size());
            const qsizetype wanted = collector.add(entry);
            if (wanted == programHeadSize) {
                programs.append(path);
            } else if (wanted > 0) {
                const QByteArray bytes = SevenZip::start(image, path, wanted);
                collector.setContent(entry.path, bytes);
                const KnownText name = readPropertyList(bytes).text(u"CFBundleExecutable"_s);
                executable = name.value.isEmpty() ? executable : name.value;
            }
        }
        // Of programs, each of which costs a process, the one alone that is asked about.
        for (const QString& path : std::as_const(programs)) {
            if (lastStep(path) == executable) {
                collector.setContent(place + path.sliced(item.size()),
                                     SevenZip::start(image, path, programHeadSize));
            }
        }
    }

    void readPackage(const QString& image, const QString& path)
    {
        const QTemporaryDir folder;
        const QString copy = folder.filePath(u"item"_s + path.sliced(path.lastIndexOf(u'.')));
        if (!SevenZip::copyTo(image, path, copy)) {
            setUnknown(u"%1 cannot be unpacked"_s.arg(quoted(path)));
            return;
        }
        const InstallerItem item = m_readItem(copy);
        m_item.bundles += item.bundles;
        m_item.notes += item.notes;
        if (item.isDamaged) {
            m_item.unknown = item.unknown;
            m_item.isDamaged = true;
        }
        setUnknown(item.unknown);
    }

    void sayWhatIsNotKnown()
    {
        if (m_packages + m_applications == 0) {
            setUnknown(u"neither an application nor a package is seen in it"_s);
        } else if (m_packages > 0 && m_packages + m_applications > 1) {
            setUnknown(u"it holds a package and more: which is to be opened is not known"_s);
        }
        if (!m_item.unknown.isEmpty()) {
            m_item.bundles.clear();
        }
        std::sort(
            m_item.bundles.begin(), m_item.bundles.end(),
            [](const BundleFacts& a, const BundleFacts& b) { return a.location < b.location; });
    }

    /// The first reason stays.
    void setUnknown(const QString& reason)
    {
        if (m_item.unknown.isEmpty()) {
            m_item.unknown = reason;
        }
    }

    ItemReader m_readItem;
    InstallerItem m_item;
    int m_packages = 0;
    int m_applications = 0;
};

} // namespace

InstallerItem readDiskImage(const QString& path, const ItemReader& readItem)
{
    return ImageReading(readItem).read(path);
}
