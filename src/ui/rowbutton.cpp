#include "ui/rowbutton.h"

#include "ui/focusoutline.h"

#include <QFocusEvent>
#include <QPainter>
#include <QStyleOptionButton>
#include <QTableView>

namespace {

void showRowOf(const QWidget& button)
{
    for (QWidget* above = button.parentWidget(); above; above = above->parentWidget()) {
        if (auto* table = qobject_cast<QTableView*>(above)) {
            table->scrollTo(
                table->indexAt(button.mapTo(table->viewport(), button.rect().center())));
            return;
        }
    }
}

} // namespace

void RowButton::focusInEvent(QFocusEvent* event)
{
    QPushButton::focusInEvent(event);
    if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason) {
        showRowOf(*this);
    }
}

void RowButton::paintEvent(QPaintEvent* event)
{
    QPushButton::paintEvent(event);
    if (hasFocus()) {
        QPainter painter(this);
        paintFocusOutline(painter, rect());
    }
}

void RowButton::initStyleOption(QStyleOptionButton* option) const
{
    QPushButton::initStyleOption(option);
    option->state &= ~QStyle::State_HasFocus;
}
