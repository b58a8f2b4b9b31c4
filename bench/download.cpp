#include "cases.h"
#include "child.h"
#include "console.h"
#include "samplehome.h"
#include "support/cataloguetext.h"
#include "ui/mainwindow.h"
#include "webserver.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTextStream>

#include <memory>

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
        QByteArray catalogue = catalogueTitles;
        for (int row = 0; row < rowCount; ++row) {
            catalogue += catalogueLine("Synth " + QByteArray::number(row), "1.0", {}, "large.pkg");
        }
        server.write(u"config/01_MacOS.csv"_s, catalogue);
        home.configure(server.url());
        window = std::make_unique<MainWindow>();
        window->show();
        if (!window->action_loadWebData()) {
            fail(u"the catalogue could not be loaded"_s);
        }
    }

    [[nodiscard]] QString savedPath() const { return home.downloadFolder() + "/large.pkg"_L1; }

    SampleHome home;
    WebServer server;
    OpenedSignal opened;
    std::unique_ptr<MainWindow> window;
};

void checkSaved(const QString& path)
{
    if (QFile(path).size() != fileSize || !QFile::remove(path)) {
        fail(path + " was not downloaded whole"_L1);
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

Benchmark download()
{
    const auto bench = std::make_shared<DownloadBench>();
    Benchmark benchmark;
    benchmark.what = u"500 MiB into the download folder / curl -o"_s;
    benchmark.rounds = 5;
    benchmark.must = 2.2;
    benchmark.aim = 1.6;
    benchmark.ours = [bench] { return byQuillmere(*bench); };
    benchmark.reference = [bench] { return byCurl(*bench); };
    return benchmark;
}

Benchmark downloadMemory()
{
    const auto bench = std::make_shared<DownloadBench>();
    Benchmark benchmark;
    benchmark.what = u"peak growth of that / the file's size"_s;
    benchmark.rounds = 5;
    benchmark.must = 1.10;
    benchmark.aim = 1.06;
    // A process of its own: what one download leaves with the allocator would hide the next one's.
    benchmark.ours = [bench] {
        return outputOfChild({u"--download-memory"_s}).trimmed().toDouble();
    };
    benchmark.reference = [] { return double(fileSize); };
    return benchmark;
}

/// Against the time that a signal may cost, as nothing comparable has a cost of its own.
Benchmark progressSignalCase(const QString& what, double must, const std::function<void()>& alsoDo)
{
    const auto bench = std::make_shared<DownloadBench>();
    Benchmark benchmark;
    benchmark.what = what;
    benchmark.must = must;
    benchmark.aim = must;
    benchmark.ours = [bench, alsoDo] { return progressSignal(*bench->window, alsoDo); };
    benchmark.reference = [] { return 0.0002; };
    return benchmark;
}

Benchmark progress()
{
    return progressSignalCase(u"a progress signal among 2,000 rows / 0.2 ms"_s, 1.0, [] {});
}

Benchmark progressPainted()
{
    return progressSignalCase(u"the same, and the repaint that follows / 0.2 ms"_s, 2.5,
                              [] { QCoreApplication::processEvents(); });
}

} // namespace

void measureDownloadMemory()
{
    OpenedSignal opened;
    MainWindow window;
    window.show();
    if (!window.action_loadWebData()) {
        fail(u"the catalogue could not be loaded"_s);
    }
    const double before = processBytes("VmRSS");
    window.startDownload(0);
    opened.wait();
    QTextStream(stdout) << QString::number(processBytes("VmHWM") - before, 'f', 0) << Qt::endl;
}

QList<BenchmarkCase> downloadCases()
{
    return {{u"download"_s, download},
            {u"download-memory"_s, downloadMemory},
            {u"progress-signal"_s, progress},
            {u"progress-painted"_s, progressPainted}};
}

#include "download.moc"
