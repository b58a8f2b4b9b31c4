#include "ui/versionlabel.h"

#include <QPainter>
#include <QStyle>

void VersionLabel::paintEvent(QPaintEvent* event)
{
    const QRect place = contentsRect();
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, place.width());
    if (shown == text()) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    style()->drawItemText(&painter, place, int(alignment()), palette(), isEnabled(), shown,
                          foregroundRole());
}
