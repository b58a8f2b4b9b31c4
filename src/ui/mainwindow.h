#pragma once

#include "config/configmanager.h"
#include "profiler/application.h"
#include "profiler/profiler.h"

#include <QColor>
#include <QHash>
#include <QMainWindow>
#include <QNetworkAccessManager>

#include <memory>

class ColumnFitter;
class QNetworkReply;
class QTableWidgetItem;
class WaitDialog;

namespace Ui {
class MainWindow;
}

/// The program's only window, and the owner of all that lives as long as the program.
///
/// A row of the table, a record, a local-version item and a name of the catalogue share one index.
/// While a catalogue load runs, and after a failed one, the table still has rows whose records are
/// gone: whatever takes a row checks that its record exists.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    [[nodiscard]] ConfigManager& config() { return m_config; }
    /// Whether the window has been closed, which is more than hidden: a desktop may hide a program
    /// that goes on.
    [[nodiscard]] bool isClosed() const { return m_isClosed; }

    // Construction, actions and the two data loads: mainwindow.cpp
    void ui_init();
    void ui_connect();
    void ui_shortcut();
    /// Fetches the catalogue and rebuilds records and table. Waits in nested event loops: 32 s at
    /// most, as long again where settings were changed meanwhile, and for the answer to a box.
    /// False when the catalogue lists nothing, which the box has then told the user, and at once
    /// when a load is under way already.
    bool action_loadWebData();

    // Table and colours: mainwindow_table.cpp
    /// Rebuilds all rows.
    void table_init();
    /// Shows the installed versions and colours.
    void table_update();
    void table_clear();
    /// Reads the colours from the settings; shown by the next table_setColor().
    void ui_loadColor();
    void ui_resetColor();
    /// Colours every row by its verdict.
    void table_setColor();
    void table_setRowColor(int row, const QColor& color);

    // Downloads, at most one per row: mainwindow_download.cpp
    /// Fetches the row's installer, after a question where it is this program's own. Does nothing
    /// while the row downloads.
    void startDownload(int row);
    void cancelDownload(int row);
    /// Shows the percentage and paints the bar; @p total is 0 or less when unknown.
    void onDownloadProgress(int row, qint64 received, qint64 total);
    /// Saves the file and hands it on, or tells the user why it cannot; the row is idle afterwards.
    /// During a catalogue load it waits for that load's end.
    void onDownloadFinished(int row);

    // Extraction and launch: mainwindow_install.cpp
    /// Opens the item at @p path with the desktop's handler; when it replaces this program, asks
    /// first and quits afterwards. Whether it could be opened is not told.
    void launchInstaller(const QString& path, bool selfUpdate);

public Q_SLOTS:
    /// Starts a scan in the background, behind the wait dialog.
    void action_loadSysData();
    /// A scan has ended: refreshes records and table, unless the next scan is under way already.
    void onSysDataLoaded();
    /// Runs the preferences dialog; when it is accepted, reads the settings again and reloads.
    void openPreferences();
    void openLogFile();
    void openAbout();

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    /// A running download: what it was started with, what its row shows else, and how far it is.
    struct Download
    {
        QNetworkReply* reply = nullptr; ///< owned by m_network
        QString name;                   ///< in the catalogue
        QString fileName;
        QString webVersion; ///< behind the percentage
        QColor rowColor;    ///< behind the bar
        bool isOwnUpdate = false;
        qint64 received = 0;
        qint64 total = 0;
    };

    bool loadWebData();
    /// Loads catalogue and scan with the settings as they are now; false when the former failed.
    bool reloadEverything();
    void reportUnreachableCatalogue();
    void showWaitDialog();
    void pauseLoadButton();
    void resumeLoadButton();

    [[nodiscard]] QWidget* newCatalogueCell(int row);
    void fillRow(int row);
    /// Says the verdict of a row's record to screen readers.
    void showVerdict(int row);
    /// The colour that tells the same.
    [[nodiscard]] QColor verdictColor(int row);
    [[nodiscard]] bool hasRecord(int row) const { return row >= 0 && row < m_applications.size(); }

    [[nodiscard]] bool isRestartAccepted();
    void connectDownload(QNetworkReply* reply);
    /// The row that @p reply downloads for; -1 when it has been cancelled.
    [[nodiscard]] int downloadRow(const QNetworkReply* reply) const;
    void settleDownload(const QNetworkReply* reply);
    void saveDownload(const Download& download);
    static void abortDownload(const Download& download);
    void paintProgress(int row, double progress);
    void restoreRow(int row, const Download& download);
    /// Gives each download the row that bears its name now; aborts those whose name is gone.
    void moveDownloads();
    void showDownloads();
    /// Takes up the downloads that ended during a catalogue load.
    void settleFinishedDownloads();
    void abandonDownloads();

    void startExtraction(const QString& archivePath, const QString& downloadFolder,
                         const QString& fileName, bool selfUpdate);
    void finishExtraction(const QString& archivePath, const QString& workFolder,
                          const QString& downloadFolder, bool selfUpdate);
    void abandonExtractions();

    ConfigManager m_config;
    std::unique_ptr<Ui::MainWindow> m_ui;
    Profiler m_profiler;
    QHash<QString, QColor> m_colors; ///< by rowColorKey()
    QStringList m_webAppNames;
    QList<Application> m_applications;
    QList<QTableWidgetItem*> m_localVersionItems; ///< column 1, owned by the table
    ColumnFitter* m_columns = nullptr;            ///< owned by the table
    WaitDialog* m_waitDialog = nullptr;           ///< created when first needed
    QNetworkAccessManager m_network;
    QHash<int, Download> m_downloads; ///< by row
    bool m_isLoadingWebData = false;
    bool m_isReloadPending = false; ///< after the load under way, or the next one
    bool m_isClosed = false;        ///< nothing may pop up any more
    bool m_isReplaced = false;      ///< an update of this program is opened, which has it quit
    bool m_keepsFocus = false;      ///< while the widget that has it is disabled
};
