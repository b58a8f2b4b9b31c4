#include "benchwindow.h"
#include "cases.h"
#include "console.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

// The rows that the program makes, made by hand as cheaply as the toolkit allows: no style sheet,
// the viewport as parent, the row count first.

QWidget* newBareCell(QTableWidget& table, const QString& version)
{
    auto* cell = new QWidget(table.viewport());
    auto* layout = new QHBoxLayout(cell);
    layout->setContentsMargins(4, 0, 4, 0);
    layout->setSpacing(4);
    auto* label = new QLabel(version, cell);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignCenter);
    layout->addWidget(label, 1);
    for (const QString& sign : {u"✕"_s, u"⤓"_s}) {
        auto* button = new QPushButton(sign, cell);
        button->setFixedSize(24, 24);
        button->setHidden(sign == u"✕");
        layout->addWidget(button, 0);
    }
    return cell;
}

void fillBare(QTableWidget& table, const QStringList& names, const QStringList& versions)
{
    table.setRowCount(0);
    table.setRowCount(int(names.size()));
    for (int row = 0; row < table.rowCount(); ++row) {
        for (int column = 0; column < 3; ++column) {
            auto* item = new QTableWidgetItem(column == 0 ? names[row] : QString());
            item->setForeground(QBrush(Qt::black));
            table.setItem(row, column, item);
        }
        table.setCellWidget(row, 2, newBareCell(table, versions[row]));
    }
}

/// A window with nothing but a table like the program's.
class BareTable
{
public:
    BareTable()
    {
        m_window.resize(630, 563);
        m_table.setParent(&m_window);
        m_table.setGeometry(10, 10, 610, 460);
        m_table.setColumnCount(3);
        m_window.show();
    }

    [[nodiscard]] QTableWidget& table() { return m_table; }

private:
    QWidget m_window;
    QTableWidget m_table; ///< the window's child, destroyed before it
};

QString labelOf(const QTableWidget& table, int row)
{
    return table.cellWidget(row, 2)->findChild<QLabel*>()->text();
}

void compareTables(const QTableWidget& ours, const QTableWidget& bare)
{
    if (ours.rowCount() != bare.rowCount()) {
        fail(u"the tables differ in their rows"_s);
    }
    for (int row = 0; row < ours.rowCount(); ++row) {
        if (ours.item(row, 0)->text() != bare.item(row, 0)->text() ||
            labelOf(ours, row) != labelOf(bare, row)) {
            fail(u"the tables differ in row %1"_s.arg(row));
        }
    }
}

