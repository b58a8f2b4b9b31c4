#include "download.h"

#include "samplehome.h"
#include "ui/mainwindow.h"
#include "webserver.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 fileSize = 500LL * 1024 * 1024;
constexpr int rowCount = 2'000;

/// Ends an event loop when an installer is opened: its file has been saved by then.
class OpenedSignal : public QObject
{
    Q_OBJECT

public:
    OpenedSignal() { QDesktopServices::setUrlHandler(u"file"_s, this, "open"); }
    ~OpenedSignal() override { QDesktopServices::unsetUrlHandler(u"file"_s); }
    Q_DISABLE_COPY_MOVE(OpenedSignal)

    void wait() { m_loop.exec(); }

public Q_SLOTS:
    void open(const QUrl&) { m_loop.quit(); }

private:
    QEventLoop m_loop;
};

/// A window whose first row offers a large file, with the server that it comes from.
struct DownloadBench
{
    DownloadBench()
    {
        server.writeNoise(u"data/software/macos/large.pkg"_s, fileSize);
        QByteArray catalogue = "Name,Version,Release date,Filename,Ignored\n";
        for (int row = 0; row < rowCount; ++row) {
            catalogue += "Synth " + QByteArray::number(row) + ",1.0,,large.pkg,0\n";
        }
        server.write(u"config/01_MacOS.csv"_s, catalogue);
        home.configure(server.url());
        window = std::make_unique<MainWindow>();
        window->show();
        if (!window->action_loadWebData()) {
            qFatal("the catalogue could not be loaded");
        }
    }

    [[nodiscard]] QString savedPath() const { return home.downloadFolder() + "/large.pkg"_L1; }

    SampleHome home;
    WebServer server;
    OpenedSignal opened;
    std::unique_ptr<MainWindow> window;
};

double secondsOf(const std::function<void()>& action)
{
    QElapsedTimer timer;
    timer.start();
    action();
    return double(timer.nsecsElapsed()) / 1e9;
}

void checkSaved(const QString& path)
{
    if (QFile(path).size() != fileSize || !QFile::remove(path)) {
        qFatal("%s was not downloaded whole", qUtf8Printable(path));
    }
}

double byQuillmere(DownloadBench& bench)
{
    const double seconds = secondsOf([&bench] {
        bench.window->startDownload(0);
        bench.opened.wait();
    });
    checkSaved(bench.savedPath());
    return seconds;
}

double byCurl(DownloadBench& bench)
{
    const double seconds = secondsOf([&bench] {
        QProcess::execute(u"curl"_s, {u"-s"_s, u"-o"_s, bench.savedPath(),
                                      bench.server.url() + "data/software/macos/large.pkg"_L1});
    });
    checkSaved(bench.savedPath());
    return seconds;
}

/// A line of /proc/self/status, in bytes.
double processBytes(const QByteArray& field)
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly)) {
        return 0.0;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(field + ':')) {
            return line.mid(field.size() + 1).trimmed().split(' ').constFirst().toDouble() * 1024;
        }
    }
    return 0.0;
}

/// The growth in a process of its own, since what one download leaves with the allocator would
/// hide the next one's.
double peakGrowth()
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), {u"--download-peak"_s});
    child.waitForFinished(-1);
    bool isNumber = false;
    const double growth = child.readAllStandardOutput().trimmed().toDouble(&isNumber);
    if (!isNumber) {
        qFatal("the download's process said no number");
    }
    return growth;
}

/// Seconds of one progress signal with all rows in the table, as @p alsoDo follows each.
double progressSignal(MainWindow& window, const std::function<void()>& alsoDo)
{
    constexpr int signalCount = 1'000;
    return secondsOf([&] {
               for (int i = 0; i < signalCount; ++i) {
                   window.onDownloadProgress(1, i % 100, 100);
                   alsoDo();
               }
           }) /
           signalCount;
}

} // namespace

double downloadPeak()
{
    OpenedSignal opened;
    MainWindow window;
    window.show();
    if (!window.action_loadWebData()) {
        qFatal("the catalogue could not be loaded");
    }
    const double before = processBytes("VmRSS");
    window.startDownload(0);
    opened.wait();
    return processBytes("VmHWM") - before;
}

QList<BenchmarkResult> runDownloadBenchmarks(int rounds)
{
    DownloadBench bench;
    const QList<Benchmark> benchmarks = {
        {u"progress-signal"_s, u"a progress signal among 2,000 rows / 0.2 ms"_s, 11, 1.0,
         [&bench] { return progressSignal(*bench.window, [] {}); }, [] { return 0.0002; }},
        {u"progress-painted"_s, u"the same, and the repaint that follows / 0.2 ms"_s, 11, 2.5,
         [&bench] {
             return progressSignal(*bench.window, [] { QCoreApplication::processEvents(); });
         },
         [] { return 0.0002; }},
        {u"download"_s, u"500 MiB into the download folder / curl -o"_s, 5, 1.25,
         [&bench] { return byQuillmere(bench); }, [&bench] { return byCurl(bench); }},
        {u"download-memory"_s, u"peak growth of that / the file's size"_s, 5, 1.5,
         [] { return peakGrowth(); }, [] { return double(fileSize); }},
    };
    QList<BenchmarkResult> results;
    for (Benchmark benchmark : benchmarks) {
        if (rounds > 0) {
            benchmark.rounds = rounds;
        }
        results.append(run(benchmark));
        QTextStream(stdout) << describe(results.constLast()) << Qt::endl;
    }
    return results;
}

#include "download.moc"
