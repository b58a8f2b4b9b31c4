#include "ui/mainwindow.h"
#include "ui_mainwindow.h"

#include "app/buildinfo.h"
#include "app/debug.h"
#include "install/downloadtarget.h"
#include "install/ownupdate.h"
#include "ui/cataloguecell.h"
#include "ui/downloadprogress.h"
#include "ui/plaintext.h"
#include "ui/tablecolumn.h"
#include "web/transfer.h"

#include <QFile>
#include <QLinearGradient>
#include <QMessageBox>
#include <QNetworkReply>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QColor progressColor(127, 214, 127);

/// Moves the body into the file piece by piece, so that no second copy of it is held. Whether all
/// of it could be written is deliberately not checked.
void writeBody(QNetworkReply& reply, QFile& file)
{
    std::array<char, 262'144> piece;
    for (qint64 size = 0; (size = reply.read(piece.data(), piece.size())) > 0;) {
        file.write(piece.data(), size);
    }
}

} // namespace

void MainWindow::startDownload(int row)
{
    if (m_downloads.contains(row) || !hasRecord(row)) {
        return;
    }
    Download download;
    download.name = m_applications[row].getName();
    download.isOwnUpdate = isOwnUpdate(download.name);
    if (download.isOwnUpdate && !isRestartAccepted()) {
        return;
    }
    // The box has waited in an event loop in which the table can have changed.
    if (m_downloads.contains(row) || !hasRecord(row) ||
        m_applications[row].getName() != download.name) {
        return;
    }
    const Application& application = m_applications[row];
    const QUrl url(application.getUrlToFile());
    Debug(Debug::Info) << "Download - '" << download.name << "' → " << url.toString();
    download.fileName = application.getFilename();
    download.webVersion = application.getWebVersion();
    if (const QTableWidgetItem* item = m_ui->tableWidget->item(row, NameColumn)) {
        download.rowColor = item->background().color();
    }
    download.reply = m_network.get(QNetworkRequest(url));
    connectDownload(download.reply);
    m_downloads.insert(row, download);
    if (CatalogueCell* cell = CatalogueCell::in(*m_ui->tableWidget, row)) {
        cell->showDownload(u"0%"_s);
    }
}

bool MainWindow::isRestartAccepted()
{
    const QString text = tr("Installing a new version of ") + BuildInfo::productName() +
                         tr(" requires restarting the application.\n\nDo you want to continue?");
    return QMessageBox::warning(this, tr("Restart required"), text,
                                QMessageBox::Ok | QMessageBox::Cancel) == QMessageBox::Ok;
}

void MainWindow::connectDownload(QNetworkReply* reply)
{
    // The reply and not the row: a rebuilt table gives the download another row.
    connect(reply, &QNetworkReply::downloadProgress, this,
            [this, reply](qint64 received, qint64 total) {
                if (const int row = downloadRow(reply); row >= 0) {
                    onDownloadProgress(row, received, total);
                }
            });
    connect(reply, &QNetworkReply::finished, this, [this, reply] { settleDownload(reply); });
}

void MainWindow::settleDownload(const QNetworkReply* reply)
{
    if (const int row = downloadRow(reply); row >= 0) {
        onDownloadFinished(row);
    }
}

int MainWindow::downloadRow(const QNetworkReply* reply) const
{
    const auto download = std::find_if(m_downloads.cbegin(), m_downloads.cend(),
                                       [reply](const Download& d) { return d.reply == reply; });
    return download == m_downloads.cend() ? -1 : download.key();
}

void MainWindow::cancelDownload(int row)
{
    if (!m_downloads.contains(row)) {
        return;
    }
    // Out of the hash before abort(), because abort() emits finished() at once.
    const Download download = m_downloads.take(row);
    abortDownload(download);
    restoreRow(row, download);
}

void MainWindow::abortDownload(const Download& download)
{
    download.reply->abort();
    download.reply->deleteLater();
}

void MainWindow::onDownloadProgress(int row, qint64 received, qint64 total)
{
    if (const auto download = m_downloads.find(row); download != m_downloads.end()) {
        download->received = received;
        download->total = total;
    }
    const qint64 percentage = downloadPercentage(received, total);
    if (CatalogueCell* cell = CatalogueCell::in(*m_ui->tableWidget, row)) {
        cell->setText(QString::number(percentage) + u'%');
    }
    paintProgress(row, double(percentage) / 100.0);
}

