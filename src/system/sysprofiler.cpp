#include "system/sysprofiler.h"

#include "app/debug.h"
#include "system/nameprefix.h"
#include "system/propertylisttext.h"
#include "system/system.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>

#include <algorithm>
#include <optional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

const QStringList SysProfiler::SEARCH_ENGINE_NAME = {u"find"_s, u"mdfind"_s, u"system_profiler"_s,
                                                     u"registry"_s};

const QList<QStringList> SysProfiler::COMMAND = {
    {u"find"_s, u"/Applications"_s, u"-maxdepth"_s, u"3"_s, u"-type"_s, u"d"_s, u"-name"_s,
     u"*.app"_s},
    {u"mdfind"_s, u"-onlyin"_s, u"/Applications"_s, u"kMDItemFSName == '*.app'"_s},
    {u"system_profiler"_s, u"SPApplicationsDataType"_s},
};

namespace {

QStringList ascendingNames(const PropertyMap& applications)
{
    QStringList names = applications.keys();
    std::sort(names.begin(), names.end());
    return names;
}

void logBundles(const QStringList& names, const PropertyMap& applications)
{
    for (const QString& name : names) {
        Debug(Debug::Info) << "  + " << name << " (" << applications[name].value(u"Location"_s)
                           << ")";
    }
}

QByteArray commandOutput(SysProfiler::SearchEngine engine)
{
    if (engine >= SysProfiler::COMMAND.size()) {
        return {};
    }
    return System::execute(SysProfiler::COMMAND[engine]).constFirst();
}

QString plistPath(const QString& location)
{
    return location + "/Contents/Info.plist"_L1;
}

} // namespace

SysProfiler::SysProfiler(SearchEngine engine) : m_engine(engine)
{
    Debug(Debug::Info) << "SysProfiler - Initialized";
    Debug(Debug::Info) << "SysProfiler - System search engine: " << SEARCH_ENGINE_NAME[engine];
}

SysProfiler::~SysProfiler()
{
    if (isRunning()) {
        quit();
        wait();
    }
}

void SysProfiler::changeEngine(SearchEngine engine)
{
    m_engine = engine;
}

void SysProfiler::clear()
{
    const QMutexLocker locker(&m_mutex);
    m_hasData = false;
    m_data.clear();
    m_names.clear();
    m_versionCache.clear();
}

bool SysProfiler::hasData() const
{
    const QMutexLocker locker(&m_mutex);
    return m_hasData;
}

qsizetype SysProfiler::size() const
{
    const QMutexLocker locker(&m_mutex);
    return m_data.size();
}

QStringList SysProfiler::find(const QString& name) const
{
    const QMutexLocker locker(&m_mutex);
    return namesWithPrefix(m_names, name);
}

bool SysProfiler::isInstall(const QString& name) const
{
    if (name.isEmpty()) {
        return false;
    }
    const QMutexLocker locker(&m_mutex);
    return m_data.contains(name) || hasNameWithPrefix(m_names, name);
}

QHash<QString, QString> SysProfiler::getInfo(const QString& name) const
{
    const QMutexLocker locker(&m_mutex);
    return m_data.value(name);
}

QString SysProfiler::getValue(const QString& name, const QString& key) const
{
    const QMutexLocker locker(&m_mutex);
    const auto properties = m_data.constFind(name);
    return properties == m_data.cend() ? QString() : properties->value(key);
}

QString& SysProfiler::valueInserted(const QString& name, const QString& key)
{
    if (!m_data.contains(name)) {
        m_names.insert(std::lower_bound(m_names.cbegin(), m_names.cend(), name), name);
    }
    return m_data[name][key];
}

QString SysProfiler::getVersion(const QString& name)
{
    const QMutexLocker locker(&m_mutex);
    if (m_engine == SYSTEM_PROFILER) {
        return valueInserted(name, u"Version"_s);
    }
    if (const auto cached = m_versionCache.constFind(name); cached != m_versionCache.cend()) {
        return *cached;
    }
    const QString version = firstWord(findPlistVersion(name));
    m_versionCache.insert(name, version);
    if (version.isEmpty()) {
        Debug(Debug::Warning) << "SysProfiler - Cannot read version for '" << name
                              << "' — plist: " << plistPath(valueInserted(name, u"Location"_s));
    }
    return version;
}

