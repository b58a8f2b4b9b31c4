#include "companion/report/source.h"

#include "web/webprofiler.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {

Source unreadable(const QString& place, const QString& reason)
{
    return {{}, u"cannot read %1: %2"_s.arg(place, reason)};
}

} // namespace

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
        return client.lastError().isEmpty() ? Source{body, {}}
                                            : unreadable(place, client.lastError());
    }
    if (QFileInfo(place).isDir()) {
        return unreadable(place, u"is a folder"_s);
    }
    QFile file(place);
    if (!file.open(QIODevice::ReadOnly)) {
        return unreadable(place, file.errorString());
    }
    return {file.readAll(), {}};
}
