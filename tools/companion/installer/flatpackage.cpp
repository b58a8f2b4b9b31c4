#include "companion/installer/flatpackage.h"

#include "companion/installer/archivereader.h"
#include "companion/installer/bundlecollector.h"
#include "companion/installer/limits.h"
#include "companion/installer/packagetext.h"
#include "companion/installer/payload.h"
#include "companion/report/texttable.h"

#include <QHash>
#include <QMap>

#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString infoName = u"PackageInfo"_s;
const QString payloadName = u"Payload"_s;
const QString distributionName = u"Distribution"_s;

/// One package of the file, by its folder there; the folder is empty where the file is one itself.
struct Component
{
    std::optional<QByteArray> info;
    bool hasPayload = false;
    QString location; ///< of its payload, from "/"
};

/// What stands in the file beside the payloads.
struct TableOfContents
{
    QMap<QString, Component> components;
    std::optional<QByteArray> distribution;
    QStringList nested; ///< packages that are one file each
    QString error;
    bool isDamaged = false; ///< whether that is a fault of the file
};

QString folderOf(const QString& path)
{
    const qsizetype end = path.lastIndexOf(u'/');
    return end < 0 ? QString() : path.first(end);
}

/// The path of a member that is a file; empty for others.
QString filePath(const ArchiveReader& archive)
{
    const BundleCollector::Entry entry = archive.entry();
    return entry.kind == BundleCollector::File ? entry.path : QString();
}

/// Reads the descriptions; payloads are passed over.
TableOfContents readContents(const QString& path)
{
    TableOfContents contents;
    ArchiveReader archive(path);
    for (qint64 count = 0; archive.next(); ++count) {
        if (count == InstallerLimits::members) {
            contents.error = u"it has more than %1 members"_s.arg(InstallerLimits::members);
            return contents;
        }
        const QString entry = filePath(archive);
        const QString name = entry.section(u'/', -1);
        if (entry.isEmpty() || entry.startsWith("Resources/"_L1)) {
            continue;
        }
        if (entry == distributionName) {
            contents.distribution = archive.start(InstallerLimits::textBytes);
        } else if (name == infoName) {
            contents.components[folderOf(entry)].info = archive.start(InstallerLimits::textBytes);
        } else if (name == payloadName) {
            contents.components[folderOf(entry)].hasPayload = true;
        } else if (name.endsWith(".pkg"_L1)) {
            contents.nested.append(entry);
        }
    }
    contents.error = archive.error();
    contents.isDamaged = archive.isDamaged();
    return contents;
}

/// Whether what lies below @p location can reach /Applications.
bool canReachApplications(const QString& location)
{
    return location == "/"_L1 || location == "/Applications"_L1 ||
           location.startsWith("/Applications/"_L1);
}

/// A folder's path from "/", in its plainest form; empty where it has ".." steps.
QString plainFolder(const QString& path)
{
    QStringList steps = path.split(u'/', Qt::SkipEmptyParts);
    steps.removeAll(u"."_s);
    return steps.contains(u".."_s) ? QString() : u'/' + steps.join(u'/');
}

QString shownComponent(const QString& folder)
{
    return folder.isEmpty() ? u"the package"_s : quoted(folder);
}

/// Makes of what two packages say of one application what is sure of it.
template <typename T>
void keepCommon(Known<T>& value, const Known<T>& other)
{
    if (value != other) {
        value = {{}, u"two of its packages hold the application, and differ"_s};
    }
}

void addBundle(QList<BundleFacts>& bundles, const BundleFacts& bundle)
{
    for (BundleFacts& former : bundles) {
        if (former.location == bundle.location) {
            keepCommon(former.version, bundle.version);
            keepCommon(former.identifier, bundle.identifier);
            keepCommon(former.minimumSystem, bundle.minimumSystem);
            keepCommon(former.processors, bundle.processors);
            keepCommon(former.newestFile, bundle.newestFile);
            former.faults.clear(); // what one lacks, the other may bring
            return;
        }
    }
    bundles.append(bundle);
}

/// Reads one package file into what it would install.
class PackageReading
{
public:
    explicit PackageReading(const QString& path) : m_path(path) {}

    [[nodiscard]] InstallerItem read()
    {
        m_item.kind = u"package"_s;
        m_contents = readContents(m_path);
        if (!m_contents.error.isEmpty()) {
            setUnknown(u"the package cannot be read: %1"_s.arg(m_contents.error),
                       m_contents.isDamaged);
            return m_item;
        }
        readDescription();
        for (auto component = m_contents.components.begin();
             component != m_contents.components.end(); ++component) {
            readInfo(component.key(), *component);
        }
        readPayloads();
        sayWhatIsNotKnown();
        return m_item;
    }

private:
    void readDescription()
    {
        if (!m_contents.distribution) {
            return;
        }
        m_distribution = readDistribution(*m_contents.distribution);
        if (!m_distribution->error.isEmpty()) {
            setUnknown(u"its Distribution cannot be read: %1"_s.arg(m_distribution->error));
        }
        if (!m_distribution->elsewhere.isEmpty()) {
            setUnknown(u"it also installs %1, which is not in it"_s.arg(
                quoted(m_distribution->elsewhere.constFirst())));
        }
        if (!m_distribution->minimumSystem.isEmpty()) {
            m_item.notes.append(u"it needs macOS %1"_s.arg(m_distribution->minimumSystem));
        }
        if (!m_distribution->processors.isEmpty()) {
            m_item.notes.append(u"it is for %1"_s.arg(m_distribution->processors.join(" and "_L1)));
        }
        if (m_distribution->hasScripts) {
            m_item.notes.append(u"its Distribution has a script, which is not interpreted"_s);
        }
    }

