#include "companion/installer/installerreader.h"

#include "companion/installer/installerreading.h"
#include "companion/installer/limits.h"
#include "companion/installer/readerlimits.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString readingCommand = u"read-installer"_s;

constexpr int milliseconds = 1'000; // of a second
constexpr int reserve = 10;         // seconds that the reader has to end by itself

/// The companion's path; empty while installers are read in this process.
QString& readingProgram()
{
    static QString program;
    return program;
}

/// Why @p process has told nothing.
QString failure(const QProcess& process)
{
    if (process.error() == QProcess::FailedToStart) {
        return u"its reader cannot be started: %1"_s.arg(process.errorString());
    }
    return process.error() == QProcess::Timedout
               ? u"reading it takes more than %1 seconds"_s.arg(InstallerLimits::seconds)
               : u"its reader failed, or met its limits of memory and time"_s;
}

} // namespace

void InstallerReader::useProgram(const QString& program)
{
    readingProgram() = program;
}

InstallerFacts InstallerReader::read(const QString& path)
{
    if (readingProgram().isEmpty()) {
        return readInstaller(path);
    }
    const QTemporaryDir folder;
    if (!folder.isValid()) {
        return {{}, u"no temporary folder can be made: %1"_s.arg(folder.errorString())};
    }
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"TMPDIR"_s, folder.path());
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder.path());
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.setChildProcessModifier(limitReader);
    process.start(readingProgram(), {readingCommand, QFileInfo(path).absoluteFilePath()});
    const bool hasEnded =
        process.waitForFinished((InstallerLimits::seconds + reserve) * milliseconds);
    if (!hasEnded) {
        const QString reason = failure(process);
        process.kill();
        process.waitForFinished();
        return {{}, reason};
    }
    const QJsonDocument told = QJsonDocument::fromJson(process.readAllStandardOutput());
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0 ||
        !told.isObject()) {
        return {{}, failure(process)};
    }
    return installerFactsFrom(told.object());
}

bool isInstallerReading(const QStringList& arguments)
{
    return arguments.size() == 2 && arguments.constFirst() == readingCommand;
}

int runInstallerReading(const QStringList& arguments, QTextStream& out)
{
    const InstallerFacts facts = readInstaller(arguments.constLast());
    out << QJsonDocument(toJson(facts)).toJson(QJsonDocument::Compact);
    out.flush();
    return out.status() == QTextStream::Ok ? 0 : 1;
}
