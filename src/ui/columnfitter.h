#pragma once

#include "ui/columnwidths.h"

#include <QObject>

class QTableView;

/// Keeps a table's columns inside its viewport, whose width the row numbers and the scroll bar
/// change: the first column gives way. A column that the user drags stays as it was dragged, up to
/// the next reset(). The table never scrolls sideways.
class ColumnFitter : public QObject
{
public:
    /// Lives as a child of @p table, which has three columns.
    ColumnFitter(QTableView& table, const ColumnWidths& widths);

    /// Gives all columns their widths, those that the user dragged too.
    void reset();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void fit();
    void setWidth(int column, int width);

    QTableView& m_table;
    ColumnWidths m_widths;
    bool m_isFirstDragged = false;
    bool m_isSetting = false;
};
