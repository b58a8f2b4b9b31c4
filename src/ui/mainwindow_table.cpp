#include "ui/mainwindow.h"
#include "ui_mainwindow.h"

#include "profiler/rowverdict.h"
#include "ui/columnfitter.h"
#include "ui/plaintext.h"
#include "ui/rowbutton.h"
#include "ui/versionlabel.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString cellStyleSheet =
    u"QLabel { color: black; }"
    "QPushButton { color: black; background-color: #d0d0d0; border: 1px solid #a0a0a0; "
    "border-radius: 3px; }"
    "QPushButton:hover { background-color: #c0c0c0; }"
    "QPushButton:pressed { background-color: #b0b0b0; }"
    "QPushButton#cancelBtn { color: red; }"_s;

QPushButton* newRowButton(const QString& name, const QString& text, const QString& toolTip,
                          QWidget* cell)
{
    auto* button = new RowButton(text, cell);
    button->setObjectName(name);
    button->setFixedSize(24, 24);
    // Markup can stand behind its first line alone, where Qt does not look for any.
    button->setToolTip(toolTip);
    return button;
}

QTableWidgetItem* newBlackItem(const QString& text)
{
    auto* item = new QTableWidgetItem(text);
    item->setForeground(QBrush(Qt::black));
    return item;
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
    const QTableWidgetItem* item = table.item(row, 0);
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
    for (const QString& name : {u"downloadBtn"_s, u"cancelBtn"_s}) {
        auto* button = row < 0 ? nullptr : table.cellWidget(row, 2)->findChild<QPushButton*>(name);
        if (button && !button->isHidden()) {
            button->setFocus();
            table.scrollTo(table.model()->index(row, 0));
        }
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
        table->selectionModel()->setCurrentIndex(table->model()->index(0, 0),
                                                 QItemSelectionModel::NoUpdate);
        m_localVersionItems.reserve(rows);
        for (int row = 0; row < rows; ++row) {
            fillRow(row);
        }
        // Tab reaches the rows' buttons before the one below the table.
        setTabOrder(table->cellWidget(rows - 1, 2)->findChild<QPushButton*>(u"downloadBtn"_s),
                    m_ui->LoadButton);
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

    table->setItem(row, 0, newBlackItem(m_webAppNames[row]));

    QTableWidgetItem* localVersion = newBlackItem(QString());
    localVersion->setTextAlignment(Qt::AlignCenter);
    m_localVersionItems.append(localVersion);
    table->setItem(row, 1, localVersion);

    auto* catalogue = new QTableWidgetItem;
    catalogue->setData(Qt::AccessibleTextRole, application.getWebVersion());
    table->setItem(row, 2, catalogue);
    table->setCellWidget(row, 2, newCatalogueCell(row));
    catalogue->setToolTip(plainToolTip("Filename: "_L1 + application.getFilename() +
                                       "\nRelease Date: "_L1 + application.getReleaseDate()));
}

QWidget* MainWindow::newCatalogueCell(int row)
{
    const Application& application = m_applications[row];
    // A child of the viewport from the start: re-parenting would polish its styles a second time.
    auto* cell = new QWidget(m_ui->tableWidget->viewport());
    cell->setStyleSheet(cellStyleSheet);
    auto* layout = new QHBoxLayout(cell);
    layout->setContentsMargins(4, 0, 4, 0);
    layout->setSpacing(4);

    auto* version = new VersionLabel(application.getWebVersion(), cell);
    version->setTextFormat(Qt::PlainText); // a version is not markup
    version->setAlignment(Qt::AlignCenter);
    layout->addWidget(version, 1);

    auto* cancel = newRowButton(u"cancelBtn"_s, u"✕"_s, tr("Cancel download"), cell);
    cancel->setAccessibleName(tr("Cancel download of %1").arg(m_webAppNames[row]));
    cancel->hide();
    connect(cancel, &QPushButton::clicked, this, [this, row] { cancelDownload(row); });
    layout->addWidget(cancel, 0);

    auto* download = newRowButton(u"downloadBtn"_s, u"⤓"_s,
                                  tr("Download & install:\n") + application.getFilename(), cell);
    download->setAccessibleName(tr("Download %1").arg(m_webAppNames[row]));
    connect(download, &QPushButton::clicked, this, [this, row] { startDownload(row); });
    layout->addWidget(download, 0);
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
        if (QWidget* cell = m_ui->tableWidget->cellWidget(row, 2)) {
            cell->hide(); // as it lives on up to the event loop
            m_ui->tableWidget->removeCellWidget(row, 2);
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
        const QColor color = showVerdict(row);
        if (const auto download = m_downloads.find(row); download != m_downloads.end()) {
            // A running download colours its row itself, up to its end.
            download->rowColor = color;
        } else {
            table_setRowColor(row, color);
        }
    }
}

QColor MainWindow::showVerdict(int row)
{
    const Application& application = m_applications[row];
    const bool isInstalled = application.isInstall();
    const int order = isInstalled ? application.versionsMatch() : 0;
    if (QTableWidgetItem* item = m_ui->tableWidget->item(row, 0)) {
        item->setData(Qt::AccessibleDescriptionRole, rowVerdict(isInstalled, order));
    }
    return m_colors[rowColorKey(isInstalled, order)];
}

void MainWindow::table_setRowColor(int row, const QColor& color)
{
    for (int column = 0; column < 3; ++column) {
        if (QTableWidgetItem* item = m_ui->tableWidget->item(row, column)) {
            item->setBackground(QBrush(color, Qt::SolidPattern));
        }
    }
}
