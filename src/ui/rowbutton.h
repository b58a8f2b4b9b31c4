#pragma once

#include <QPushButton>

/// A button in a row of a table. Shows by an outline that it has the focus, for which styles tint
/// it or show nothing at all. Scrolls its row into view when the keyboard has brought the focus:
/// after a press of the mouse its place must stay, or the release would miss it.
class RowButton : public QPushButton
{
public:
    using QPushButton::QPushButton;

protected:
    void focusInEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void initStyleOption(QStyleOptionButton* option) const override;
};
