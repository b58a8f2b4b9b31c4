#include "support/windowsetup.h"
#include "support/testline.h"

#include "support/windowclick.h"

#include <QImage>
#include <QLabel>
#include <QTest>

#include <functional>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

QPalette darkPalette()
{
    QPalette palette(QColor(0x30, 0x30, 0x30));
    palette.setColor(QPalette::Base, QColor(0x1c, 0x1c, 0x1c));
    palette.setColor(QPalette::Text, Qt::white);
    palette.setColor(QPalette::Highlight, QColor(0x2a, 0x82, 0xda));
    return palette;
}

constexpr int outline = 2; ///< how wide it is

} // namespace

/// How the cells of the real window's table are painted, whatever is current, selected or pointed
/// at.
class TestVerdictDelegate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_light = QApplication::palette(); }
    void cleanup();

    void cellsShowTheirColorAlone_data();
    void cellsShowTheirColorAlone();
    void outlineShowsTheCellThatHasTheKeyboard_data();
    void outlineShowsTheCellThatHasTheKeyboard();
    void outlineIsThereFromTheStart();
    void outlineGoesWithTheFocus();

private:
    /// A window with a row of each verdict, the table having the focus.
    void open(const QPalette& palette, TestLine at = {});
    [[nodiscard]] QTableWidget& table() const { return *m_setup->table(); }
    [[nodiscard]] QImage picture() const { return table().viewport()->grab().toImage(); }
    [[nodiscard]] QRect place(int row, int column) const;
    [[nodiscard]] static QSet<QString> colorsIn(const QImage& picture, const QRegion& region);

    QPalette m_light;
    std::unique_ptr<WindowSetup> m_setup;
};

void TestVerdictDelegate::cleanup()
{
    m_setup.reset();
    QApplication::setPalette(m_light);
}

void TestVerdictDelegate::open(const QPalette& palette, TestLine at)
{
    QApplication::setPalette(palette);
    m_setup = std::make_unique<WindowSetup>();
    m_setup->install(u"Beta"_s, "0.5");
    m_setup->install(u"Gamma"_s, "2.0");
    m_setup->install(u"Delta"_s, "3.0");
    m_setup->offer({{"Alpha", "2.0"}, {"Beta", "2.0"}, {"Gamma", "2.0"}, {"Delta", "2.0"}});
    m_setup->open(at);
    VERIFY_AT(at, m_setup->window().action_loadWebData());
    VERIFY_AT(at, m_setup->scan());
    m_setup->window().activateWindow();
    VERIFY_AT(at, QTest::qWaitForWindowActive(&m_setup->window()));
    table().setFocus();
}

QRect TestVerdictDelegate::place(int row, int column) const
{
    return table().visualItemRect(table().item(row, column));
}

QSet<QString> TestVerdictDelegate::colorsIn(const QImage& picture, const QRegion& region)
{
    QSet<QString> colors;
    for (const QRect& part : region) {
        for (int y = part.top(); y <= part.bottom(); ++y) {
            for (int x = part.left(); x <= part.right(); ++x) {
                colors.insert(picture.pixelColor(x, y).name());
            }
        }
    }
    return colors;
}

void TestVerdictDelegate::cellsShowTheirColorAlone_data()
{
    QTest::addColumn<std::function<void(QTableWidget&)>>("change");
    const auto row = [](const char* what, const std::function<void(QTableWidget&)>& change) {
        QTest::newRow(what) << change;
    };
    row("the table has the focus", [](QTableWidget&) {});
    row("another cell is current", [](QTableWidget& table) { table.setCurrentCell(2, 1); });
    row("a cell was clicked", [](QTableWidget& table) {
        windowClick(table.viewport(), table.visualItemRect(table.item(2, 0)).center());
    });
    row("all cells are selected", [](QTableWidget& table) {
        table.selectionModel()->select(
            QItemSelection(table.model()->index(0, 0), table.model()->index(3, 2)),
            QItemSelectionModel::Select);
    });
    row("the mouse is over a cell", [](QTableWidget& table) {
        const QPoint place = table.visualItemRect(table.item(3, 0)).center();
        QTest::mouseMove(table.window()->windowHandle(),
                         table.viewport()->mapTo(table.window(), place));
    });
}

void TestVerdictDelegate::cellsShowTheirColorAlone()
{
    QFETCH(std::function<void(QTableWidget&)>, change);
    const QStringList colors{u"#d4d4d4"_s, u"#ffdada"_s, u"#daffda"_s, u"#dadaff"_s};
    for (const QPalette& palette : {m_light, darkPalette()}) {
        open(palette);
        change(table());
        QCoreApplication::processEvents();
        const QImage shown = picture();
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 3; ++column) {
                // Between the outline and the text.
                QRect edge = place(row, column).adjusted(outline, outline, -outline, -outline);
                edge.setWidth(1);
                QCOMPARE(colorsIn(shown, edge), QSet<QString>{colors[row]});
            }
        }
        cleanup();
    }
}

void TestVerdictDelegate::outlineShowsTheCellThatHasTheKeyboard_data()
{
    QTest::addColumn<bool>("isDark");
    QTest::newRow("light") << false;
    QTest::newRow("dark") << true;
}

void TestVerdictDelegate::outlineShowsTheCellThatHasTheKeyboard()
{
    QFETCH(bool, isDark);
    open(isDark ? darkPalette() : m_light);
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 3; ++column) {
            table().setCurrentCell(row, column);
            QCoreApplication::processEvents();
            const QImage shown = picture();
            for (int other = 0; other < 12; ++other) {
                const QRect cell = place(other / 3, other % 3);
                const QRegion edge =
                    QRegion(cell) - cell.adjusted(outline, outline, -outline, -outline);
                const bool isCurrent = other == 3 * row + column;
                const QColor own = table().item(other / 3, 0)->background().color();
                QCOMPARE(colorsIn(shown, edge),
                         QSet<QString>{isCurrent ? u"#000000"_s : own.name()});
            }
        }
    }
}

void TestVerdictDelegate::outlineIsThereFromTheStart()
{
    open(m_light);
    const auto corner = [this] { return picture().pixelColor(place(0, 0).topLeft()); };
    QCOMPARE(corner(), QColor(Qt::black));
    QVERIFY(m_setup->window().action_loadWebData());
    QCOMPARE(corner(), QColor(Qt::black));
    QTest::keyClick(&table(), Qt::Key_Down);
    QCOMPARE(table().currentRow(), 1);
}

void TestVerdictDelegate::outlineGoesWithTheFocus()
{
    open(m_light);
    m_setup->loadButton()->setFocus();
    QCoreApplication::processEvents();
    QCOMPARE(picture().pixelColor(place(0, 0).topLeft()), QColor(0xd4, 0xd4, 0xd4));
}

QTEST_MAIN(TestVerdictDelegate)
#include "tst_verdictdelegate.moc"
