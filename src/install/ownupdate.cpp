#include "install/ownupdate.h"

#include "app/buildinfo.h"

bool isOwnUpdate(const QString& name)
{
    return name.contains(BuildInfo::productName(), Qt::CaseInsensitive);
}
