#pragma once

#include <QPushButton>

/// A button in a row of a table. Shows by an outline that it has the focus, which its style sheet
/// would hide, and scrolls its row into view when the keyboard has brought the focus: after the
/// mouse's press its place must stay, or the release would miss it.
class RowButton : public QPushButton
{
public:
    using QPushButton::QPushButton;

protected:
    void focusInEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};