QString SysProfiler::findPlistVersion(const QString& name) const
{
    return findBundleVersion(plistPath(m_data.value(name).value(u"Location"_s)));
}

QString SysProfiler::findBundleVersion(const QString& path)
{
    const QString version = findPlistValue(path, u"CFBundleShortVersionString"_s);
    return version.isEmpty() ? findPlistValue(path, u"CFBundleLongVersionString"_s) : version;
}

QString SysProfiler::firstWord(const QString& bundleVersion)
{
    return bundleVersion.section(u' ', 0, 0);
}

QString SysProfiler::findPlistValue(const QString& path, const QString& key)
{
    QFile file(path);
    // Only a regular file: opening a pipe would wait for somebody to write into it.
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return {};
    }
    if (const std::optional<QString> value = propertyListText(file, key)) {
        return *value;
    }
    file.close();
    Debug(Debug::Info) << "XML parsing failed for " << path << ", trying plutil...";
    const QByteArray output =
        System::execute({u"plutil"_s, u"-extract"_s, key, u"raw"_s, path}).constFirst();
    return parsePlutilValue(output, path);
}

QString SysProfiler::getObtainedFrom(const QString& name) const
{
    return getValue(name, u"Obtained from"_s);
}

QString SysProfiler::getLastModified(const QString& name) const
{
    return getValue(name, u"Last Modified"_s);
}

QString SysProfiler::getKind(const QString& name) const
{
    return getValue(name, u"Kind"_s);
}

QString SysProfiler::getSignedBy(const QString& name) const
{
    return getValue(name, u"Signed by"_s);
}

QString SysProfiler::getLocation(const QString& name) const
{
    return getValue(name, u"Location"_s);
}

QString SysProfiler::getInfoString(const QString& name) const
{
    return getValue(name, u"Get Info String"_s);
}

void SysProfiler::run()
{
    Debug(Debug::Info) << "SysProfiler - New thread start";
    update();
    {
        const QMutexLocker locker(&m_mutex);
        m_scanEnded = true;
    }
    Q_EMIT workFinished();
}

void SysProfiler::update()
{
    clear();
    Debug(Debug::Info) << "SysProfiler - data Updating...";
    QElapsedTimer timer;
    timer.start();

    PropertyMap found;
    // Asked for once: it may be changed while the command runs.
    const SearchEngine engine = m_engine;
    const bool isReport = engine == SYSTEM_PROFILER;
    isReport ? exec_system_profiler(found) : exec_find(found, engine);
    QStringList names = ascendingNames(found);
    if (!isReport) {
        logBundles(names, found);
    }
    {
        const QMutexLocker locker(&m_mutex);
        m_data = std::move(found);
        m_names = std::move(names);
        // A version asked for during the scan was looked for among no applications.
        m_versionCache.clear();
        m_hasData = true;
    }
    Debug(Debug::Info) << "SysProfiler - data updated (execution duration: "
                       << static_cast<double>(timer.elapsed()) / 1000.0 << "s)";
}

bool SysProfiler::isScanning() const
{
    const QMutexLocker locker(&m_mutex);
    return isRunning() && !m_scanEnded;
}

void SysProfiler::threadUpdate()
{
    if (isScanning()) {
        return;
    }
    // A thread that has emitted its last signal but not ended would ignore start().
    wait();
    {
        const QMutexLocker locker(&m_mutex);
        m_scanEnded = false;
    }
    start(QThread::InheritPriority);
}

int SysProfiler::exec_system_profiler(PropertyMap& found) const
{
    found = parseSystemProfilerReport(commandOutput(SYSTEM_PROFILER));
    return 0;
}

int SysProfiler::exec_find(PropertyMap& found, SearchEngine engine) const
{
    found = parseBundlePaths(commandOutput(engine));
    Debug(Debug::Info) << "SysProfiler [" << SEARCH_ENGINE_NAME[engine] << "] — " << found.size()
                       << " apps found";
    return 0;
}
