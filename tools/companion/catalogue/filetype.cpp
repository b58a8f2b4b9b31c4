#include "companion/catalogue/filetype.h"

#include "install/downloadtarget.h"

#include <QFile>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype startSize = 256;
constexpr qint64 trailerSize = 512; // a disk image's last bytes, which begin with "koly"

bool endsIn(const QString& name, QLatin1StringView ending)
{
    return name.endsWith(ending, Qt::CaseInsensitive);
}

bool isZip(const QByteArray& start)
{
    return start.startsWith("PK\x03\x04") || start.startsWith("PK\x05\x06");
}

bool hasTrailer(QFile& file)
{
    return file.size() >= trailerSize && file.seek(file.size() - trailerSize) &&
           file.read(4) == "koly";
}

} // namespace

bool isWebPage(const QByteArray& start)
{
    const QByteArray text = start.first(std::min(start.size(), startSize)).trimmed().toLower();
    return text.startsWith("<!doctype html") || text.startsWith("<html") ||
           text.startsWith("<head");
}

QString wrongFileType(const QString& path, const QString& name)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray start = file.read(startSize);
    if (isWebPage(start)) {
        return endsIn(name, ".html"_L1) || endsIn(name, ".htm"_L1) ? QString() : u"is a web page"_s;
    }
    if (isArchive(name)) {
        return isZip(start) ? QString() : u"is no ZIP archive"_s;
    }
    if (endsIn(name, ".pkg"_L1) || endsIn(name, ".mpkg"_L1)) {
        return start.startsWith("xar!") ? QString() : u"is no installer package"_s;
    }
    if (endsIn(name, ".dmg"_L1)) {
        return hasTrailer(file) ? QString()
                                : u"is no disk image, its \"koly\" trailer is missing"_s;
    }
    return {};
}
