#include "ui/mainwindow.h"

#include "app/buildinfo.h"
#include "app/debug.h"
#include "install/installerchoice.h"
#include "install/unpacking.h"
#include "system/system.h"
#include "ui/waitdialog.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QProcess>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {

QString markOf(int score)
{
    if (score > 0) {
        return u"★"_s;
    }
    return score == 0 ? u"·"_s : u"✗"_s;
}

void logCandidates(const QList<InstallerCandidate>& candidates)
{
    Debug(Debug::Info) << "Extract - " << candidates.size() << " candidate(s) found:";
    for (const InstallerCandidate& candidate : candidates) {
        Debug(Debug::Info) << "  " << markOf(candidate.score) << " [score " << candidate.score
                           << "] " << candidate.name;
    }
}

/// Moves the item of @p workFolder that fits this machine best into @p downloadFolder and returns
/// its new path; empty when there is none. A move that fails deliberately goes unnoticed: an item
/// of that name that lies there already is the one that is opened.
QString takeInstaller(const QString& workFolder, const QString& downloadFolder)
{
    const QList<InstallerCandidate> candidates =
        installerCandidates(workFolder, System::cpuArchitecture());
    if (candidates.isEmpty()) {
        Debug(Debug::Warning) << "Extract - No installable file found in archive";
        return {};
    }
    logCandidates(candidates);
    const InstallerCandidate& best = candidates.constFirst();
    Debug(Debug::Info) << "Extract - Selected: " << best.name;
    const QString path = downloadFolder + u'/' + best.name;
    QFile::rename(best.path, path);
    return path;
}

void logFailure(int exitCode, const QByteArray& errorOutput)
{
    const QString reason = QString::fromUtf8(errorOutput.trimmed());
    Debug(Debug::Error) << "Extract - Failed (exit code " << exitCode << ")"
                        << (reason.isEmpty() ? QString() : ": "_L1 + reason);
}

} // namespace

void MainWindow::startExtraction(const QString& archivePath, const QString& downloadFolder,
                                 const QString& fileName, bool selfUpdate)
{
    const QString workFolder = downloadFolder + "/.quillmere_extract"_L1;
    QDir().mkpath(workFolder);
    Debug(Debug::Info) << "Extract - Starting: " << fileName << " → " << workFolder;
    showWaitDialog();
    m_waitDialog->setMessage(tr("Extraction en cours..."));

    auto* process = new QProcess(this);
    connect(process, &QProcess::finished, this,
            [this, archivePath, workFolder, downloadFolder, process, selfUpdate](int exitCode) {
                process->deleteLater();
                if (m_isClosed) {
                    return;
                }
                if (m_waitDialog) {
                    m_waitDialog->close();
                }
                if (exitCode != 0) {
                    logFailure(exitCode, process->readAllStandardError());
                    return;
                }
                finishExtraction(archivePath, workFolder, downloadFolder, selfUpdate);
            });
    connect(process, &QProcess::errorOccurred, this, [process](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            Debug(Debug::Error) << "Extract - Cannot start unzip: " << process->errorString();
            process->deleteLater();
        }
    });
    startUnzip(*process, {u"-o"_s, archivePath, u"-d"_s, workFolder});
}

void MainWindow::finishExtraction(const QString& archivePath, const QString& workFolder,
                                  const QString& downloadFolder, bool selfUpdate)
{
    Debug(Debug::Info) << "Extract - Done";
    QFile::remove(archivePath);
    const QString installerPath = takeInstaller(workFolder, downloadFolder);
    QDir(workFolder).removeRecursively();
    if (!installerPath.isEmpty()) {
        launchInstaller(installerPath, selfUpdate);
    }
    action_loadSysData();
}

void MainWindow::launchInstaller(const QString& path, bool selfUpdate)
{
    Debug(Debug::Info) << "Install - Launching: " << path;
    if (selfUpdate) {
        const QString text =
            tr("The new version of ") + BuildInfo::productName() +
            tr(" is ready.\nThe application will close to proceed with the installation.\n\n"
               "Restart now?");
        if (QMessageBox::question(this, tr("Restart?"), text) != QMessageBox::Yes) {
            return;
        }
    }
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
    if (selfUpdate) {
        // Closes the window, but not as the user does: what follows is still done.
        m_isReplaced = true;
        QCoreApplication::quit();
    }
}

void MainWindow::abandonExtractions()
{
    for (QProcess* process : findChildren<QProcess*>(QString(), Qt::FindDirectChildrenOnly)) {
        process->disconnect(this);
        process->kill();
        process->waitForFinished();
    }
}
