#include "config/homefolder.h"

#include <QDir>

QString withHomeWrittenOut(const QString& folder)
{
    return folder.startsWith(u'~') ? QDir::homePath() + folder.sliced(1) : folder;
}
