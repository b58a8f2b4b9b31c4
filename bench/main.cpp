#include "app/debug.h"
#include "download.h"
#include "samplehome.h"

#include <QApplication>
#include <QTextStream>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// Only the log file counts: what the console costs is the terminal's affair.
void sayOnlyTrouble(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type != QtDebugMsg) {
        QTextStream(stderr) << text << Qt::endl;
    }
    if (type == QtFatalMsg) {
        std::exit(2);
    }
}

} // namespace

// quillmere_bench [ROUNDS]: runs every case, ROUNDS times each instead of its own number.
int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    qInstallMessageHandler(sayOnlyTrouble);
    if (application.arguments().value(1) == "--download-peak"_L1) {
        // For the parent process, in whose home the settings lie.
        QTextStream(stdout) << QString::number(downloadPeak(), 'f', 0) << Qt::endl;
        return 0;
    }
    const SampleHome home;
    Debug::init();
    const int rounds = application.arguments().value(1).toInt();
    const QList<BenchmarkResult> results = runDownloadBenchmarks(rounds);
    const auto missed = std::count_if(results.cbegin(), results.cend(),
                                      [](const BenchmarkResult& r) { return !r.holds(); });
    QTextStream(stdout) << results.size() - missed << " of " << results.size() << " bounds hold"
                        << Qt::endl;
    return missed == 0 ? 0 : 1;
}
