#pragma once

#include "config/configmanager.h"
#include "profiler/application.h"
#include "profiler/profiler.h"

#include <QColor>
#include <QHash>
#include <QMainWindow>
#include <QNetworkAccessManager>

#include <memory>

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

    // Construction, actions and the two data loads: mainwindow.cpp
    void ui_init();
    void ui_connect();
    void ui_shortcut();
    /// Fetches the catalogue and rebuilds records and table; waits in nested event loops, 32 s at
    /// most. False when the catalogue lists nothing, which a box has then told the user, and at
    /// once when a load is under way already.
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

public Q_SLOTS:
    /// Starts a scan in the background, behind the wait dialog.
    void action_loadSysData();
    /// The scan has ended: refreshes records and table.
    void onSysDataLoaded();
    void openLogFile();

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void reportUnreachableCatalogue();
    void showWaitDialog();

    [[nodiscard]] QWidget* newCatalogueCell(int row);
    void fillRow(int row);
    [[nodiscard]] bool hasRecord(int row) const { return row >= 0 && row < m_applications.size(); }

    ConfigManager m_config;
    std::unique_ptr<Ui::MainWindow> m_ui;
    Profiler m_profiler;
    QHash<QString, QColor> m_colors; ///< by rowColorKey()
    QStringList m_webAppNames;
    QList<Application> m_applications;
    QList<QTableWidgetItem*> m_localVersionItems; ///< column 1, owned by the table
    WaitDialog* m_waitDialog = nullptr;           ///< created when first needed
    QNetworkAccessManager m_network;
    bool m_isLoadingWebData = false;
    bool m_isClosed = false; ///< by the user; nothing may pop up any more
};
