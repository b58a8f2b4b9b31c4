#include "cases.h"
#include "child.h"
#include "companion/archive/archive.h"
#include "companion/archive/archiverules.h"
#include "companion/catalogue/check.h"
#include "console.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int memberCount = 100'000;
constexpr int archiveCount = 2'000;
constexpr int badLines = 91'000; ///< with three findings each

/// A folder with an archive of an installer and @p members - 1 small files in a hundred folders.
class ArchiveFolder
{
public:
    explicit ArchiveFolder(int members)
    {
        outputOf(u"python3"_s, {u"-c"_s,
                                u"import sys, zipfile\n"
                                "with zipfile.ZipFile(sys.argv[1], 'w') as archive:\n"
                                "    archive.writestr('Tool.pkg', 'x')\n"
                                "    for i in range(1, int(sys.argv[2])):\n"
                                "        archive.writestr(f'{i % 100}/{i}.txt', 'x')\n"_s,
                                path(), QString::number(members)});
    }

    [[nodiscard]] QString path() const { return m_folder.filePath(u"archive.zip"_s); }
    [[nodiscard]] const QTemporaryDir& folder() const { return m_folder; }

private:
    QTemporaryDir m_folder;
};

void requireTool(const QList<InstallerCandidate>& candidates)
{
    if (candidates.size() != 1 || candidates.constFirst().path != "Tool.pkg"_L1) {
        fail(u"the archive opens something else"_s);
    }
}

Benchmark directory()
{
    const auto archive = std::make_shared<ArchiveFolder>(memberCount);
    Benchmark benchmark;
    benchmark.what = u"what 100,000 members come to by the archive's directory / unzip -l"_s;
    benchmark.rounds = 5;
    benchmark.must = 6;
    benchmark.aim = 4;
    benchmark.ours = [archive] {
        return secondsOf([&] {
            const ArchiveContent content(archive->path());
            requireTool(content.candidates(processors().constFirst()));
            if (!archiveFindings(content).isEmpty()) {
                fail(u"the archive has findings"_s);
            }
        });
    };
    benchmark.reference = [archive] {
        return secondsOf([&] { outputOf(u"unzip"_s, {u"-l"_s, archive->path()}); });
    };
    return benchmark;
}

Benchmark unpacked()
{
    const auto archive = std::make_shared<ArchiveFolder>(memberCount);
    Benchmark benchmark;
    benchmark.what = u"archive of 100,000 members / unzip of it, and removing that"_s;
    benchmark.rounds = 3;
    benchmark.must = 2;
    benchmark.aim = 1.5;
    benchmark.ours = [archive] {
        QString said;
        QTextStream out(&said);
        return secondsOf([&] {
            if (runArchive({u"archive"_s, archive->path()}, out, out) != 0) {
                fail("archive fails: "_L1 + said);
            }
        });
    };
    benchmark.reference = [archive] {
        const QString folder = archive->folder().filePath(u"unpacked"_s);
        return secondsOf([&] {
            outputOf(u"unzip"_s, {u"-q"_s, archive->path(), u"-d"_s, folder});
            QDir(folder).removeRecursively();
        });
    };
    return benchmark;
}

/// The companion's `archive` of 2,000 small archives in a process that may use these processors.
double archivesSeconds(const ArchiveFolder& archive, const QString& processors)
{
    QStringList command{u"-c"_s, processors,
                        QCoreApplication::applicationDirPath() + "/quillmere-catalogue"_L1,
                        u"archive"_s};
    for (int i = 0; i < archiveCount; ++i) {
        command.append(archive.folder().filePath(QString::number(i) + ".zip"_L1));
    }
    return secondsOf([&] { outputOf(u"taskset"_s, command); });
}

Benchmark parallel()
{
    const auto archive = std::make_shared<ArchiveFolder>(3);
    for (int i = 0; i < archiveCount; ++i) {
        QFile::link(archive->path(), archive->folder().filePath(QString::number(i) + ".zip"_L1));
    }
    Benchmark benchmark;
    benchmark.what = u"archive of 2,000 files on two processors / on one"_s;
    benchmark.rounds = 3;
    benchmark.must = 0.7;
    benchmark.aim = 0.55;
    benchmark.ours = [archive] { return archivesSeconds(*archive, u"0,1"_s); };
    benchmark.reference = [archive] { return archivesSeconds(*archive, u"0"_s); };
    return benchmark;
}

Benchmark memory()
{
    Benchmark benchmark;
    benchmark.what = u"peak memory of check --json with 273,000 findings / 1 MB"_s;
    benchmark.rounds = 3;
    benchmark.must = 300;
    benchmark.aim = 110;
    benchmark.ours = [] { return outputOfChild({u"--check-memory"_s}).trimmed().toDouble(); };
    benchmark.reference = [] { return 1'000'000.0; };
    return benchmark;
}

} // namespace

void measureCheckMemory()
{
    const QTemporaryDir folder;
    QFile catalogue(folder.filePath(u"catalogue.csv"_s));
    QFile nowhere(u"/dev/null"_s);
    if (!catalogue.open(QIODevice::WriteOnly) || !nowhere.open(QIODevice::WriteOnly)) {
        fail(u"cannot write the catalogue"_s);
    }
    catalogue.write("Name,Version,Release date,Filename,Ignored\n");
    for (int i = 0; i < badLines; ++i) {
        const QByteArray number = QByteArray::number(i);
        catalogue.write("App " + number + ".app,beta " + number + ",2026-03-01,file" + number +
                        ".exe,0\n");
    }
    catalogue.close();
    QTextStream out(&nowhere);
    runCheck({u"check"_s, u"--json"_s, catalogue.fileName()}, out, out);
    out.flush();
    QTextStream(stdout) << QString::number(processBytes("VmHWM"), 'f', 0) << Qt::endl;
}

QList<BenchmarkCase> companionCases()
{
    return {{u"archive-directory"_s, directory},
            {u"archive-unpacked"_s, unpacked},
            {u"archive-parallel"_s, parallel},
            {u"check-json-memory"_s, memory}};
}
