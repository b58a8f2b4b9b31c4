#include "ui/mainwindow.h"
#include "ui_mainwindow.h"

#include "app/buildinfo.h"
#include "app/debug.h"
#include "ui/aboutdialog.h"
#include "ui/columnfitter.h"
#include "ui/preferencedialog.h"
#include "ui/verdictdelegate.h"
#include "ui/waitdialog.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QMessageBox>
#include <QScopedValueRollback>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {

/// What @p take makes of the four settings that lead to the catalogue and its installers.
template <typename Take>
auto withWebSettings(const ConfigManager& config, const Take& take)
{
    const QString group = u"webconfig"_s;
    return take(config.getParameter(group, u"baseURL"_s), config.getParameter(group, u"csvPath"_s),
                config.getParameter(group, u"csvSeparator"_s),
                config.getParameter(group, u"softPath"_s));
}

} // namespace

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent)
    , m_config(u"config.xml"_s, u":/resources/default-config.xml"_s)
    , m_ui(std::make_unique<Ui::MainWindow>())
    , m_profiler(withWebSettings(m_config, [](const auto&... texts) { return Profiler(texts...); }))
{
    const QString downloadFolder = m_config.getParameter(u"localconfig"_s, u"downloadFolder"_s);
    Debug(Debug::Info) << "Config - Base URL: "
                       << m_config.getParameter(u"webconfig"_s, u"baseURL"_s);
    Debug(Debug::Info) << "Config - CSV: " << m_config.getParameter(u"webconfig"_s, u"csvPath"_s);
    Debug(Debug::Info) << "Config - Download folder: "
                       << (downloadFolder.isEmpty() ? u"(default: ~/Downloads)"_s : downloadFolder);
    ui_init();
}

MainWindow::~MainWindow()
{
    // While all members are there: these would still report to the window when they are destroyed.
    abandonExtractions();
    abandonDownloads();
}

void MainWindow::ui_init()
{
    m_ui->setupUi(this);
    setWindowTitle(BuildInfo::productName() + " v"_L1 + BuildInfo::productVersion());
    setFixedWidth(630);
    m_columns = new ColumnFitter(*m_ui->tableWidget, {211, 174, 174});
    m_ui->tableWidget->setItemDelegate(new VerdictDelegate(m_ui->tableWidget));
    // Tab leaves the table for the buttons of its rows.
    m_ui->tableWidget->setTabKeyNavigation(false);
    m_ui->tableWidget->setAccessibleName(tr("Applications"));
    m_ui->tableWidget->setFocus();
    ui_loadColor();
    ui_connect();
    ui_shortcut();
}

void MainWindow::ui_connect()
{
    connect(m_ui->actionAbout, &QAction::triggered, this, &MainWindow::openAbout);
    connect(m_ui->actionPreferences, &QAction::triggered, this, &MainWindow::openPreferences);
    connect(m_ui->actionReloadWebData, &QAction::triggered, this, &MainWindow::action_loadWebData);
    connect(m_ui->actionReloadSystemData, &QAction::triggered, this,
            &MainWindow::action_loadSysData);
    connect(m_ui->actionOpenLog, &QAction::triggered, this, &MainWindow::openLogFile);
    connect(m_ui->LoadButton, &QPushButton::clicked, this, &MainWindow::action_loadSysData);
    connect(&m_profiler, &Profiler::workFinished, this, &MainWindow::onSysDataLoaded);
}

void MainWindow::ui_shortcut()
{
    m_ui->actionReloadWebData->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R));
    m_ui->actionReloadSystemData->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_S));
}

bool MainWindow::action_loadWebData()
{
    // The load waits in nested event loops in which every action is live.
    if (m_isLoadingWebData) {
        return false;
    }
    const bool isLoaded = loadWebData();
    settleFinishedDownloads();
    if (m_isReloadPending && !m_isClosed) {
        // What this load yielded belongs to settings that have been changed since.
        m_isReloadPending = false;
        return reloadEverything();
    }
    if (!isLoaded && !m_isClosed) {
        reportUnreachableCatalogue();
    }
    return isLoaded;
}

bool MainWindow::reloadEverything()
{
    withWebSettings(m_config,
                    [this](const auto&... texts) { m_profiler.webData_setConfig(texts...); });
    const bool isLoaded = action_loadWebData();
    action_loadSysData();
    return isLoaded;
}

bool MainWindow::loadWebData()
{
    const QScopedValueRollback loading(m_isLoadingWebData, true);
    m_localVersionItems.clear();
    m_applications.clear();
    m_webAppNames.clear();
    m_profiler.webData_update();
    if (m_isClosed) {
        return false;
    }
    m_webAppNames = m_profiler.getWebAppList();
    if (m_webAppNames.isEmpty()) {
        return false;
    }
    for (const QString& name : std::as_const(m_webAppNames)) {
        m_applications.append(Application(name, &m_profiler));
    }
    moveDownloads();
    table_init();
    table_update();
    return true;
}

void MainWindow::reportUnreachableCatalogue()
{
    QString message = tr("Ressources internet inaccessibles");
    if (const QString error = m_profiler.webData_lastError(); !error.isEmpty()) {
        message += "\n\n"_L1 + error;
    }
    QMessageBox::critical(this, tr("File Error"), message, QMessageBox::Ok);
}

void MainWindow::action_loadSysData()
{
    if (m_isClosed && !m_isReplaced) {
        return;
    }
    pauseLoadButton();
    if (!m_isClosed) {
        showWaitDialog();
    }
    m_profiler.sysData_update_thread();
}

void MainWindow::pauseLoadButton()
{
    // It keeps the focus that it may have: to go on with it is the user's business.
    const QScopedValueRollback keeping(m_keepsFocus, true);
    m_ui->LoadButton->setEnabled(false);
}

void MainWindow::resumeLoadButton()
{
    m_ui->LoadButton->setEnabled(true);
    if (focusWidget() == m_ui->LoadButton) {
        m_ui->LoadButton->setFocus(); // for the application, which passes over disabled widgets
    }
}

bool MainWindow::focusNextPrevChild(bool next)
{
    return m_keepsFocus || QMainWindow::focusNextPrevChild(next);
}

void MainWindow::showWaitDialog()
{
    if (!m_waitDialog) {
        m_waitDialog = new WaitDialog(this);
    }
    m_waitDialog->show();
}

void MainWindow::onSysDataLoaded()
{
    if (m_profiler.sysData_isScanning()) {
        return; // the end of an earlier scan, delivered late
    }
    for (Application& application : m_applications) {
        application.update();
    }
    table_update();
    resumeLoadButton();
    if (m_waitDialog) {
        m_waitDialog->close();
    }
}

void MainWindow::openPreferences()
{
    PreferenceDialog dialog(m_config, this);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    ui_resetColor();
    if (m_isLoadingWebData || m_isClosed) {
        m_isReloadPending = true;
    } else {
        reloadEverything();
    }
}

void MainWindow::openAbout()
{
    aboutDialog dialog(this);
    dialog.exec();
}

void MainWindow::openLogFile()
{
    if (const QString path = Debug::logFilePath(); !path.isEmpty()) {
        QDesktopServices::openUrl(QUrl::fromLocalFile(path));
    }
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    QMainWindow::closeEvent(event);
    m_isClosed = event->isAccepted();
    if (m_isClosed) {
        m_profiler.webData_cancel();
    }
}

void MainWindow::showEvent(QShowEvent* event)
{
    m_isClosed = false;
    QMainWindow::showEvent(event);
    settleFinishedDownloads();
}
