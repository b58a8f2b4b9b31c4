#include "companion/archive/unpackedarchive.h"

#include "companion/archive/archivecontent.h"
#include "install/unpacking.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <filesystem>
#include <system_error>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int patience = 100; // ms, between two questions whether to go on

/// Leaves unzip's verdict in @p unpacked, or why there is none.
void runUnzip(const QStringList& arguments, const std::function<bool()>& goesOn,
              UnpackedArchive& unpacked)
{
    QProcess unzip;
    // What unzip writes must not hang on where the companion is run: users have UTF-8.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
#ifdef Q_OS_MACOS
    environment.insert(u"LC_ALL"_s, u"en_US.UTF-8"_s);
#else
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
#endif
    // Options that the publisher has set for their own use are none of the client's.
    environment.remove(u"UNZIP"_s);
    environment.remove(u"UNZIPOPT"_s);
    unzip.setProcessEnvironment(environment);
    unzip.setStandardOutputFile(QProcess::nullDevice());
    unzip.setStandardErrorFile(QProcess::nullDevice());
    startUnzip(unzip, arguments);
    if (!unzip.waitForStarted(-1)) {
        unpacked.obstacle = u"/usr/bin/unzip cannot be started"_s;
        return;
    }
    while (unzip.state() != QProcess::NotRunning && !unzip.waitForFinished(patience)) {
        if (!goesOn()) {
            unzip.kill();
            unzip.waitForFinished();
            return;
        }
    }
    unpacked.unzipCode = unzip.exitCode(); // of a crash the signal's number, as the client has it
}

/// Removes what unzip has left: also items whose names Qt cannot tell, and what lies in folders
/// that nobody may write to.
void removeAll(const std::filesystem::path& folder)
{
    namespace fs = std::filesystem;
    std::error_code unheeded;
    fs::permissions(folder, fs::perms::owner_all, fs::perm_options::add, unheeded);
    for (fs::directory_iterator item(folder, unheeded), end; item != end;
         item.increment(unheeded)) {
        if (item->symlink_status(unheeded).type() == fs::file_type::directory) {
            removeAll(item->path());
        }
    }
    fs::remove_all(folder, unheeded);
}

QStringList excludedItems(const QString& folder)
{
    QStringList paths;
    QDirIterator items(folder, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (items.hasNext()) {
        const QString path = items.next();
        if (hasInstallerEnding(items.fileName()) && isExcludedInstaller(items.fileName())) {
            paths.append(path.sliced(folder.size() + 1));
        }
    }
    paths.sort();
    return paths;
}

/// Removes what a Mac's file system refuses, an item whose name is no text. Newer releases of Qt
/// list nothing of a folder that holds one.
void removeNamesThatAreNoText(const std::filesystem::path& folder)
{
    namespace fs = std::filesystem;
    std::error_code unheeded;
    for (fs::directory_iterator item(folder, unheeded), end; item != end;
         item.increment(unheeded)) {
        if (!QUtf8StringView(item->path().filename().native()).isValidUtf8()) {
            removeAll(item->path());
        } else if (item->symlink_status(unheeded).type() == fs::file_type::directory) {
            removeNamesThatAreNoText(item->path());
        }
    }
}

/// The last steps of paths below @p folder that have other bytes than ASCII's, by the bytes since
/// Qt leaves those out that are no text.
QList<QByteArray> namesBeyondAscii(const QString& folder)
{
    QList<QByteArray> names;
    std::error_code error;
    using Iterator = std::filesystem::recursive_directory_iterator;
    const auto options = std::filesystem::directory_options::skip_permission_denied;
    for (Iterator item(QFile::encodeName(folder).toStdString(), options, error);
         !error && item != Iterator(); item.increment(error)) {
        const auto name = QByteArray::fromStdString(item->path().filename().native());
        if (std::any_of(name.cbegin(), name.cend(), [](char c) { return c < 0; })) {
            names.append(name);
        }
    }
    return names;
}

} // namespace

UnpackedArchive unpackArchive(const QString& path, const std::function<bool()>& goesOn)
{
    UnpackedArchive unpacked;
    const QTemporaryDir folder;
    if (!folder.isValid()) {
        unpacked.obstacle = u"no temporary folder can be made"_s;
        return unpacked;
    }
    runUnzip({u"-o"_s, QFileInfo(path).absoluteFilePath(), u"-d"_s, folder.path()}, goesOn,
             unpacked);
    unpacked.names = namesBeyondAscii(folder.path());
    removeNamesThatAreNoText(QFile::encodeName(folder.path()).toStdString());
    for (const QString& processor : processors()) {
        QList<InstallerCandidate>& items = unpacked.candidates[processor];
        items = installerCandidates(folder.path(), processor);
        for (InstallerCandidate& item : items) {
            item.path.remove(0, folder.path().size() + 1);
        }
    }
    unpacked.excluded = excludedItems(folder.path());
    removeAll(QFile::encodeName(folder.path()).toStdString());
    return unpacked;
}
