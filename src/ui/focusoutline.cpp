#include "ui/focusoutline.h"

#include <QPainter>

void paintFocusOutline(QPainter& painter, const QRect& place)
{
    const int width = 2;
    painter.save();
    painter.setClipRegion(QRegion(place) - place.adjusted(width, width, -width, -width));
    painter.fillRect(place, Qt::black);
    painter.restore();
}
