#include "ui/mainwindow.h"
#include "ui_mainwindow.h"

#include "profiler/rowverdict.h"
#include "ui/cataloguecell.h"
#include "ui/columnfitter.h"
#include "ui/plaintext.h"
#include "ui/tablecolumn.h"

#include <QApplication>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace {

QTableWidgetItem* newBlackItem(const QString& text)
{
    auto* item = new QTableWidgetItem(text);
    item->setForeground(QBrush(Qt::black));
    return item;
}

int versionOrder(const Application& application)
{
    return application.isInstall() ? application.versionsMatch() : 0;
}

/// A row by its name and, as a name can be listed more than once, by how many of that name precede
/// it.
struct NamedRow
{
    QString name;
    int rank = -1; ///< -1 for no row
};

/// Where the user is in a table.
struct TablePlace
{
    NamedRow current; ///< the row of the current cell
    int column = 0;
    NamedRow focused; ///< the row whose button has the focus
};

QString nameIn(const QTableWidget& table, int row)
{
    const QTableWidgetItem* item = table.item(row, NameColumn);
    return item ? item->text() : QString();
}

NamedRow namedRow(const QTableWidget& table, int row)
{
    NamedRow named{nameIn(table, row)};
    for (int other = 0; other <= row; ++other) {
        named.rank += nameIn(table, other) == named.name ? 1 : 0;
    }
    return named;
}

/// The row of that name; the last one where there are fewer of it now, -1 where there is none.
int rowOf(const QTableWidget& table, const NamedRow& named)
{
    int found = -1;
    int rank = 0;
    for (int row = 0; row < table.rowCount() && rank <= named.rank; ++row) {
        if (nameIn(table, row) == named.name) {
            found = row;
            ++rank;
        }
    }
    return found;
}

TablePlace placeInTable(const QTableWidget& table, const QWidget* focused)
{
    TablePlace place;
    place.current = namedRow(table, table.currentRow());
    place.column = table.currentColumn();
    if (focused && table.viewport()->isAncestorOf(focused)) {
        const QPoint middle = focused->mapTo(table.viewport(), focused->rect().center());
        place.focused = namedRow(table, table.rowAt(middle.y()));
    }
    return place;
}

void goToPlace(QTableWidget& table, const TablePlace& place)
{
    if (const int row = rowOf(table, place.current); row >= 0) {
        table.setCurrentCell(row, place.column);
    }
    const int row = rowOf(table, place.focused);
    const CatalogueCell* cell = row < 0 ? nullptr : CatalogueCell::in(table, row);
    if (cell && cell->shownButton()) {
        cell->shownButton()->setFocus();
        table.scrollTo(table.model()->index(row, NameColumn));
    }
}

/// Puts one update of every visible window in the place of the update that each widget has posted
/// when it was shown. Those of a filled table's cells, one by one, would make the repaint look at
/// all other cells for each: quadratic, and seconds at some thousand rows.
void mergeUpdates()
{
    QCoreApplication::removePostedEvents(nullptr, QEvent::UpdateLater);
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->isVisible()) {
            window->update();
        }
    }
}

} // namespace

void MainWindow::table_init()
{
    QTableWidget* table = m_ui->tableWidget;
    const TablePlace place = placeInTable(*table, focusWidget());
    if (table->isAncestorOf(focusWidget())) {
        table->setFocus(); // else it would go from row to row as they go, and leave the table
    }
    table_clear();
    m_columns->reset();
    const int rows = int(std::min(m_webAppNames.size(), m_applications.size()));
    if (rows > 0) {
        // All at once: inserting rows one by one into a visible table is quadratic.
        table->setRowCount(rows);
        // While it has no cells, which would be laid out twice: row numbers and scroll bar take
        // their room from the columns.
        table->doItemsLayout();
        table->selectionModel()->setCurrentIndex(table->model()->index(0, NameColumn),
                                                 QItemSelectionModel::NoUpdate);
        m_localVersionItems.reserve(rows);
        for (int row = 0; row < rows; ++row) {
            fillRow(row);
        }
        // Tab reaches the rows' buttons before the one below the table.
        setTabOrder(CatalogueCell::in(*table, rows - 1)->downloadButton(), m_ui->LoadButton);
    }
    table_setColor();
    showDownloads();
    // Else the first repaint would find every cell at the origin and paint them all.
    table->doItemsLayout();
    goToPlace(*table, place);
    mergeUpdates();
}

