#include "ui/rowcolor.h"

QString rowColorKey(bool isInstalled, int order)
{
    return isInstalled ? QString::number(order) : QString();
}
