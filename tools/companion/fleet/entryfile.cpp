#include "companion/fleet/entryfile.h"

#include "companion/archive/archivecontent.h"
#include "system/scanparser.h"
#include "system/sysprofiler.h"

#include <QFileInfo>
#include <QTemporaryFile>

using namespace Qt::Literals::StringLiterals;

namespace {

/// What the client would open on every processor; empty when that differs, or is nothing.
QString openedItem(const ArchiveContent& archive)
{
    QStringList opened;
    for (const QString& processor : processors()) {
        const QList<InstallerCandidate> candidates = archive.candidates(processor);
        opened.append(candidates.isEmpty() ? QString() : candidates.constFirst().path);
    }
    return opened.count(opened.constFirst()) == opened.size() ? opened.constFirst() : QString();
}

/// Reads an application's Info.plist by the client's own reading, which is one of files.
InstallableBundle readBundle(const QString& item, const QByteArray& infoPlist)
{
    InstallableBundle bundle{applicationName(item), std::nullopt, {}};
    QTemporaryFile file;
    if (!infoPlist.isEmpty() && file.open() && file.write(infoPlist) == infoPlist.size() &&
        file.flush()) {
        const QString version =
            SysProfiler::firstWord(SysProfiler::findBundleVersion(file.fileName()));
        if (!version.isEmpty()) {
            bundle.version = version;
        }
        bundle.identifier = SysProfiler::findPlistValue(file.fileName(), u"CFBundleIdentifier"_s);
    }
    return bundle;
}

std::optional<InstallableBundle> installableBundle(const QString& path)
{
    if (!path.endsWith(".zip"_L1, Qt::CaseInsensitive)) {
        return std::nullopt;
    }
    const ArchiveContent archive(path);
    const QString item =
        archive.error().isEmpty() && archive.failures().isEmpty() ? openedItem(archive) : QString();
    return item.endsWith(".app"_L1)
               ? std::optional(readBundle(item, archive.content(item + "/Contents/Info.plist"_L1)))
               : std::nullopt;
}

} // namespace

EntryFile readEntryFile(const QString& folder, const QString& name)
{
    const QFileInfo info(folder + u'/' + name);
    if (name.isEmpty() || !info.isFile()) {
        return {};
    }
    return {info.size(), installableBundle(info.filePath())};
}