Benchmark tableFill()
{
    const auto ours = std::make_shared<BenchWindow>(1'000);
    const auto bare = std::make_shared<BareTable>();
    QStringList names;
    QStringList versions;
    for (int row = 0; row < ours->table().rowCount(); ++row) {
        names.append(ours->table().item(row, 0)->text());
        versions.append(labelOf(ours->table(), row));
    }
    Benchmark benchmark;
    benchmark.what = u"table_init of 1,000 rows / the same rows without a style sheet"_s;
    benchmark.must = 4.8;
    benchmark.aim = 4.0;
    benchmark.ours = [ours] {
        const double seconds = secondsOf([&] { ours->window().table_init(); });
        QCoreApplication::processEvents();
        return seconds;
    };
    benchmark.reference = [bare, names, versions] {
        const double seconds = secondsOf([&] { fillBare(bare->table(), names, versions); });
        QCoreApplication::processEvents();
        return seconds;
    };
    benchmark.compare = [ours, bare, fill = benchmark.reference] {
        fill();
        compareTables(ours->table(), bare->table());
    };
    return benchmark;
}

Measurement fillTime(int rows)
{
    return [window = std::make_shared<BenchWindow>(rows)] {
        const double seconds = secondsOf([&] { window->window().table_init(); });
        QCoreApplication::processEvents();
        return seconds;
    };
}

Benchmark tableGrowth()
{
    Benchmark benchmark;
    benchmark.what = u"table_init of 4,000 rows / of 1,000 rows"_s;
    benchmark.rounds = 5;
    benchmark.must = 5.5;
    benchmark.aim = 4.4;
    benchmark.ours = fillTime(4'000);
    benchmark.reference = fillTime(1'000);
    return benchmark;
}

Benchmark tablePaint()
{
    const auto window = std::make_shared<BenchWindow>(4'000);
    const auto fill = std::make_shared<double>(0.0);
    Benchmark benchmark;
    benchmark.what = u"painting 4,000 rows after a second fill / that fill"_s;
    benchmark.rounds = 5;
    benchmark.must = 0.8;
    benchmark.aim = 0.1;
    // One fill and the paint that follows it belong together: whichever side comes first makes
    // both, the other one tells its own.
    const auto paint = std::make_shared<double>(0.0);
    const auto isMeasured = std::make_shared<bool>(false);
    const auto measured = [window, fill, paint, isMeasured] {
        *isMeasured = !*isMeasured;
        if (*isMeasured) {
            *fill = secondsOf([&] { window->window().table_init(); });
            *paint = secondsOf([] { QCoreApplication::processEvents(); });
        }
    };
    benchmark.ours = [measured, paint] {
        measured();
        return *paint;
    };
    benchmark.reference = [measured, fill] {
        measured();
        return *fill;
    };
    return benchmark;
}

void setAllBackgrounds(QTableWidget& table, const QColor& color)
{
    for (int row = 0; row < table.rowCount(); ++row) {
        for (int column = 0; column < 3; ++column) {
            table.item(row, column)->setBackground(QBrush(color));
        }
    }
}

void clearInstalledVersions(QTableWidget& table)
{
    for (int row = 0; row < table.rowCount(); ++row) {
        table.item(row, 1)->setText(QString());
    }
}

/// The table as it is before a scan has been shown.
void forget(QTableWidget& table)
{
    setAllBackgrounds(table, Qt::magenta);
    clearInstalledVersions(table);
    QCoreApplication::processEvents();
}

Benchmark refresh()
{
    const auto ours = std::make_shared<BenchWindow>(1'000, 2'000);
    const auto bare = std::make_shared<BareTable>();
    QTableWidget& table = bare->table();
    table.setRowCount(1'000);
    for (int row = 0; row < 1'000; ++row) {
        for (int column = 0; column < 3; ++column) {
            table.setItem(row, column, new QTableWidgetItem(u"1.0"_s));
        }
    }
    Benchmark benchmark;
    benchmark.what = u"table_update of 1,000 rows / 3,000 setBackground and 500 setText"_s;
    benchmark.must = 4;
    benchmark.aim = 3;
    benchmark.ours = [ours] {
        forget(ours->table());
        return secondsOf([&] { ours->window().table_update(); });
    };
    benchmark.reference = [bare] {
        forget(bare->table());
        return secondsOf([&] {
            setAllBackgrounds(bare->table(), Qt::green);
            for (int row = 0; row < 1'000; row += 2) {
                bare->table().item(row, 1)->setText(u"2.0"_s);
            }
        });
    };
    benchmark.compare = [ours, refreshed = benchmark.ours] {
        refreshed();
        for (int row = 0; row < 1'000; ++row) {
            const bool isShown = !ours->table().item(row, 1)->text().isEmpty();
            if (isShown != (row % 2 == 0) ||
                ours->table().item(row, 0)->background().color() == Qt::magenta) {
                fail(u"row %1 was not refreshed"_s.arg(row));
            }
        }
    };
    return benchmark;
}

} // namespace

QList<BenchmarkCase> tableCases()
{
    return {{u"table-fill"_s, tableFill},
            {u"table-growth"_s, tableGrowth},
            {u"table-paint"_s, tablePaint},
            {u"refresh"_s, refresh}};
}

QList<Workload> tableWorkloads()
{
    const auto fill = [](int rows) -> std::function<void()> {
        return [window = std::make_shared<BenchWindow>(rows)] { window->window().table_init(); };
    };
    const auto paint = [](int rows) -> std::function<void()> {
        const auto window = std::make_shared<BenchWindow>(rows);
        window->window().table_init();
        return [window] { QCoreApplication::processEvents(); };
    };
    const auto refreshRows = [](int rows) -> std::function<void()> {
        const auto window = std::make_shared<BenchWindow>(rows, rows / 5);
        forget(window->table());
        return [window] { window->window().table_update(); };
    };
    return {{u"table"_s, u"row"_s, fill},
            {u"paint"_s, u"row"_s, paint},
            {u"refresh"_s, u"row"_s, refreshRows}};
}
