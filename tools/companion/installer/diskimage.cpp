#include "companion/installer/diskimage.h"

using namespace Qt::Literals::StringLiterals;

InstallerItem readDiskImage(const QString&, const ItemReader&)
{
    InstallerItem item;
    item.kind = u"disk image"_s;
    item.unknown = u"disk images are not read yet"_s;
    return item;
}
