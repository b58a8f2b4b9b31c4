#include "ui/verdictdelegate.h"

#include "ui/focusoutline.h"

void VerdictDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const
{
    QStyleOptionViewItem plain = option;
    plain.state &= ~(QStyle::State_HasFocus | QStyle::State_Selected | QStyle::State_MouseOver);
    QStyledItemDelegate::paint(painter, plain, index);
    if (option.state.testFlag(QStyle::State_HasFocus)) {
        paintFocusOutline(*painter, option.rect);
    }
}
