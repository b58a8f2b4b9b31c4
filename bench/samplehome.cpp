#include "samplehome.h"

#include "config/configmanager.h"
#include "console.h"

#include <QDir>

using namespace Qt::Literals::StringLiterals;

SampleHome::SampleHome() : m_formerHome(qgetenv("HOME"))
{
    qputenv("HOME", m_folder.path().toLocal8Bit());
    qunsetenv("XDG_CONFIG_HOME");
    QDir().mkpath(downloadFolder());
}

SampleHome::~SampleHome()
{
    qputenv("HOME", m_formerHome);
}

void SampleHome::configure(const QString& baseUrl) const
{
    ConfigManager config(u"config.xml"_s, u":/resources/default-config.xml"_s);
    config.setParameter(u"webconfig"_s, u"baseURL"_s, baseUrl);
    config.setParameter(u"localconfig"_s, u"downloadFolder"_s, downloadFolder());
    if (!config.save()) {
        fail("cannot write "_L1 + config.filePath());
    }
}

QString SampleHome::downloadFolder() const
{
    return m_folder.filePath(u"Downloads"_s);
}