void MainWindow::paintProgress(int row, double progress)
{
    const QTableWidget* table = m_ui->tableWidget;
    int rowWidth = 0;
    for (int column = 0; column < TableColumns; ++column) {
        rowWidth += table->columnWidth(column);
    }
    int left = 0;
    for (int column = 0; column < TableColumns; ++column) {
        const int width = table->columnWidth(column);
        const ColumnSpan span{double(left) / rowWidth, double(left + width) / rowWidth};
        left += width;
        QLinearGradient gradient(0, 0, width, 0);
        gradient.setStops(progressStops(progress, span, progressColor, m_colors[QString()]));
        if (QTableWidgetItem* item = table->item(row, column)) {
            item->setBackground(QBrush(gradient));
        }
    }
}

void MainWindow::onDownloadFinished(int row)
{
    // During a catalogue load the records are gone: it is settled when the load has ended.
    if (m_isLoadingWebData || m_isClosed || !m_downloads.contains(row)) {
        return;
    }
    const Download download = m_downloads.take(row);
    if (const std::optional<QString> error = transferError(*download.reply)) {
        Debug(Debug::Error) << "Download - Error: " << *error;
        warnPlainly(this, tr("Download Error"), *error);
    } else {
        saveDownload(download);
    }
    download.reply->deleteLater();
    restoreRow(row, download);
}

void MainWindow::saveDownload(const Download& download)
{
    const QString folder =
        downloadFolderPath(m_config.getParameter(u"localconfig"_s, u"downloadFolder"_s));
    const QString path = folder + u'/' + download.fileName;
    QFile file(path);
    if (!staysInFolder(download.fileName) || !file.open(QIODevice::WriteOnly)) {
        warnPlainly(this, tr("File Error"), tr("Cannot write to: ") + path);
        return;
    }
    writeBody(*download.reply, file);
    file.close();
    Debug(Debug::Info) << "Download - Saved: " << path;

    if (isArchive(download.fileName)) {
        startExtraction(path, folder, download.fileName, download.isOwnUpdate);
    } else {
        launchInstaller(path, download.isOwnUpdate);
        action_loadSysData();
    }
}

void MainWindow::restoreRow(int row, const Download& download)
{
    // A box that waited in an event loop may have let the row start anew.
    if (m_downloads.contains(row)) {
        return;
    }
    const bool isKnown = hasRecord(row);
    if (CatalogueCell* cell = CatalogueCell::in(*m_ui->tableWidget, row)) {
        cell->showIdle(isKnown ? m_applications[row].getWebVersion() : download.webVersion);
    }
    if (isKnown) {
        showVerdict(row);
    }
    table_setRowColor(row, isKnown ? verdictColor(row) : download.rowColor);
}

void MainWindow::moveDownloads()
{
    const QHash<int, Download> former = std::exchange(m_downloads, {});
    QList<int> formerRows = former.keys();
    std::sort(formerRows.begin(), formerRows.end());
    for (const int formerRow : std::as_const(formerRows)) {
        Download download = former[formerRow];
        qsizetype row = m_webAppNames.indexOf(download.name);
        while (row >= 0 && m_downloads.contains(int(row))) {
            row = m_webAppNames.indexOf(download.name, row + 1); // a name can be listed twice
        }
        if (row >= 0) {
            download.webVersion = m_applications[row].getWebVersion();
            m_downloads.insert(int(row), download);
        } else {
            Debug(Debug::Info) << "Download - '" << download.name
                               << "' → aborted, no longer in the catalogue";
            abortDownload(download);
        }
    }
}

void MainWindow::showDownloads()
{
    for (auto download = m_downloads.cbegin(); download != m_downloads.cend(); ++download) {
        if (CatalogueCell* cell = CatalogueCell::in(*m_ui->tableWidget, download.key())) {
            cell->showDownload(u"0%"_s);
        }
        onDownloadProgress(download.key(), download->received, download->total);
    }
}

void MainWindow::settleFinishedDownloads()
{
    for (const Download& download : std::as_const(m_downloads)) {
        if (download.reply->isFinished()) {
            // By the event loop, as its end may open a box.
            QMetaObject::invokeMethod(
                download.reply, [this, reply = download.reply] { settleDownload(reply); },
                Qt::QueuedConnection);
        }
    }
}

void MainWindow::abandonDownloads()
{
    const QHash<int, Download> downloads = std::exchange(m_downloads, {});
    for (const Download& download : downloads) {
        download.reply->disconnect(this);
        download.reply->abort();
    }
}
