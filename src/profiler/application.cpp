#include "profiler/application.h"

#include "profiler/profiler.h"

#include <QDebug>
#include <QVariant>

using namespace Qt::Literals::StringLiterals;

Application::Application(const QString& name, Profiler* profiler)
    : m_profiler(profiler)
    , m_name(name)
    , m_realName(profiler->find(name))
{}

void Application::setName(const QString& name)
{
    m_name = name;
    update();
}

QString Application::checkName(const QString& name) const
{
    return m_profiler->find(name);
}

void Application::update()
{
    m_realName = m_profiler->find(m_name);
}

bool Application::isInstall() const
{
    return m_profiler->isInstall(m_realName);
}

QString Application::getSysVersion() const
{
    return m_profiler->getSysVersion(m_realName);
}

QString Application::getWebVersion() const
{
    return m_profiler->getWebVersion(m_name);
}

int Application::versionsMatch() const
{
    return m_profiler->versionCompare(getSysVersion(), getWebVersion());
}

QString Application::getReleaseDate() const
{
    return m_profiler->getReleaseDate(m_name);
}

QString Application::getFilename() const
{
    return m_profiler->getFilename(m_name);
}

QString Application::getUrlToFile() const
{
    return m_profiler->getUrlToFile(m_name);
}

QString Application::toString() const
{
    return "# "_L1 + m_name + "\n- isInstall?   : "_L1 + QVariant(isInstall()).toString() +
           "\n- realName     : "_L1 + m_realName + "\n- SysVersion   : "_L1 + getSysVersion() +
           "\n- WebVersion   : "_L1 + getWebVersion() + "\n- versionMatch : "_L1 +
           QString::number(versionsMatch()) + u'\n';
}

void Application::print() const
{
    qDebug().noquote() << toString();
}
