#include "app/buildinfo.h"
#include "app/debug.h"
#include "system/system.h"
#include "ui/mainwindow.h"

#include <QApplication>
#include <QSysInfo>

namespace {

void logBanner()
{
    Debug(Debug::Info) << BuildInfo::productName() << " START";
    Debug(Debug::Info) << "Author: " << BuildInfo::authorName();
    Debug(Debug::Info) << "Mail: " << BuildInfo::authorMail();
    Debug(Debug::Info) << "Version: " << BuildInfo::productVersion() << " (Build on "
                       << BuildInfo::buildDate() << ")";
    Debug(Debug::Info) << "Based on Qt " << BuildInfo::qtVersion();
    Debug(Debug::Info) << "CPU Architecture: " << System::cpuArchitecture();
    Debug(Debug::Info) << "OS: " << QSysInfo::prettyProductName();
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    Debug::init();
    logBanner();

    MainWindow window(nullptr);
    window.show();
    // The catalogue first, waiting in nested event loops; the scan then runs in the background.
    window.action_loadWebData();
    window.action_loadSysData();

    if (window.isClosed()) {
        // Closed during the load: exec() has not seen the last window go and would run for ever.
        QMetaObject::invokeMethod(
            &application, [] { QCoreApplication::quit(); }, Qt::QueuedConnection);
    }
    return QApplication::exec();
}
