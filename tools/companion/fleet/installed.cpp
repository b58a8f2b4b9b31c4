#include "companion/fleet/installed.h"

#include "system/scanparser.h"
#include "system/sysprofiler.h"

using namespace Qt::Literals::StringLiterals;

namespace {

/// What the client's scan is told to look for.
struct ScanReach
{
    QString root; ///< with a final "/"
    QString ending;
    qsizetype depth;
};

ScanReach readScanReach()
{
    const QStringList& command = SysProfiler::COMMAND[SysProfiler::FIND];
    const auto argument = [&command](const QString& option) {
        return command.value(command.indexOf(option) + 1);
    };
    return {command.value(1) + u'/', argument(u"-name"_s).remove(u'*'),
            argument(u"-maxdepth"_s).toLongLong()};
}

const ScanReach& scanReach()
{
    static const ScanReach reach = readScanReach();
    return reach;
}

void addVersion(InstalledApplication& application, const QString& raw)
{
    const QString version = SysProfiler::firstWord(raw);
    if (version.isEmpty()) {
        application.gap = Gap::NoVersion;
    } else {
        application.version = version;
    }
}

/// One of two bundles of one name is what the client shows; which one depends on the disk.
void mergeSecond(InstalledApplication& application, const InstalledApplication& second)
{
    if (application.version != second.version) {
        application.version.reset();
        application.gap = Gap::TwoBundles;
    }
    if (application.identifier != second.identifier) {
        application.identifier.clear();
    }
}

} // namespace

bool isScanned(const QString& path)
{
    const ScanReach& reach = scanReach();
    return path.startsWith(reach.root) && path.endsWith(reach.ending) &&
           QStringView(path).sliced(reach.root.size()).count(u'/') < reach.depth;
}

QString assumedPath(const QString& name)
{
    const ScanReach& reach = scanReach();
    return reach.root + (name.endsWith(reach.ending) ? name : name + reach.ending);
}

QString listedName(const QString& path, const NameFilter& filter)
{
    if (!isScanned(path)) {
        return {};
    }
    const QString name = applicationName(path);
    return filter.admits(name) ? name : QString();
}

InstalledApplications installedOf(const QList<RecordedApplication>& recorded)
{
    InstalledApplications installed;
    for (const RecordedApplication& application : recorded) {
        InstalledApplication found{{}, application.identifier, Gap::None};
        addVersion(found, application.version);
        const QString name = applicationName(application.path);
        if (const auto first = installed.find(name); first != installed.end()) {
            mergeSecond(*first, found);
        } else {
            installed.insert(name, found);
        }
    }
    return installed;
}

InstalledApplications installedOf(const Inventory& inventory, const NameFilter& filter)
{
    InstalledApplications installed;
    for (const QString& name : inventory.names) {
        if (filter.admits(name)) {
            const std::optional<QString> version = inventory.version(name);
            installed.insert(name, {version, {}, version ? Gap::None : Gap::NoVersion});
        }
    }
    return installed;
}

Inventory inventoryOf(const InstalledApplications& applications)
{
    return {applications.keys(), [&applications](const QString& name) {
                const auto application = applications.constFind(name);
                return application == applications.cend() ? std::nullopt : application->version;
            }};
}
