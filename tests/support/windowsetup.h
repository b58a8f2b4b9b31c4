#pragma once

#include "ui/mainwindow.h"

#include "support/httpserver.h"
#include "support/modalbox.h"
#include "support/samplemachine.h"
#include "support/settingsfile.h"
#include "support/testline.h"

#include <QAction>
#include <QPushButton>
#include <QTableWidget>

#include <memory>

class WaitDialog;

/// One line of the catalogue.
struct Entry
{
    QByteArray name;
    QByteArray version = "1.0";
    QByteArray releaseDate = "2026-09-21";
    QByteArray filename = "file.zip";
};

/// A main window and all it depends on: a sample machine with settings that name a server of this
/// process. A BoxGuard watches.
class WindowSetup
{
public:
    WindowSetup();

    /// Writes the settings file, for a window that is created later; the server's address goes into
    /// it in any case.
    void configure(Settings settings) const;
    /// What the server answers from now on.
    void offer(const QList<Entry>& entries);
    void offerNothing() { offer({}); }
    void answer(const HttpReply& reply);
    [[nodiscard]] static QByteArray catalogue(const QList<Entry>& entries);

    void install(const QString& name, const QByteArray& version);
    void uninstall(const QString& name) { machine.uninstall(name); }
    /// Scans wait from now on until releaseScans().
    void holdScans() { machine.holdScans(); }
    void releaseScans() const { machine.releaseScans(); }
    /// How many scans have run their command.
    [[nodiscard]] qsizetype scans() const;
    /// Scans and waits for the end; false when it does not come.
    [[nodiscard]] bool scan() const;

    /// Creates the window, not yet shown.
    MainWindow& create();
    /// Creates the window, and shows and activates it.
    MainWindow& open(TestLine at = {});
    void destroyWindow() { m_window.reset(); }
    [[nodiscard]] MainWindow& window() const { return *m_window; }

    template <typename T>
    [[nodiscard]] T* child(const QString& name) const
    {
        T* found = m_window->findChild<T*>(name);
        if (!found) {
            qFatal("no child %s", qUtf8Printable(name));
        }
        return found;
    }
    [[nodiscard]] QAction* action(const QString& name) const { return child<QAction>(name); }
    [[nodiscard]] QPushButton* loadButton() const;
    [[nodiscard]] QTableWidget* table() const;
    [[nodiscard]] QString text(int row, int column) const;
    /// The texts of one column, from the top.
    [[nodiscard]] QStringList texts(int column) const;
    /// Null before the first scan.
    [[nodiscard]] WaitDialog* waitDialog() const;

    SampleMachine machine;
    const PrivateHome& home = machine.home();
    HttpServer server;

private:
    std::unique_ptr<MainWindow> m_window;
    BoxGuard m_boxGuard;
};
