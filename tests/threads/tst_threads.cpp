// What more than one thread does at a time, for ThreadSanitizer to watch: preset "tsan". Without it
// the results alone are looked at.

#include "app/debug.h"
#include "profiler/profiler.h"
#include "support/propertylist.h"
#include "support/samplemachine.h"
#include "system/sysprofiler.h"

#include <QDeadlineTimer>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int applications = 40;
constexpr int scans = 15;

/// Threads that do a thing again and again, from start() until stop().
class Repeaters
{
public:
    void add(const std::function<void()>& work) { m_works.push_back(work); }
    void start()
    {
        // Not QThread, whose wait() ThreadSanitizer does not see.
        for (const auto& work : m_works) {
            m_threads.emplace_back([this, &work] {
                while (!m_isStopped) {
                    work();
                    ++m_rounds;
                }
            });
        }
    }
    void stop()
    {
        m_isStopped = true;
        for (std::thread& thread : m_threads) {
            thread.join();
        }
    }
    /// How often the things were done.
    [[nodiscard]] int rounds() const { return m_rounds; }

private:
    std::vector<std::function<void()>> m_works;
    std::vector<std::thread> m_threads;
    std::atomic_bool m_isStopped = false;
    std::atomic_int m_rounds = 0;
};

/// A scan that counts its ends on the thread it lives on.
class Scan : public SysProfiler
{
public:
    Scan()
    {
        connect(this, &SysProfiler::workFinished, this, [this] { ++m_ends; });
    }
    [[nodiscard]] int ends() const { return m_ends; }

private:
    int m_ends = 0;
};

/// An object that lives until the process ends: ThreadSanitizer does not see how a QThread ends,
/// and would take the next use of the memory that its thread has read for a race.
template <typename T, typename... Arguments>
T& kept(const Arguments&... arguments)
{
    static auto& all = *new std::vector<T*>; // LeakSanitizer looks after static objects are gone
    all.push_back(new T(arguments...));
    return *all.back();
}

QString nameOf(int application)
{
    return u"Tool %1"_s.arg(application, 2, 10, QChar(u'0'));
}

} // namespace

class TestThreads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void queriesDuringScansSeeAWholeResultOrNone();
    void everyScanIsRelayedToTheInterfaceThreadWithItsResult();
    void scansCanFollowOneAnotherAtOnce();
    void engineCanBeChangedDuringScans();
    void theLogTakesLinesOfAllThreadsAndOfAScan();
    void theLogCanStartAnewWhileLinesAreWritten();

private:
    std::optional<SampleMachine> m_machine;
};

void TestThreads::initTestCase()
{
    // Thousands of lines, from many threads.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
}

void TestThreads::init()
{
    m_machine.emplace();
    QStringList paths;
    for (int i = 0; i < applications; ++i) {
        paths.append(m_machine->putBundle(nameOf(i), versionPlist("1." + QByteArray::number(i))));
    }
    m_machine->list(paths);
}

void TestThreads::cleanup()
{
    m_machine.reset();
}

