#include "companion/installer/bundlecollector.h"

#include "companion/installer/machoheader.h"
#include "companion/installer/propertylist.h"
#include "companion/report/texttable.h"
#include "system/scanparser.h"

#include <QDateTime>
#include <QTimeZone>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype largestPropertyList = 4'194'304; // bytes
constexpr qsizetype mostBundles = 1'000;
constexpr qsizetype deepestBundle = 3; // below /Applications, as the client's scan looks

const QString applications = u"/Applications/"_s;
const QString usualInfoPlist = u"Contents/Info.plist"_s;

bool isInfoPlist(const QString& part)
{
    return part.compare(usualInfoPlist, Qt::CaseInsensitive) == 0;
}

/// Whether @p part is the Info.plist of an application for iPhones that was wrapped for the Mac.
bool isWrappedInfoPlist(const QString& part)
{
    return part.startsWith("Wrapper/"_L1) && part.endsWith(".app/Info.plist"_L1) &&
           part.count(u'/') == 2;
}

/// The link to a framework's current version that @p part is, or that it lies in as in a folder;
/// empty where it does neither.
QString frameworkLink(const QString& part)
{
    const QString link = u".framework/Versions/Current"_s;
    const qsizetype at = part.indexOf(link);
    const qsizetype end = at + link.size();
    const bool isWhole = at > 0 && (part.size() == end || part[end] == u'/');
    return isWhole && part.startsWith("Contents/Frameworks/"_L1) ? part.first(end) : QString();
}

/// The program's name in @p part; empty when it is none.
QString programName(const QString& part)
{
    const QString folder = u"Contents/MacOS/"_s;
    return part.startsWith(folder) && part.count(u'/') == 2 ? part.sliced(folder.size())
                                                            : QString();
}

/// Whether @p part is a folder that what is read lies in, or is read itself.
bool isOnTheWay(const QString& part)
{
    return part == "Contents"_L1 || part == "Contents/MacOS"_L1 || isInfoPlist(part);
}

/// The first of @p links that @p part is, or lies in; empty where there is none.
QString linkBefore(const QString& part, const QStringList& links)
{
    const auto found = std::find_if(links.cbegin(), links.cend(), [&part](const QString& link) {
        return part.startsWith(link, Qt::CaseInsensitive);
    });
    return found == links.cend() ? QString() : *found;
}

QString scanName(const QString& location)
{
    const QStringList names = parseBundlePaths(location.toUtf8() + '\n').keys();
    return names.size() == 1 ? names.constFirst() : QString();
}

Known<QDate> dateOf(qint64 newest)
{
    const QDateTime date = QDateTime::fromSecsSinceEpoch(newest, QTimeZone::utc());
    if (date.date() <= QDate(1980, 1, 1)) {
        return {{}, u"its files have no dates"_s};
    }
    if (date > QDateTime::currentDateTimeUtc().addDays(1)) {
        return {{}, u"its files are dated in the future"_s};
    }
    return {date.date(), {}};
}

} // namespace

QStringList bundlesAround(const QString& path)
{
    QStringList locations;
    if (!path.startsWith(applications)) {
        return locations;
    }
    const QStringList steps = path.sliced(applications.size()).split(u'/');
    QString location = applications.chopped(1);
    for (qsizetype depth = 0; depth < std::min(steps.size(), deepestBundle); ++depth) {
        location += u'/' + steps[depth];
        if (location.contains(".app/Contents/"_L1)) {
            break;
        }
        if (steps[depth].endsWith(".app"_L1)) {
            locations.append(location);
        }
    }
    return locations;
}

BundleCollector::Bundle* BundleCollector::bundleAt(const QString& location)
{
    if (m_bundles.size() >= mostBundles && !m_bundles.contains(location)) {
        m_limit = u"it holds more than %1 applications"_s.arg(mostBundles);
        return nullptr;
    }
    return &m_bundles[location];
}

qsizetype BundleCollector::wanted(qsizetype bytes)
{
    if (m_bytesLeft <= 0) {
        m_limit = u"it holds more property lists and programs than are read"_s;
        return 0;
    }
    return bytes;
}

qsizetype BundleCollector::add(const Entry& entry)
{
    qsizetype bytes = 0;
    for (const QString& location : bundlesAround(entry.path)) {
        const QString part = entry.path.mid(location.size() + 1);
        if (part.isEmpty() && entry.kind != Folder) {
            break; // the scan lists folders alone
        }
        if (Bundle* bundle = bundleAt(location)) {
            bytes = std::max(bytes, addPart(*bundle, part, entry));
        }
    }
    return bytes;
}

qsizetype BundleCollector::addPart(Bundle& bundle, const QString& part, const Entry& entry)
{
    if (entry.kind != Link) {
        bundle.newest = std::max(bundle.newest, entry.changed);
    }
    const QString link = frameworkLink(part);
    if (!link.isEmpty() && (entry.kind != Link || part != link)) {
        bundle.copies.insert(link);
    }
    if (const QString name = programName(part); !name.isEmpty() && entry.kind != Folder) {
        bundle.programs.insert(name, {{}, entry.kind, entry.isExecutable});
        return entry.kind == File ? wanted(programHeadSize) : 0;
    }
    // Links are not followed: where they lead is told by the disk alone.
    if (entry.kind == Link && isOnTheWay(part)) {
        bundle.links.append(part);
    }
    if (entry.kind != File) {
        return 0;
    }
    if (isInfoPlist(part)) {
        // Of several that differ in letter case, the one that the client asks for.
        if (bundle.infoPlistPart != usualInfoPlist) {
            bundle.infoPlistPart = part;
            bundle.infoPlist.clear();
        }
        return wanted(largestPropertyList + 1);
    }
    return isWrappedInfoPlist(part) ? wanted(largestPropertyList + 1) : 0;
}

