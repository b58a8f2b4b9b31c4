#pragma once

#include "sampledata.h"
#include "samplehome.h"
#include "ui/mainwindow.h"
#include "webserver.h"

#include <QTableWidget>

#include <memory>

/// A shown window whose catalogue has been loaded, with the server and the machine that it asks.
class BenchWindow
{
public:
    /// @p applications are installed, and scanned once.
    explicit BenchWindow(int entries, int applications = 0);

    [[nodiscard]] MainWindow& window() { return *m_window; }
    [[nodiscard]] QTableWidget& table() { return *m_table; }
    [[nodiscard]] SampleHome& home() { return m_home; }
    [[nodiscard]] WebServer& server() { return m_server; }

private:
    void scan();

    SampleHome m_home;
    WebServer m_server;
    BenchMachine m_machine;
    std::unique_ptr<MainWindow> m_window;
    QTableWidget* m_table;
};
