#include "benchwindow.h"

#include "console.h"

#include <QCoreApplication>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace {

/// A window that finds the catalogue of @p server in the settings that it reads.
std::unique_ptr<MainWindow> newWindow(const SampleHome& home, const WebServer& server, int entries)
{
    server.write(u"config/01_MacOS.csv"_s, sampleCatalogue(entries));
    home.configure(server.url());
    return std::make_unique<MainWindow>();
}

} // namespace

BenchWindow::BenchWindow(int entries, int applications)
    : m_machine(applications, entries)
    , m_window(newWindow(m_home, m_server, entries))
    , m_table(m_window->findChild<QTableWidget*>(u"tableWidget"_s))
{
    m_window->show();
    if (!m_window->action_loadWebData() || m_table->rowCount() != entries) {
        fail(u"the catalogue could not be loaded"_s);
    }
    if (applications > 0) {
        scan();
    }
    QCoreApplication::processEvents();
}

void BenchWindow::scan()
{
    const auto* button = m_window->findChild<QPushButton*>(u"LoadButton"_s);
    m_window->action_loadSysData();
    while (!button->isEnabled()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}