void BundleCollector::setContent(const QString& path, const QByteArray& bytes)
{
    m_bytesLeft -= bytes.size();
    for (const QString& location : bundlesAround(path)) {
        if (const auto bundle = m_bundles.find(location); bundle != m_bundles.end()) {
            setPart(*bundle, path.mid(location.size() + 1), bytes);
        }
    }
}

void BundleCollector::setPart(Bundle& bundle, const QString& part, const QByteArray& bytes)
{
    if (const auto program = bundle.programs.find(programName(part));
        program != bundle.programs.end()) {
        program->head = bytes;
    } else if (part == bundle.infoPlistPart) {
        bundle.infoPlist = bytes;
    } else if (isWrappedInfoPlist(part)) {
        bundle.wrappedInfoPlist = bytes;
    }
}

QList<BundleFacts> BundleCollector::bundles() const
{
    QList<BundleFacts> facts;
    for (auto bundle = m_bundles.cbegin(); bundle != m_bundles.cend(); ++bundle) {
        facts.append(factsOf(bundle.key(), *bundle));
    }
    return facts;
}

BundleFacts BundleCollector::factsOf(const QString& location, const Bundle& bundle)
{
    BundleFacts facts;
    facts.location = location;
    facts.name = scanName(location);
    facts.newestFile = dateOf(bundle.newest);
    QString executable = location.section(u'/', -1).chopped(4);
    readPropertyList(bundle, facts, executable);
    readProgram(bundle, executable, facts);
    QStringList copies = bundle.copies.values();
    copies.sort();
    for (const QString& copy : copies) {
        facts.faults.append(u"%1 is no link"_s.arg(quoted(copy)));
    }
    return facts;
}

void BundleCollector::readPropertyList(const Bundle& bundle, BundleFacts& facts,
                                       QString& executable)
{
    const auto allUnknown = [&facts](const QString& reason) {
        facts.version = facts.identifier = facts.minimumSystem = unknownText(reason);
    };
    if (const QString link = linkBefore(usualInfoPlist, bundle.links); !link.isEmpty()) {
        allUnknown(u"its %1 is a link"_s.arg(link));
        return;
    }
    if (bundle.infoPlistPart.isEmpty()) {
        if (bundle.wrappedInfoPlist.isEmpty()) {
            facts.faults.append(u"it has no Contents/Info.plist"_s);
        }
        const PropertyList list = ::readPropertyList(bundle.wrappedInfoPlist);
        facts.identifier =
            bundle.wrappedInfoPlist.isEmpty() ? KnownText() : list.text(u"CFBundleIdentifier"_s);
        return; // the client finds no version either
    }
    if (bundle.infoPlist.size() > largestPropertyList) {
        facts.listError = u"it is larger than 4 MiB"_s;
        allUnknown(u"its property list is larger than 4 MiB"_s);
        return;
    }
    const PropertyList list = ::readPropertyList(bundle.infoPlist);
    facts.listError = list.error;
    facts.version = clientVersion(bundle.infoPlist);
    facts.identifier = list.text(u"CFBundleIdentifier"_s);
    facts.minimumSystem = list.text(u"LSMinimumSystemVersion"_s);
    if (bundle.infoPlistPart != usualInfoPlist) {
        facts.version =
            unknownText(u"its property list is named %1, which only some file systems "
                        "take for %2"_s.arg(quoted(bundle.infoPlistPart), quoted(usualInfoPlist)));
    }
    if (const KnownText name = list.text(u"CFBundleExecutable"_s); !name.value.isEmpty()) {
        executable = name.value;
    }
}

void BundleCollector::readProgram(const Bundle& bundle, const QString& name, BundleFacts& facts)
{
    const auto program = bundle.programs.constFind(name);
    const QString link = linkBefore(u"Contents/MacOS/"_s, bundle.links);
    if (program == bundle.programs.cend() && !link.isEmpty()) {
        facts.processors.unknown = u"its %1 is a link"_s.arg(link);
        return;
    }
    if (program == bundle.programs.cend()) {
        facts.processors.unknown = u"it has no program %1"_s.arg(quoted(name));
        if (bundle.wrappedInfoPlist.isEmpty()) {
            facts.faults.append(u"%1 is not in Contents/MacOS"_s.arg(quoted(name)));
        }
        return;
    }
    if (program->kind == Link) {
        facts.processors.unknown = u"its program %1 is a link"_s.arg(quoted(name));
        return;
    }
    facts.processors = programProcessors(program->head);
    if (!program->isExecutable) {
        facts.faults.append(u"its program %1 must not be executed"_s.arg(quoted(name)));
    }
}