    void readInfo(const QString& folder, Component& component)
    {
        if (m_distribution && !m_distribution->packages.contains(folder)) {
            component.hasPayload = false; // no choice names it
            m_item.notes.append(u"%1 is not installed: no choice names it"_s.arg(quoted(folder)));
            return;
        }
        if (!component.info) {
            setUnknown(u"%1 has no PackageInfo"_s.arg(shownComponent(folder)));
            return;
        }
        const PackageInfo info = readPackageInfo(*component.info);
        if (!info.error.isEmpty()) {
            setUnknown(u"its PackageInfo cannot be read: %1"_s.arg(info.error));
            return;
        }
        const Distribution::Package package =
            m_distribution ? m_distribution->packages.value(folder) : Distribution::Package();
        component.location =
            plainFolder(package.customLocation.isEmpty() ? info.location : package.customLocation);
        addNotes(folder, info, package.isOptional, component.hasPayload);
    }

    void addNotes(const QString& folder, const PackageInfo& info, bool isOptional, bool hasPayload)
    {
        if (isOptional) {
            m_item.notes.append(u"the user or a script decides whether %1 is installed"_s.arg(
                shownComponent(folder)));
        }
        if (info.isRelocatable && hasPayload) {
            m_item.notes.append(u"%1 is relocatable: where an application of its identifier lies "
                                "elsewhere already, it goes there"_s.arg(shownComponent(folder)));
        }
        if (!info.scripts.isEmpty()) {
            m_hasScripts = true;
            m_item.notes.append(
                u"%1 has scripts, which are not interpreted"_s.arg(shownComponent(folder)));
        }
    }

    void readPayloads()
    {
        bool isAnyWanted = false;
        for (const Component& component : std::as_const(m_contents.components)) {
            isAnyWanted = isAnyWanted || isWanted(component);
        }
        if (!isAnyWanted) {
            return;
        }
        ArchiveReader archive(m_path);
        while (archive.next()) {
            const QString entry = filePath(archive);
            const auto component = m_contents.components.constFind(folderOf(entry));
            if (entry.section(u'/', -1) == payloadName &&
                component != m_contents.components.cend() && isWanted(*component)) {
                readComponentPayload(archive, component->location);
            }
        }
        if (!archive.error().isEmpty()) {
            setUnknown(u"the package cannot be read: %1"_s.arg(archive.error()),
                       archive.isDamaged());
        }
    }

    [[nodiscard]] static bool isWanted(const Component& component)
    {
        return component.hasPayload && canReachApplications(component.location);
    }

    void readComponentPayload(ArchiveReader& archive, const QString& location)
    {
        BundleCollector collector;
        const PayloadEnd end = readPayload(
            [&archive](char* buffer, qint64 size) { return archive.read(buffer, size); }, location,
            collector);
        if (!end.unknown.isEmpty()) {
            setUnknown(end.unknown, end.isDamaged);
            return;
        }
        for (const BundleFacts& bundle : collector.bundles()) {
            addBundle(m_item.bundles, bundle);
        }
    }

    void sayWhatIsNotKnown()
    {
        if (m_contents.components.isEmpty()) {
            setUnknown(m_contents.nested.isEmpty()
                           ? u"it holds no package"_s
                           : u"its packages are files of their own, which is not read"_s);
        } else if (m_item.bundles.isEmpty() && m_hasScripts) {
            setUnknown(u"it puts nothing into /Applications itself, and what its scripts do is not "
                       "known"_s);
        }
        if (!m_item.unknown.isEmpty()) {
            m_item.bundles.clear();
        }
        if (m_hasScripts) {
            for (BundleFacts& bundle : m_item.bundles) {
                bundle.faults.clear(); // what it lacks, a script may bring
            }
        }
        std::sort(
            m_item.bundles.begin(), m_item.bundles.end(),
            [](const BundleFacts& a, const BundleFacts& b) { return a.location < b.location; });
    }

    /// The first reason stays, but for one that is a fault of the file.
    void setUnknown(const QString& reason, bool isDamaged = false)
    {
        if (m_item.unknown.isEmpty() || (isDamaged && !m_item.isDamaged)) {
            m_item.unknown = reason;
            m_item.isDamaged = isDamaged;
        }
    }

    QString m_path;
    InstallerItem m_item;
    TableOfContents m_contents;
    std::optional<Distribution> m_distribution;
    bool m_hasScripts = false;
};

} // namespace

InstallerItem readFlatPackage(const QString& path)
{
    return PackageReading(path).read();
}
