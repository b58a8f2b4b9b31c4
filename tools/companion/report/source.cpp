#include "companion/report/source.h"

#include "web/webprofiler.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

bool isWebAddress(const QString& place)
{
    return place.startsWith("http://"_L1, Qt::CaseInsensitive) ||
           place.startsWith("https://"_L1, Qt::CaseInsensitive);
}

Source readSource(const QString& place)
{
    if (isWebAddress(place)) {
        WebProfiler client({}, {}, {}, {});
        const QByteArray body = client.downloadData(QUrl(place));
        return {body, client.lastError()};
    }
    if (QFileInfo(place).isDir()) {
        return {{}, u"is a folder"_s};
    }
    QFile file(place);
    if (!file.open(QIODevice::ReadOnly)) {
        return {{}, file.errorString()};
    }
    return {file.readAll(), {}};
}
