#include "cases.h"

#include "app/debug.h"
#include "console.h"
#include "profiler/application.h"
#include "profiler/profiler.h"
#include "sampledata.h"
#include "system/system.h"

#include <QFile>
#include <QXmlStreamReader>

#include <cerrno>
#include <memory>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int applicationCount = 2'000;
constexpr int entryCount = 10'000;

/// What a command, found by PATH, writes to standard output: the bare calls that this takes.
QByteArray spawned(std::vector<const char*> command)
{
    int ends[2];
    if (::pipe(ends) != 0) {
        fail(u"no pipe"_s);
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    command.push_back(nullptr);
    pid_t child = 0;
    // The interface takes texts that it does not change by pointers to changeable ones.
    if (::posix_spawnp(&child, command[0], &actions, nullptr,
                       const_cast<char* const*>(command.data()), environ) != 0) {
        fail("cannot start "_L1 + QString::fromLocal8Bit(command[0]));
    }
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    QByteArray output;
    char piece[65'536];
    for (ssize_t count = 0; (count = ::read(ends[0], piece, sizeof piece)) != 0;) {
        if (count > 0) {
            output.append(piece, count);
        } else if (errno != EINTR) {
            fail(u"cannot read a child's output"_s);
        }
    }
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
    return output;
}

Benchmark scan()
{
    const auto machine = std::make_shared<BenchMachine>(applicationCount, entryCount);
    const auto scanner = std::make_shared<SysProfiler>();
    const auto found = [] {
        return spawned({"find", "/Applications", "-maxdepth", "3", "-type", "d", "-name", "*.app"});
    };
    Benchmark benchmark;
    benchmark.what = u"update with 2,000 bundles / the bare find"_s;
    benchmark.must = 1.25;
    benchmark.aim = 1.18;
    benchmark.ours = [machine, scanner] { return secondsOf([&] { scanner->update(); }); };
    benchmark.reference = [machine, found] { return secondsOf([&] { found(); }); };
    benchmark.compare = [machine, scanner, found] {
        scanner->update();
        if (found().count('\n') != applicationCount || scanner->size() != applicationCount) {
            fail(u"the scans differ"_s);
        }
    };
    return benchmark;
}

/// The text after the key in a property list of the sample machine.
QString bareValue(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return {};
    }
    QXmlStreamReader xml(&file);
    QString value;
    bool isValue = false;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        if (isValue) {
            value = xml.readElementText();
            isValue = false;
        } else if (xml.name() == "key"_L1) {
            isValue = xml.readElementText() == "CFBundleShortVersionString"_L1;
        }
    }
    return value;
}

void readVersions(SysProfiler& scanner, const QStringList& names)
{
    for (const QString& name : names) {
        if (scanner.getVersion(name).isEmpty()) {
            fail("no version of "_L1 + name);
        }
    }
}

Benchmark plists()
{
    const auto machine = std::make_shared<BenchMachine>(applicationCount, entryCount);
    const auto scanner = std::make_shared<SysProfiler>();
    Benchmark benchmark;
    benchmark.what = u"getVersion of 2,000 bundles / a bare QXmlStreamReader"_s;
    benchmark.must = 1.1;
    benchmark.aim = 1.0;
    benchmark.ours = [machine, scanner] {
        scanner->update(); // which forgets all versions
        return secondsOf([&] { readVersions(*scanner, machine->names()); });
    };
    benchmark.reference = [machine, scanner, paths = machine->plists()] {
        scanner->update(); // leaves the processor's caches as it does on our side
        return secondsOf([&] {
            for (const QString& path : paths) {
                if (bareValue(path).isEmpty()) {
                    fail("no version in "_L1 + path);
                }
            }
        });
    };
    benchmark.compare = [machine, scanner] {
        scanner->update();
        for (qsizetype i = 0; i < applicationCount; ++i) {
            if (scanner->getVersion(machine->names()[i]) != bareValue(machine->plists()[i])) {
                fail("the versions differ for "_L1 + machine->names()[i]);
            }
        }
    };
    return benchmark;
}

