#include "profiler/profiler.h"

#include "app/debug.h"
#include "profiler/applicationmatch.h"
#include "profiler/versionorder.h"

using namespace Qt::Literals::StringLiterals;

Profiler::Profiler(const QString& url, const QString& csvPath, const QString& csvSeparator,
                   const QString& softPath)
    : m_sysProfiler(SysProfiler::FIND)
    , m_webProfiler(url, csvPath, csvSeparator, softPath)
{
    connect(&m_sysProfiler, &SysProfiler::workFinished, this, &Profiler::workFinished);
}

void Profiler::webData_update()
{
    m_webProfiler.update();
}

void Profiler::webData_cancel()
{
    m_webProfiler.cancel();
}

void Profiler::webData_clear()
{
    m_webProfiler.clear();
}

void Profiler::webData_setConfig(const QString& url, const QString& csvPath,
                                 const QString& csvSeparator, const QString& softPath)
{
    m_webProfiler.setUrl(url);
    m_webProfiler.setCsvPath(csvPath);
    m_webProfiler.setCsvSeparator(csvSeparator);
    m_webProfiler.setSoftPath(softPath);
}

QString Profiler::webData_lastError() const
{
    return m_webProfiler.lastError();
}

void Profiler::sysData_update()
{
    m_sysProfiler.update();
}

void Profiler::sysData_update_thread()
{
    m_sysProfiler.threadUpdate();
}

bool Profiler::sysData_hasData() const
{
    return m_sysProfiler.hasData();
}

bool Profiler::sysData_isScanning() const
{
    return m_sysProfiler.isScanning();
}

void Profiler::sysData_clear()
{
    m_sysProfiler.clear();
}

QStringList Profiler::getWebAppList() const
{
    return m_webProfiler.getAppList();
}

QString Profiler::getWebVersion(const QString& name) const
{
    return m_webProfiler.getVersion(name);
}

QString Profiler::getReleaseDate(const QString& name) const
{
    return m_webProfiler.getReleaseDate(name);
}

QString Profiler::getFilename(const QString& name) const
{
    return m_webProfiler.getFilename(name);
}

bool Profiler::isIgnored(const QString& name) const
{
    return m_webProfiler.isIgnored(name);
}

QString Profiler::getUrlToFile(const QString& name) const
{
    return m_webProfiler.getUrlToFile(name);
}

QString Profiler::getSysVersion(const QString& name)
{
    return m_sysProfiler.getVersion(name);
}

bool Profiler::isInstall(const QString& name) const
{
    return m_sysProfiler.isInstall(name);
}

QString Profiler::getLocation(const QString& name) const
{
    return m_sysProfiler.getLocation(name);
}

QString Profiler::getObtainedFrom(const QString& name) const
{
    return m_sysProfiler.getObtainedFrom(name);
}

QString Profiler::getLastModified(const QString& name) const
{
    return m_sysProfiler.getLastModified(name);
}

QString Profiler::getKind(const QString& name) const
{
    return m_sysProfiler.getKind(name);
}

QString Profiler::getSignedBy(const QString& name) const
{
    return m_sysProfiler.getSignedBy(name);
}

QString Profiler::getInfoString(const QString& name) const
{
    return m_sysProfiler.getInfoString(name);
}

QString Profiler::find(const QString& name)
{
    const QStringList candidates = m_sysProfiler.find(name);
    if (candidates.isEmpty()) {
        if (m_sysProfiler.hasData()) {
            Debug(Debug::Warning) << "Profiler - '" << name << "' → NOT FOUND in system";
        }
        return {};
    }
    const ApplicationMatch match =
        matchApplication(name, candidates, [this](const QString& candidate) {
            return m_sysProfiler.getVersion(candidate);
        });
    Debug line(Debug::Info);
    line << "Profiler - '" << name << "' → ";
    if (candidates.size() > 1) {
        line << candidates.size() << " candidates: [" << match.descriptions.join(", "_L1) << "] → ";
    }
    line << "matched '" << match.name << "' v" << match.version;
    return match.name;
}

int Profiler::versionCompare(const QString& a, const QString& b) const
{
    return compareVersions(a, b);
}

bool Profiler::regexMatch(const QString& text) const
{
    return isVersionSuffix(text);
}
