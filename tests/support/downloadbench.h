#pragma once

#include "support/heldserver.h"
#include "support/httpserver.h"
#include "support/modalbox.h"
#include "support/samplemachine.h"
#include "support/testline.h"
#include "ui/mainwindow.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>
#include <QUrl>

#include <memory>

class QLabel;
class QPushButton;
class QTableWidget;
class QTableWidgetItem;

/// Waits until @p condition holds, which is looked at after each event: quicker than QTRY_VERIFY,
/// which sleeps in between. False when it does not come to hold within 30 s.
template <typename Condition>
[[nodiscard]] bool comesToHold(const Condition& condition)
{
    QTimer wakeUp;
    wakeUp.start(2);
    const QDeadlineTimer patience(30'000);
    while (!condition()) {
        if (patience.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

/// A sample machine, a web server, and a window whose rows can be downloaded. What the window hands
/// to the desktop is kept instead of opened.
class DownloadBench : public QObject
{
    Q_OBJECT

public:
    struct Entry
    {
        QString name;
        QString version = QStringLiteral("2.0");
        QString fileName = QStringLiteral("tool.dmg");
    };

    /// Where installers come from: server(), or held().
    enum Source
    {
        Prompt,
        Held
    };

    explicit DownloadBench(Source source = Prompt);
    ~DownloadBench() override;

    [[nodiscard]] SampleMachine& machine() { return m_machine; }
    [[nodiscard]] const SampleMachine& machine() const { return m_machine; }
    [[nodiscard]] HttpServer& server() { return m_server; }
    [[nodiscard]] HeldServer& held() { return m_held; }

    /// What the catalogue lists from now on.
    void list(const QList<Entry>& entries);
    /// The catalogue is a text without entries from now on, so that loading it fails at once.
    void listNothing();
    /// What server() answers to a request for the installer @p fileName, as the address spells it.
    void offer(const QString& fileName, const HttpReply& reply);

    /// The "downloadFolder" setting; "~/Downloads" unless set before open().
    void setDownloadFolder(const QString& folder) { m_downloadFolder = folder; }
    /// Where installers come from instead; for an address of another scheme. Before open().
    void setSoftAddress(const QString& address) { m_softAddress = address; }
    [[nodiscard]] QString softAddress() const;
    [[nodiscard]] QString catalogueAddress() const;
    [[nodiscard]] bool isHeld() const { return m_source == Held; }
    /// What create() or open() writes into the settings file.
    [[nodiscard]] QByteArray settings() const;
    /// HOME + "/Downloads", which exists.
    [[nodiscard]] QString downloads() const;
    /// The bytes of the file @p name in downloads().
    [[nodiscard]] QByteArray saved(const QString& name) const;
    /// The names in downloads(), hidden ones too, in order.
    [[nodiscard]] QStringList savedNames() const;

    enum Visibility
    {
        Shown,
        Hidden ///< quicker; all but the painting is the same
    };
    /// Creates a window that has loaded the catalogue.
    void open(Visibility visibility = Shown, TestLine at = {});
    /// Creates a window that has loaded nothing yet.
    void create(Visibility visibility = Shown);
    /// The same with the settings file as it is.
    void restart(Visibility visibility = Shown);
    /// Destroys the window.
    void destroy() { m_window.reset(); }
    [[nodiscard]] MainWindow& window() { return *m_window; }
    [[nodiscard]] QTableWidget* table() const;
    [[nodiscard]] QTableWidgetItem* item(int row, int column) const;
    [[nodiscard]] QLabel* label(int row) const;
    [[nodiscard]] QPushButton* button(int row, const QString& name) const;
    /// Presses "⤓" or "✕": with the mouse, unless the window is hidden.
    void pressDownload(int row, TestLine at = {}) const;
    void pressCancel(int row, TestLine at = {}) const;
    /// What a row shows: "2.0 ⤓ #d4d4d4", "0% ✕ #d4d4d4", or, with a bar that covers that share of
    /// it, "42% ✕ bar 42".
    [[nodiscard]] QString look(int row) const;
    /// The looks of all rows.
    [[nodiscard]] QStringList looks() const;
    /// Waits until the row looks so; false when it takes too long.
    [[nodiscard]] bool waitForLook(int row, const QString& expected) const;

    /// Scans, and waits for the end.
    [[nodiscard]] bool scan();
    /// Waits until no scan is under way; false when it takes too long.
    [[nodiscard]] bool waitForScan() const;
    [[nodiscard]] bool isWaitDialogVisible() const;

    /// What was handed to the desktop, in order.
    [[nodiscard]] QList<QUrl> openedUrls() const { return m_opened; }
    /// The same as paths.
    [[nodiscard]] QStringList opened() const;
    /// The log's lines since the last call that tell of downloads, extractions, launches and starts
    /// of a scan, each without its time. A scan is "scan".
    [[nodiscard]] QStringList takeActivity();

public Q_SLOTS:
    /// Called in the desktop's place.
    void keepOpened(const QUrl& url);

private:
    void setCatalogue(const QByteArray& text);
    void queueReplies();
    void press(int row, const QString& name, TestLine at) const;
    [[nodiscard]] QString background(int row) const;

    SampleMachine m_machine;
    HttpServer m_server;
    HeldServer m_held;
    QByteArray m_catalogue;
    QHash<QString, HttpReply> m_offers;
    Source m_source;
    QString m_downloadFolder = QStringLiteral("~/Downloads");
    QString m_softAddress;
    QList<QUrl> m_opened;
    std::unique_ptr<MainWindow> m_window;
    BoxGuard m_boxGuard;
};
