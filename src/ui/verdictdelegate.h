#pragma once

#include <QStyledItemDelegate>

/// Paints a cell in its own colour alone, which is the row's verdict: no style tints it for being
/// current, selected or under the mouse. An outline shows the cell that has the keyboard.
class VerdictDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};
