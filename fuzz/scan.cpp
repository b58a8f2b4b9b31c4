#include "scan.h"

#include "commands.h"
#include "fuzzing.h"

#include <algorithm>

namespace {

void requireNames(const SysProfiler& scan, const QString& prefix, const PropertyMap& expected)
{
    QStringList all = expected.keys();
    std::sort(all.begin(), all.end());
    QStringList starting;
    std::copy_if(all.cbegin(), all.cend(), std::back_inserter(starting),
                 [&prefix](const QString& name) { return name.startsWith(prefix); });

    requireEqual("the number of applications is that of their names", scan.size(), all.size());
    requireEqual("every name is found, in ascending order", scan.find(QString()), all);
    requireEqual("the names of one beginning are found, in ascending order", scan.find(prefix),
                 starting);
    requireEqual("a beginning of a name is installed, nothing else is", scan.isInstall(prefix),
                 !prefix.isEmpty() && !starting.isEmpty());
}

void requireProperties(const SysProfiler& scan, const PropertyMap& expected)
{
    for (auto application = expected.cbegin(); application != expected.cend(); ++application) {
        requireEqual("an application has the properties of its lines",
                     scan.getInfo(application.key()), application.value());
        requireEqual("its location is one of them", scan.getLocation(application.key()),
                     application->value(QStringLiteral("Location")));
    }
}

} // namespace

void requireScanResult(SysProfiler::SearchEngine engine, const QByteArray& output,
                       const QString& prefix, const PropertyMap& expected)
{
    static SysProfiler scan;
    scan.changeEngine(engine);
    Commands::print(output);
    scan.update();
    requireEqual("a scan runs its engine's command once", Commands::takeCalls(),
                 QList<QStringList>{SysProfiler::COMMAND[engine]});
    require("a scan that has ended has data", scan.hasData());
    requireNames(scan, prefix, expected);
    requireProperties(scan, expected);
}
