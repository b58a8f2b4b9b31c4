#include "companion/installer/installerreader.h"

#include "companion/installer/installerreading.h"
#include "companion/installer/limits.h"
#include "companion/installer/readerlimits.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString readingCommand = u"read-installer"_s;

constexpr qint64 milliseconds = 1'000; // of a second
constexpr int reserve = 10;            // seconds that the reader has to end by itself
constexpr int pause = 100;             // milliseconds between two questions whether to go on

/// The companion's path; empty while installers are read in this process.
QString& readingProgram()
{
    static QString program;
    return program;
}

/// Nothing, for a reason that is none of the file's.
InstallerFacts unread(const QString& obstacle)
{
    InstallerFacts facts;
    facts.unknown = facts.obstacle = obstacle;
    return facts;
}

/// Nothing, for a reason that is the file's.
InstallerFacts unknown(const QString& reason)
{
    InstallerFacts facts;
    facts.unknown = reason;
    return facts;
}

/// Waits for the end of @p process. Returns why that has not come; nothing known and no reason
/// where it has.
InstallerFacts waited(QProcess& process, const std::function<bool()>& goesOn)
{
    constexpr qint64 most = (InstallerLimits::seconds + reserve) * milliseconds;
    QElapsedTimer time;
    time.start();
    while (!process.waitForFinished(pause)) {
        if (process.error() == QProcess::FailedToStart) {
            return unread(u"its reader cannot be started: %1"_s.arg(process.errorString()));
        }
        if (time.elapsed() > most) {
            return unknown(
                u"reading it takes more than %1 seconds"_s.arg(InstallerLimits::seconds));
        }
        if (!goesOn()) {
            return unread(u"its reading was stopped"_s);
        }
    }
    return {};
}

} // namespace

void InstallerReader::useProgram(const QString& program)
{
    readingProgram() = program;
}

InstallerFacts InstallerReader::read(const QString& path, const std::function<bool()>& goesOn)
{
    if (readingProgram().isEmpty()) {
        return readInstaller(path);
    }
    const QTemporaryDir folder;
    if (!folder.isValid()) {
        return unread(u"no temporary folder can be made: %1"_s.arg(folder.errorString()));
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
    if (const InstallerFacts reason = waited(process, goesOn); !reason.unknown.isEmpty()) {
        process.kill();
        process.waitForFinished();
        return reason;
    }
    const QJsonDocument told = QJsonDocument::fromJson(process.readAllStandardOutput());
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0 ||
        !told.isObject()) {
        return unknown(u"its reader failed, or met its limits of memory and time"_s);
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
