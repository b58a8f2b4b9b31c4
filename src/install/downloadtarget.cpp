#include "install/downloadtarget.h"

#include "config/homefolder.h"

#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

QString downloadFolderPath(const QString& downloadFolder)
{
    const QString folder = withHomeWrittenOut(downloadFolder);
    return folder.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::DownloadLocation)
                            : folder;
}

bool staysInFolder(const QString& fileName)
{
    int depth = 0;
    for (const QStringView step : QStringView(fileName).split(u'/', Qt::SkipEmptyParts)) {
        if (step == u"..") {
            if (--depth < 0) {
                return false;
            }
        } else if (step != u".") {
            ++depth;
        }
    }
    return true;
}

bool isArchive(const QString& fileName)
{
    return fileName.endsWith(".zip"_L1, Qt::CaseInsensitive);
}
