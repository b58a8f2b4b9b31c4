#pragma once

#include <QLabel>

/// A label of one line that shows a text too long for it from its beginning, with an ellipsis;
/// text() stays whole. A QLabel would cut off both ends of a centred text.
class VersionLabel : public QLabel
{
public:
    using QLabel::QLabel;

protected:
    void paintEvent(QPaintEvent* event) override;
};
