#include "app/buildinfo.h"

namespace BuildInfo {

QString productName()
{
    return QStringLiteral(QUILLMERE_NAME);
}

QString productVersion()
{
    return QStringLiteral(QUILLMERE_VERSION);
}

QString authorName()
{
    // The words are joined by "_" so that the name passes every build tool unquoted.
    return QStringLiteral(QUILLMERE_AUTHOR).replace(u'_', u' ');
}

QString authorMail()
{
    return QStringLiteral(QUILLMERE_MAIL);
}

QString websiteUrl()
{
    return QStringLiteral(QUILLMERE_WEBSITE);
}

QString defaultBaseUrl()
{
    return QStringLiteral(QUILLMERE_BASE_URL);
}

QString buildDate()
{
#ifdef QUILLMERE_BUILD_DATE
    return QStringLiteral(QUILLMERE_BUILD_DATE);
#else
    return QStringLiteral(__DATE__);
#endif
}

QString qtVersion()
{
    return QStringLiteral(QT_VERSION_STR);
}

} // namespace BuildInfo
