#include "companion/report/source.h"

#include "companion/report/progress.h"
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

QString tooLarge()
{
    return u"is larger than %1 MB"_s.arg(largestSource >> 20);
}

Source readAll(QFile& file, const QString& place)
{
    const QByteArray bytes = file.read(largestSource + 1);
    if (bytes.size() > largestSource) {
        return unreadable(place, tooLarge());
    }
    if (file.error() != QFileDevice::NoError) {
        return unreadable(place, file.errorString());
    }
    return {bytes, {}};
}

} // namespace

bool isStandardInput(const QString& place)
{
    return place == "-"_L1;
}

QString shownPlace(const QString& place)
{
    return isStandardInput(place) ? u"(standard input)"_s : place;
}

bool isWebAddress(const QString& place)
{
    return place.startsWith("http://"_L1, Qt::CaseInsensitive) ||
           place.startsWith("https://"_L1, Qt::CaseInsensitive);
}

Source readSource(const QString& place)
{
    if (isWebAddress(place)) {
        WebProfiler client({}, {}, {}, {});
        QTextStream err(stderr);
        Progress progress(err, Progress::isOnTerminal());
        progress.waitFor(u"waiting for "_s + place);
        const QByteArray body = client.downloadData(QUrl(place));
        if (!client.lastError().isEmpty()) {
            return unreadable(place, client.lastError());
        }
        return body.size() > largestSource ? unreadable(place, tooLarge()) : Source{body, {}};
    }
    if (isStandardInput(place)) {
        QFile input;
        if (!input.open(stdin, QIODevice::ReadOnly)) {
            return unreadable(shownPlace(place), input.errorString());
        }
        return readAll(input, shownPlace(place));
    }
    if (QFileInfo(place).isDir()) {
        return unreadable(place, u"is a folder"_s);
    }
    QFile file(place);
    if (!file.open(QIODevice::ReadOnly)) {
        return unreadable(place, file.errorString());
    }
    return readAll(file, place);
}
