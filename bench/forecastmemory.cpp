#include "child.h"
#include "companion/fleet/forecast.h"

#include <QCoreApplication>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

/// Prints the peak memory of a forecast: of the catalogues NEW and OLD, for the machines in FLEET.
int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList given = QCoreApplication::arguments();
    QString said;
    QTextStream out(&said);
    QTextStream err(stderr);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const int status = runForecast({u"forecast"_s, given.value(1), u"--published"_s, given.value(2),
                                    u"--machines"_s, given.value(3)},
                                   out, err);
    QTextStream(stdout) << QString::number(processBytes("VmHWM"), 'f', 0) << Qt::endl;
    return status;
}