void TestThreads::queriesDuringScansSeeAWholeResultOrNone()
{
    auto& scan = kept<Scan>();
    std::atomic_int wrong = 0;
    const auto expect = [&wrong](bool holds) { wrong += holds ? 0 : 1; };
    Repeaters queries;
    queries.add([&] {
        const QStringList names = scan.find(u"Tool"_s);
        expect(names.isEmpty() || names.size() == applications);
        expect(std::is_sorted(names.cbegin(), names.cend()));
        const qsizetype size = scan.size();
        expect(size == 0 || size == applications);
        (void)scan.hasData();
    });
    queries.add([&] {
        const QString location = scan.getLocation(nameOf(7));
        expect(location.isNull() || location == m_machine->location(nameOf(7)));
        const auto info = scan.getInfo(nameOf(8));
        expect(info.isEmpty() || info.size() == 1);
        (void)scan.isInstall(u"Tool 1"_s);
        (void)scan.getValue(nameOf(9), u"Kind"_s);
    });
    queries.start();

    for (int i = 1; i <= scans; ++i) {
        scan.threadUpdate();
        QTRY_COMPARE_WITH_TIMEOUT(scan.ends(), i, 30'000);
        QCOMPARE(scan.size(), applications);
        // Reads each bundle in this thread, and fills the cache that the next scan empties.
        QCOMPARE(scan.getVersion(nameOf(i)), u"1.%1"_s.arg(i));
    }
    queries.stop();
    QVERIFY(queries.rounds() > scans);
    QCOMPARE(wrong.load(), 0);
}

void TestThreads::everyScanIsRelayedToTheInterfaceThreadWithItsResult()
{
    auto& profiler = kept<Profiler>(QString(), QString(), u","_s, QString());
    int relayed = 0;
    int wrong = 0;
    const QObject context; // the connection ends with the test
    connect(&profiler, &Profiler::workFinished, &context, [&] {
        ++relayed;
        const bool isRight = QThread::currentThread() == thread() && profiler.sysData_hasData() &&
                             profiler.find(nameOf(3)) == nameOf(3) &&
                             profiler.getSysVersion(nameOf(3)) == "1.3"_L1 &&
                             profiler.isInstall(u"Tool"_s);
        wrong += isRight ? 0 : 1;
    });
    for (int i = 1; i <= scans; ++i) {
        profiler.sysData_update_thread();
        QTRY_COMPARE_WITH_TIMEOUT(relayed, i, 30'000);
    }
    QCOMPARE(wrong, 0);
}

void TestThreads::scansCanFollowOneAnotherAtOnce()
{
    auto& scan = kept<Scan>();
    const QDeadlineTimer patience(60'000);
    int asked = 0;
    while (scan.ends() < scans && !patience.hasExpired()) {
        scan.threadUpdate(); // mostly while one is under way
        ++asked;
        QCoreApplication::processEvents();
        QThread::usleep(200);
    }
    QVERIFY(scan.ends() >= scans);
    QVERIFY(asked > scan.ends());
}

void TestThreads::engineCanBeChangedDuringScans()
{
    m_machine->answer(u"mdfind"_s, "/Applications/Other.app\n");
    (void)m_machine->takeLog();
    auto& scan = kept<Scan>();
    const QDeadlineTimer patience(60'000);
    int changes = 0;
    while (scan.ends() < scans && !patience.hasExpired()) {
        scan.threadUpdate();
        scan.changeEngine(changes++ % 2 == 0 ? SysProfiler::MDFIND : SysProfiler::FIND);
        (void)scan.getVersion(u"Other"_s);
        QCoreApplication::processEvents();
        QThread::usleep(200);
    }
    QVERIFY(scan.ends() >= scans);
    // The name that is logged is that of the command that was run.
    const QStringList lines = m_machine->takeLog(u"apps found"_s);
    QVERIFY(lines.size() >= scans);
    for (const QString& line : lines) {
        QVERIFY2(line == u"[INFO] SysProfiler [find] — %1 apps found"_s.arg(applications) ||
                     line == u"[INFO] SysProfiler [mdfind] — 1 apps found"_s,
                 qPrintable(line));
    }
}

void TestThreads::theLogTakesLinesOfAllThreadsAndOfAScan()
{
    constexpr int writers = 4;
    std::atomic_int written = 0;
    Repeaters repeaters;
    for (int i = 0; i < writers; ++i) {
        repeaters.add([&written, i] {
            Debug(Debug::Warning) << "writer " << i << " line " << ++written << " end";
        });
    }
    (void)m_machine->takeLog();
    auto& scan = kept<Scan>();
    repeaters.start();
    for (int i = 1; i <= 3; ++i) {
        scan.threadUpdate();
        QTRY_COMPARE_WITH_TIMEOUT(scan.ends(), i, 30'000);
    }
    repeaters.stop();

    const QStringList lines = m_machine->takeLog();
    const auto isWhole = [](const QString& line) {
        return line.startsWith("[WARNING] writer "_L1) && line.endsWith(" end"_L1);
    };
    QCOMPARE(std::count_if(lines.cbegin(), lines.cend(), isWhole), written.load());
    // The object's own two, then of each scan: start, beginning, number and names, end.
    QCOMPARE(lines.size() - written, 2 + 3 * (4 + applications));
}

void TestThreads::theLogCanStartAnewWhileLinesAreWritten()
{
    Repeaters repeaters;
    repeaters.add([] { Debug(Debug::Info) << "some line"; });
    repeaters.add([] { QVERIFY(Debug::logFilePath().endsWith("quillmere.log"_L1)); });
    repeaters.start();
    for (int former = 0, i = 0; i < 20; ++i) {
        QTRY_VERIFY_WITH_TIMEOUT(repeaters.rounds() > former, 30'000);
        former = repeaters.rounds();
        Debug::init();
    }
    repeaters.stop();
    const QStringList lines = m_machine->home().logLines();
    QCOMPARE(lines.count(u"[INFO] some line"_s), lines.size());
}

QTEST_GUILESS_MAIN(TestThreads)
#include "tst_threads.moc"
