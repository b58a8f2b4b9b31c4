#include "companion/installer/sevenzip.h"

#include "companion/installer/limits.h"
#include "companion/installer/memberreader.h"
#include "companion/installer/readerlimits.h"

#include <QDateTime>
#include <QProcess>
#include <QStandardPaths>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int mostMilliseconds = InstallerLimits::seconds * 1'000;
constexpr int lastGoodCode = 1; // warnings, for example of a checksum of the whole image

void prepare(QProcess& process)
{
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.setChildProcessModifier(limitReader);
}

/// Never asks for a password, and takes no name for a pattern.
QStringList arguments(const QString& command, const QStringList& options, const QStringList& names)
{
    return QStringList{command, u"-p"_s, u"-spd"_s, u"-sccUTF-8"_s} + options +
           QStringList{u"--"_s} + names;
}

bool hasEndedWell(QProcess& process)
{
    if (!process.waitForFinished(mostMilliseconds)) {
        process.kill();
        process.waitForFinished();
        return false;
    }
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() <= lastGoodCode;
}

/// Takes one line of a listing into the entry that it is about.
void addLine(const QByteArray& line, BundleCollector::Entry& entry)
{
    const qsizetype sign = line.indexOf(" = ");
    const QByteArray key = line.first(std::max<qsizetype>(sign, 0));
    const QByteArray value = line.mid(sign + 3);
    if (key == "Path") {
        const std::optional<QString> path = memberPath(value.constData());
        entry.path = path.value_or(QString());
        entry.leadsOut = !path;
    } else if (key == "Folder" && value == "+") {
        entry.kind = BundleCollector::Folder;
    } else if (key == "Mode" && !value.isEmpty()) {
        entry.isExecutable = value.indexOf('x', 1) > 0;
        if (value.front() != 'd' && value.front() != '-') {
            entry.kind = BundleCollector::Link;
        }
    } else if (key == "Modified") {
        const QString date =
            QString::fromLatin1(value.first(std::min<qsizetype>(value.size(), 19)));
        entry.changed = std::max<qint64>(
            QDateTime::fromString(date, u"yyyy-MM-dd HH:mm:ss"_s).toSecsSinceEpoch(), 0);
    }
}

} // namespace

QString SevenZip::program()
{
    const QString name = QStandardPaths::findExecutable(u"7z"_s);
    return name.isEmpty() ? QStandardPaths::findExecutable(u"7zz"_s) : name;
}

QList<BundleCollector::Entry> SevenZip::parseListing(const QByteArray& output)
{
    QList<BundleCollector::Entry> entries;
    for (const QByteArray& line : output.split('\n')) {
        if (line.startsWith("Path = ")) {
            entries.append(BundleCollector::Entry());
        }
        if (!entries.isEmpty()) {
            addLine(line, entries.last());
        }
    }
    return entries;
}

SevenZip::Listing SevenZip::list(const QString& archive)
{
    if (program().isEmpty()) {
        return {{}, u"7z is missing: 7zip (Debian), sevenzip (Homebrew)"_s};
    }
    QProcess process;
    prepare(process);
    process.start(program(), arguments(u"l"_s, {u"-slt"_s, u"-ba"_s}, {archive}));
    const bool hasEnded = hasEndedWell(process);
    const QList<BundleCollector::Entry> entries = parseListing(process.readAllStandardOutput());
    if (!hasEnded || entries.isEmpty()) {
        return {{}, u"7-Zip cannot read it"_s};
    }
    return {entries, {}};
}

QByteArray SevenZip::start(const QString& archive, const QString& path, qint64 most)
{
    QProcess process;
    prepare(process);
    process.start(program(), arguments(u"e"_s, {u"-so"_s}, {archive, path}));
    while (process.bytesAvailable() < most && process.waitForReadyRead(mostMilliseconds)) {
    }
    const QByteArray bytes = process.read(most);
    if (process.state() != QProcess::NotRunning) {
        process.kill(); // there is more than is wanted
        process.waitForFinished();
    }
    return bytes;
}

bool SevenZip::copyTo(const QString& archive, const QString& path, const QString& target)
{
    QProcess process;
    prepare(process);
    process.setStandardOutputFile(target);
    process.start(program(), arguments(u"e"_s, {u"-so"_s}, {archive, path}));
    return hasEndedWell(process);
}
