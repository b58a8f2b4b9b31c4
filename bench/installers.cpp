#include "installers.h"

#include "companion/installer/installerreader.h"
#include "companion/installer/sevenzip.h"
#include "support/packagemaker.h"
#include "console.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 largeSize = 500'000'000; // bytes
constexpr int fileCount = 2'000;

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        fail(u"cannot write %1"_s.arg(path));
    }
}

/// The bytes that this process has read so far; -1 where the system does not count them.
double bytesRead()
{
    QFile file(u"/proc/self/io"_s);
    if (!file.open(QIODevice::ReadOnly)) {
        return -1;
    }
    return file.readLine().split(' ').constLast().trimmed().toDouble();
}

double runSeconds(const QString& program, const QList<QStringList>& argumentLists)
{
    return secondsOf([&] {
        for (const QStringList& arguments : argumentLists) {
            QProcess process;
            process.setStandardOutputFile(QProcess::nullDevice());
            process.setStandardErrorFile(QProcess::nullDevice());
            process.start(program, arguments);
            if (!process.waitForFinished(-1) || process.exitCode() != 0) {
                fail(u"%1 %2 does not end well"_s.arg(program, arguments.join(u' ')));
            }
        }
    });
}

} // namespace

Benchmark packageContents()
{
    const auto folder = std::make_shared<QTemporaryDir>();
    const QString path = folder->filePath(u"large.pkg"_s);
    const QByteArray start = packageStart(largeSize);
    writeFile(path, start);
    QFile::resize(path, start.size() + largeSize); // a hole, which takes no place
    Benchmark benchmark;
    benchmark.what = u"bytes read of a package of 500 MB that brings nothing / its size"_s;
    benchmark.rounds = 3;
    benchmark.must = 0.01;
    benchmark.aim = 0.001;
    benchmark.ours = [folder, path] {
        const double before = bytesRead();
        if (before < 0 || !InstallerReader::read(path).items.value(0).unknown.isEmpty()) {
            fail(u"the package cannot be read, or what is read not be counted"_s);
        }
        return bytesRead() - before;
    };
    benchmark.reference = [] { return static_cast<double>(largeSize); };
    return benchmark;
}

Benchmark installerCheck()
{
    const auto folder = std::make_shared<QTemporaryDir>();
    QDir(folder->path()).mkdir(u"files"_s);
    const QString catalogue = folder->filePath(u"catalogue.csv"_s);
    QByteArray lines = "Name,Version,Release date,Filename,Ignored\n";
    QList<QStringList> listings;
    for (int i = 0; i < fileCount; ++i) {
        const QByteArray name = "App" + QByteArray::number(1'000 + i);
        const QString path = folder->filePath(u"files/%1.pkg"_s.arg(QLatin1StringView(name)));
        writeFile(path, packageOf(bundleFiles(name, bundleList("1.0"), armProgram())));
        lines += name + ",1.0,2026-03-01," + name + ".pkg,0\n";
        listings.append({u"l"_s, path});
    }
    writeFile(catalogue, lines);
    const QStringList check = {u"check"_s, catalogue, u"--files"_s, folder->filePath(u"files"_s),
                               u"--strict"_s};
    Benchmark benchmark;
    benchmark.what = u"check --files of %1 packages / 7z l of each"_s.arg(fileCount);
    benchmark.rounds = 3;
    benchmark.must = 2.5;
    benchmark.aim = 1.5;
    benchmark.ours = [folder, check] {
        return runSeconds(QCoreApplication::applicationDirPath() + "/quillmere-catalogue"_L1,
                          {check});
    };
    benchmark.reference = [folder, listings] { return runSeconds(SevenZip::program(), listings); };
    return benchmark;
}