/// A catalogue's records on a machine, all versions read.
class Records
{
public:
    Records(int entries, int applications)
        : m_machine(applications, entries)
        , m_profiler(u"https://example.org/"_s, u"c.csv"_s, u","_s, u"data/"_s)
    {
        m_profiler.sysData_update();
        for (int i = 0; i < entries; ++i) {
            m_applications.append(Application(entryName(i), &m_profiler));
        }
    }

    [[nodiscard]] int match()
    {
        int installed = 0;
        for (Application& application : m_applications) {
            application.update();
            installed += application.isInstall() && application.isInstall() ? 1 : 0;
        }
        return installed;
    }
    [[nodiscard]] QStringList names() const { return m_machine.names(); }
    [[nodiscard]] QString version(const QString& name) { return m_profiler.getSysVersion(name); }

private:
    BenchMachine m_machine;
    Profiler m_profiler;
    QList<Application> m_applications;
};

Benchmark matching()
{
    const auto records = std::make_shared<Records>(entryCount, applicationCount);
    QHash<QString, QString> versions;
    for (const QString& name : records->names()) {
        versions.insert(name, records->version(name));
    }
    QStringList names;
    for (int i = 0; i < entryCount; ++i) {
        names.append(entryName(i));
    }
    const auto lookUp = [versions, names] {
        int installed = 0;
        for (const QString& name : names) {
            const auto found = versions.constFind(name);
            if (found == versions.cend()) {
                Debug(Debug::Warning) << "Profiler - '" << name << "' → NOT FOUND in system";
            } else {
                Debug(Debug::Info)
                    << "Profiler - '" << name << "' → matched '" << name << "' v" << *found;
            }
            installed += versions.contains(name) && versions.contains(name) ? 1 : 0;
        }
        return installed;
    };
    Benchmark benchmark;
    benchmark.what = u"update and two isInstall of 10,000 rows / three hash look-ups"_s;
    benchmark.must = 6;
    benchmark.aim = 2;
    benchmark.ours = [records] { return secondsOf([&] { (void)records->match(); }); };
    benchmark.reference = [lookUp] { return secondsOf([&] { (void)lookUp(); }); };
    benchmark.compare = [records, lookUp] {
        if (records->match() != lookUp()) {
            fail(u"the matches differ"_s);
        }
    };
    return benchmark;
}

Benchmark execute()
{
    constexpr int callCount = 50;
    Benchmark benchmark;
    benchmark.what = u"execute of true / posix_spawn, pipe and wait"_s;
    benchmark.must = 1.4;
    benchmark.aim = 1.2;
    benchmark.ours = [] {
        return secondsOf([] {
            for (int i = 0; i < callCount; ++i) {
                System::execute({u"true"_s});
            }
        });
    };
    benchmark.reference = [] {
        return secondsOf([] {
            for (int i = 0; i < callCount; ++i) {
                spawned({"true"});
            }
        });
    };
    benchmark.compare = [] {
        if (System::execute({u"echo"_s, u"one"_s}).constFirst() != spawned({"echo", "one"})) {
            fail(u"the outputs differ"_s);
        }
    };
    return benchmark;
}

} // namespace

QList<BenchmarkCase> inventoryCases()
{
    return {{u"scan"_s, scan},
            {u"plists"_s, plists},
            {u"matching"_s, matching},
            {u"execute"_s, execute}};
}

QList<Workload> inventoryWorkloads()
{
    const auto scanBundles = [](int bundles) -> std::function<void()> {
        const auto machine = std::make_shared<BenchMachine>(bundles, bundles);
        return [machine, scanner = std::make_shared<SysProfiler>()] { scanner->update(); };
    };
    const auto readBundles = [](int bundles) -> std::function<void()> {
        const auto machine = std::make_shared<BenchMachine>(bundles, bundles);
        const auto scanner = std::make_shared<SysProfiler>();
        scanner->update();
        return [machine, scanner] { readVersions(*scanner, machine->names()); };
    };
    const auto matchEntries = [](int entries) -> std::function<void()> {
        return
            [records = std::make_shared<Records>(entries, entries / 5)] { (void)records->match(); };
    };
    return {{u"scan"_s, u"bundle"_s, scanBundles, installedSizes},
            {u"plists"_s, u"file"_s, readBundles, installedSizes},
            {u"matching"_s, u"row"_s, matchEntries}};
}
