#include "ui/columnfitter.h"

#include <QEvent>
#include <QHeaderView>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTableView>

ColumnFitter::ColumnFitter(QTableView& table, const ColumnWidths& widths)
    : QObject(&table)
    , m_table(table)
    , m_widths(widths)
{
    reset();
    table.viewport()->installEventFilter(this);
    connect(table.horizontalHeader(), &QHeaderView::sectionResized, this, [this](int column) {
        if (!m_isSetting) {
            m_isFirstDragged = m_isFirstDragged || column == 0;
            fit();
        }
    });
    // Nothing shows an offset, and no bar leads back from one.
    QScrollBar* bar = table.horizontalScrollBar();
    connect(bar, &QScrollBar::rangeChanged, this, [bar] { bar->setRange(0, 0); });
}

void ColumnFitter::reset()
{
    m_isFirstDragged = false;
    for (int column = 1; column < int(m_widths.size()); ++column) {
        setWidth(column, m_widths[std::size_t(column)]);
    }
    fit();
}

bool ColumnFitter::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize || event->type() == QEvent::Show) {
        fit();
    }
    return QObject::eventFilter(watched, event);
}

void ColumnFitter::fit()
{
    if (m_isFirstDragged) {
        return;
    }
    // Before it is shown, the viewport has no width of its own.
    const ColumnWidths set{m_widths[0], m_table.columnWidth(1), m_table.columnWidth(2)};
    setWidth(0, m_table.isVisible() ? firstColumnWidth(m_table.viewport()->width(), set) : set[0]);
}

void ColumnFitter::setWidth(int column, int width)
{
    const QScopedValueRollback setting(m_isSetting, true);
    m_table.setColumnWidth(column, width);
}
