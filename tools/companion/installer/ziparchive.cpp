#include "companion/installer/ziparchive.h"

#include "companion/archive/archivecontent.h"
#include "companion/archive/archiverules.h"
#include "companion/installer/bundlecollector.h"
#include "companion/installer/zipreader.h"
#include "companion/report/texttable.h"

#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;

namespace {

bool endsIn(const QString& path, QLatin1StringView ending)
{
    return path.endsWith(ending, Qt::CaseInsensitive);
}

QString lastStep(const QString& path)
{
    return path.section(u'/', -1);
}

/// What the application at @p item brings when it is moved into /Applications.
InstallerItem readApplication(const QString& path, const QString& item)
{
    InstallerItem facts;
    facts.kind = u"application"_s;
    if (!item.endsWith(".app"_L1)) {
        facts.unknown = u"the client's scan knows %1 by no name that ends in \".app\""_s.arg(
            quoted(lastStep(item)));
        return facts;
    }
    const QString folder = u"/Applications/"_s + lastStep(item);
    ZipReader archive(path);
    BundleCollector collector;
    const auto place = [&](const QString& member) {
        return member == item || member.startsWith(item + u'/')
                   ? folder + member.sliced(item.size())
                   : QString();
    };
    facts.unknown = collectMembers(archive, place, collector);
    if (facts.unknown.isEmpty()) {
        facts.bundles = collector.bundles();
    }
    return facts;
}

/// What the package or disk image at @p item brings.
InstallerItem readPacked(const QString& path, const QString& item, const ItemReader& readItem)
{
    ZipReader archive(path);
    while (archive.next()) {
        const BundleCollector::Entry entry = archive.entry();
        if (entry.path != item || entry.kind != BundleCollector::File) {
            continue;
        }
        // Only what is a package is unpacked as one. A disk image shows at its end alone.
        if (!endsIn(item, ".dmg"_L1) && !archive.start(4).startsWith("xar!")) {
            InstallerItem facts;
            facts.unknown = u"it is no installer package"_s;
            return facts;
        }
        const QTemporaryDir folder;
        const QString copy = folder.filePath(u"item"_s + item.sliced(item.lastIndexOf(u'.')));
        if (!archive.copyTo(copy)) {
            break;
        }
        return readItem(copy);
    }
    InstallerItem facts;
    facts.unknown = archive.error().isEmpty()
                        ? u"%1 is a folder, which is not read as a package"_s.arg(quoted(item))
                        : u"%1 cannot be unpacked: %2"_s.arg(quoted(item), archive.error());
    return facts;
}

InstallerItem readItemOf(const QString& path, const QString& item, const ItemReader& readItem)
{
    InstallerItem facts =
        endsIn(item, ".app"_L1) ? readApplication(path, item) : readPacked(path, item, readItem);
    facts.path = item;
    return facts;
}

} // namespace

InstallerFacts readZipArchive(const QString& path, const ItemReader& readItem)
{
    const ArchiveContent archive(path);
    if (!archive.error().isEmpty()) {
        return {{}, u"the archive cannot be read: %1"_s.arg(archive.error()), {}};
    }
    if (!archive.failures().isEmpty()) {
        return {{},
                u"unzip would fail, so that the client opens nothing: %1"_s.arg(
                    archive.failures().constFirst().problem),
                {}};
    }
    InstallerFacts facts;
    for (const QString& processor : processors()) {
        const QString item = archive.candidates(processor).value(0).path;
        if (item.isEmpty()) {
            return {{}, u"nothing in it can be opened"_s, {}};
        }
        if (facts.items.isEmpty() || facts.items.constLast().path != item) {
            facts.items.append(readItemOf(path, item, readItem));
        }
        facts.items.last().openedOn.append(processor);
    }
    return facts;
}
