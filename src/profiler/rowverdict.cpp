#include "profiler/rowverdict.h"

#include <QCoreApplication>

QString rowColorKey(bool isInstalled, int order)
{
    return isInstalled ? QString::number(order) : QString();
}

QString rowVerdict(bool isInstalled, int order)
{
    if (!isInstalled) {
        return QCoreApplication::translate("MainWindow", "not installed");
    }
    if (order < 0) {
        return QCoreApplication::translate("MainWindow", "update available");
    }
    return order == 0 ? QCoreApplication::translate("MainWindow", "up to date")
                      : QCoreApplication::translate("MainWindow", "newer than the catalogue");
}