void MainWindow::fillRow(int row)
{
    const Application& application = m_applications[row];
    QTableWidget* table = m_ui->tableWidget;

    table->setItem(row, NameColumn, newBlackItem(m_webAppNames[row]));

    QTableWidgetItem* localVersion = newBlackItem(QString());
    localVersion->setTextAlignment(Qt::AlignCenter);
    m_localVersionItems.append(localVersion);
    table->setItem(row, LocalVersionColumn, localVersion);

    auto* catalogue = new QTableWidgetItem;
    catalogue->setData(Qt::AccessibleTextRole, application.getWebVersion());
    table->setItem(row, CatalogueColumn, catalogue);
    table->setCellWidget(row, CatalogueColumn, newCatalogueCell(row));
    catalogue->setToolTip(plainToolTip("Filename: "_L1 + application.getFilename() +
                                       "\nRelease Date: "_L1 + application.getReleaseDate()));
}

QWidget* MainWindow::newCatalogueCell(int row)
{
    // A child of the viewport from the start: re-parenting would polish its styles a second time.
    auto* cell = new CatalogueCell({.name = m_webAppNames[row],
                                    .version = m_applications[row].getWebVersion(),
                                    .fileName = m_applications[row].getFilename()},
                                   m_ui->tableWidget->viewport());
    connect(cell->cancelButton(), &QPushButton::clicked, this,
            [this, row] { cancelDownload(row); });
    connect(cell->downloadButton(), &QPushButton::clicked, this,
            [this, row] { startDownload(row); });
    return cell;
}

void MainWindow::table_update()
{
    if (m_profiler.sysData_hasData()) {
        const qsizetype rows = std::min(m_applications.size(), m_localVersionItems.size());
        for (qsizetype row = 0; row < rows; ++row) {
            const Application& application = m_applications[row];
            m_localVersionItems[row]->setText(application.isInstall() ? application.getSysVersion()
                                                                      : QString());
        }
    }
    table_setColor();
    m_ui->tableWidget->show();
}

void MainWindow::table_clear()
{
    m_localVersionItems.clear();
    // Cell by cell, since the view never forgets the address of a cell that goes with its row.
    for (int row = 0; row < m_ui->tableWidget->rowCount(); ++row) {
        if (QWidget* cell = m_ui->tableWidget->cellWidget(row, CatalogueColumn)) {
            cell->hide(); // as it lives on up to the event loop
            m_ui->tableWidget->removeCellWidget(row, CatalogueColumn);
        }
    }
    m_ui->tableWidget->setRowCount(0);
}

void MainWindow::ui_loadColor()
{
    const auto load = [this](const QString& mapKey, const QString& configKey) {
        m_colors.insert(mapKey, QColor::fromString(m_config.getParameter(u"color"_s, configKey)));
    };
    load(QString(), u"base"_s);
    load(u"-1"_s, u"down"_s);
    load(u"0"_s, u"equal"_s);
    load(u"1"_s, u"up"_s);
}

void MainWindow::ui_resetColor()
{
    m_colors.clear();
    ui_loadColor();
    m_config.print();
}

void MainWindow::table_setColor()
{
    const qsizetype rows = std::min(m_webAppNames.size(), m_applications.size());
    for (int row = 0; row < rows; ++row) {
        showVerdict(row);
        const QColor color = verdictColor(row);
        if (const auto download = m_downloads.find(row); download != m_downloads.end()) {
            // A running download colours its row itself, up to its end.
            download->rowColor = color;
        } else {
            table_setRowColor(row, color);
        }
    }
}

void MainWindow::showVerdict(int row)
{
    if (QTableWidgetItem* item = m_ui->tableWidget->item(row, NameColumn)) {
        const Application& application = m_applications[row];
        item->setData(Qt::AccessibleDescriptionRole,
                      rowVerdict(application.isInstall(), versionOrder(application)));
    }
}

QColor MainWindow::verdictColor(int row)
{
    const Application& application = m_applications[row];
    return m_colors[rowColorKey(application.isInstall(), versionOrder(application))];
}

void MainWindow::table_setRowColor(int row, const QColor& color)
{
    for (int column = 0; column < TableColumns; ++column) {
        if (QTableWidgetItem* item = m_ui->tableWidget->item(row, column)) {
            item->setBackground(QBrush(color, Qt::SolidPattern));
        }
    }
}
