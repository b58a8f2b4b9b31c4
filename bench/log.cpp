#include "cases.h"

#include "app/debug.h"
#include "console.h"
#include "samplehome.h"

#include <QFile>

#include <fcntl.h>
#include <memory>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int lineCount = 10'000;

void writeLines(int count)
{
    for (int i = 0; i < count; ++i) {
        Debug(Debug::Info) << "Profiler - 'Application " << i << "' → matched 'Application " << i
                           << "' v" << 3;
    }
}

/// Two files that are open for as long as the object lives, and take the bare lines.
class BareLog
{
public:
    explicit BareLog(const QString& folder)
        : m_console(::open("/dev/null", O_WRONLY))
        , m_file(::open(qPrintable(folder + "/bare.log"_L1), O_WRONLY | O_CREAT | O_TRUNC, 0600))
    {
        if (m_console < 0 || m_file < 0) {
            fail(u"cannot open the bare log"_s);
        }
    }
    ~BareLog()
    {
        ::close(m_console);
        ::close(m_file);
    }
    Q_DISABLE_COPY_MOVE(BareLog)

    void write(int count) const
    {
        const QByteArray line =
            "2026-11-21T12:00:00 [INFO] Profiler - 'Application 1000' → matched "
            "'Application 1000' v3\n";
        for (int i = 0; i < count; ++i) {
            for (const int file : {m_console, m_file}) {
                if (::write(file, line.constData(), size_t(line.size())) != line.size()) {
                    fail(u"cannot write the bare log"_s);
                }
            }
        }
    }

private:
    int m_console;
    int m_file;
};

qsizetype linesIn(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().count('\n') : 0;
}

Benchmark logLines()
{
    const auto home = std::make_shared<SampleHome>();
    const auto bare = std::make_shared<BareLog>(home->downloadFolder());
    Benchmark benchmark;
    benchmark.what = u"10,000 lines / two write calls per line"_s;
    benchmark.must = 30;
    benchmark.aim = 12;
    benchmark.ours = [home] {
        Debug::init();
        return secondsOf([] { writeLines(lineCount); });
    };
    benchmark.reference = [bare] { return secondsOf([&] { bare->write(lineCount); }); };
    benchmark.compare = [home, bare, ours = benchmark.ours] {
        ours();
        bare->write(lineCount);
        if (linesIn(Debug::logFilePath()) != lineCount + 1 ||
            linesIn(home->downloadFolder() + "/bare.log"_L1) != lineCount) {
            fail(u"the logs do not hold their lines"_s);
        }
    };
    return benchmark;
}

} // namespace

QList<BenchmarkCase> logCases()
{
    return {{u"log"_s, logLines}};
}

QList<Workload> logWorkloads()
{
    return {{u"log"_s, u"line"_s,
             [](int lines) -> std::function<void()> { return [lines] { writeLines(lines); }; }}};
}
