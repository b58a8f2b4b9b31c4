#include "support/settingsfile.h"

namespace {

QByteArray element(const char* name, const QString& value)
{
    return '<' + QByteArray(name) + '>' + value.toHtmlEscaped().toUtf8() + "</" + name + '>';
}

} // namespace

QByteArray settingsXml(const Settings& settings)
{
    return "<root><color>" + element("base", settings.base) + element("down", settings.down) +
           element("equal", settings.equal) + element("up", settings.up) + "</color><webconfig>" +
           element("baseURL", settings.baseUrl) + element("csvPath", settings.csvPath) +
           element("csvSeparator", settings.csvSeparator) + element("softPath", settings.softPath) +
           "</webconfig><localconfig>" + element("downloadFolder", settings.downloadFolder) +
           "</localconfig></root>";
}
