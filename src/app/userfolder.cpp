#include "app/userfolder.h"

#include "app/buildinfo.h"

#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

QString userFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::HomeLocation) + "/Library/"_L1 +
           BuildInfo::productName() + u'/';
}
