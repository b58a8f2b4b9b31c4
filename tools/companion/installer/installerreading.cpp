#include "companion/installer/installerreading.h"

#include "companion/archive/archiverules.h"
#include "companion/catalogue/filetype.h"
#include "companion/installer/diskimage.h"
#include "companion/installer/flatpackage.h"
#include "companion/installer/limits.h"
#include "companion/installer/ziparchive.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

bool endsIn(const QString& path, QLatin1StringView ending)
{
    return path.endsWith(ending, Qt::CaseInsensitive);
}

InstallerItem unknownItem(const QString& reason)
{
    InstallerItem item;
    item.unknown = reason;
    return item;
}

/// Reads what is opened as it is, which other installers may lie around.
InstallerItem readOpened(const QString& path, int depth)
{
    if (depth > InstallerLimits::depth) {
        return unknownItem(u"too many installers lie in one another"_s);
    }
    const QString name = QFileInfo(path).fileName();
    if (const QString wrong = wrongFileType(path, name); !wrong.isEmpty()) {
        return unknownItem(u"it "_s + wrong);
    }
    if (endsIn(name, ".pkg"_L1) || endsIn(name, ".mpkg"_L1)) {
        return readFlatPackage(path);
    }
    if (endsIn(name, ".dmg"_L1)) {
        return readDiskImage(path,
                             [depth](const QString& item) { return readOpened(item, depth + 1); });
    }
    return unknownItem(u"files of this ending are not read"_s);
}

} // namespace

InstallerFacts readInstaller(const QString& path)
{
    if (endsIn(path, ".zip"_L1)) {
        return readZipArchive(path, [](const QString& item) { return readOpened(item, 1); });
    }
    InstallerFacts facts;
    InstallerItem item = readOpened(path, 0);
    item.openedOn = processors();
    facts.items.append(item);
    return facts;
}
