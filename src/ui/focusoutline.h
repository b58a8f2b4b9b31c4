#pragma once

class QPainter;
class QRect;

/// Paints just inside @p place that the keyboard is there. Black, as the texts are, so it is seen
/// wherever they are.
void paintFocusOutline(QPainter& painter, const QRect& place);
