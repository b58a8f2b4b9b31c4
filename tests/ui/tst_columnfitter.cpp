#include "support/windowsetup.h"
#include "support/testline.h"

#include "support/windowclick.h"

#include <QHeaderView>
#include <QProxyStyle>
#include <QScrollBar>
#include <QTest>
#include <QWindow>

#include <array>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int styles = -1; ///< the width that the style gives scroll bars

/// Gives scroll bars a width of its own.
class BarStyle : public QProxyStyle
{
public:
    int extent = styles;

    int pixelMetric(PixelMetric metric, const QStyleOption* option,
                    const QWidget* widget) const override
    {
        return metric == PM_ScrollBarExtent && extent != styles
                   ? extent
                   : QProxyStyle::pixelMetric(metric, option, widget);
    }
};

QList<Entry> entries(int count)
{
    QList<Entry> list;
    for (int i = 0; i < count; ++i) {
        list.append({"Application " + QByteArray::number(i)});
    }
    return list;
}

/// Drags in @p widget with the mouse, by way of the window.
void drag(const QWidget& widget, QPoint from, QPoint to, TestLine at = {})
{
    QWindow* window = widget.window()->windowHandle();
    const QPoint start = widget.mapTo(widget.window(), from);
    const QPoint end = widget.mapTo(widget.window(), to);
    VERIFY_AT(at, isSeen(&widget, from));
    QTest::mouseMove(window, start);
    QTest::mousePress(window, Qt::LeftButton, {}, start);
    QTest::mouseMove(window, (start + end) / 2);
    QTest::mouseMove(window, end);
    QTest::mouseRelease(window, Qt::LeftButton, {}, end);
}

} // namespace

/// The columns of the real window's table, in the sizes that people have.
class TestColumnFitter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_font = QApplication::font(); }
    void init();
    void cleanupTestCase() { close(); }

    void buttonsAreWholeInEverySize_data();
    void buttonsAreWholeInEverySize();
    void widthsAreSetBeforeTheWindowIsShown();
    void firstColumnFollowsTheWindowsHeight();
    void firstColumnFollowsAReload();
    void draggedFirstColumnStaysUntilTheTableIsBuiltAnew();
    void firstColumnMakesRoomForADraggedOne();
    void tableNeverScrollsSideways();

private:
    /// Opens a window of its default size; one that shows the same already is used again.
    void open(int count, int points);
    void open(int count) { open(count, m_font.pointSize()); }
    void close();
    void reload(int count, TestLine at = {});
    void setBar(int extent, TestLine at = {});
    [[nodiscard]] QTableWidget* table() const { return m_setup->table(); }
    [[nodiscard]] QList<int> widths() const;
    /// Whether the first column has what the others leave, or as much as there is room for.
    void verifyFit(TestLine at = {}) const;
    void verifyButtonIsWhole(int row, TestLine at = {}) const;
    void dragRightEdge(int column, int by) const;

    QFont m_font;
    BarStyle m_barStyle;
    std::unique_ptr<WindowSetup> m_setup;
    int m_count = -1;
    int m_points = 0;
};

void TestColumnFitter::init()
{
    // The rows of one function share a window where they can.
    if (qstrcmp(QTest::currentTestFunction(), "buttonsAreWholeInEverySize") != 0) {
        close();
    }
}

void TestColumnFitter::close()
{
    m_setup.reset();
    m_count = -1;
    QApplication::setFont(m_font);
}

void TestColumnFitter::open(int count, int points)
{
    if (m_setup && count == m_count && points == m_points) {
        return;
    }
    close();
    QFont font = m_font;
    font.setPointSize(points);
    QApplication::setFont(font);
    m_setup = std::make_unique<WindowSetup>();
    m_setup->open();
    m_count = count;
    m_points = points;
    reload(count);
}

void TestColumnFitter::reload(int count, TestLine at)
{
    m_setup->offer(entries(count));
    const BoxAnswerer answers(QMessageBox::Ok);
    COMPARE_AT(at, m_setup->window().action_loadWebData(), count > 0);
    COMPARE_AT(at, table()->rowCount(), count);
    QCoreApplication::processEvents();
}

void TestColumnFitter::setBar(int extent, TestLine at)
{
    m_barStyle.extent = extent;
    QScrollBar* bar = table()->verticalScrollBar();
    bar->setStyle(&m_barStyle);
    QEvent request(QEvent::LayoutRequest);
    QCoreApplication::sendEvent(table(), &request);
    QCoreApplication::processEvents();
    if (extent != styles && bar->isVisible()) {
        COMPARE_AT(at, bar->width(), extent);
    }
}

QList<int> TestColumnFitter::widths() const
{
    return {table()->columnWidth(0), table()->columnWidth(1), table()->columnWidth(2)};
}

void TestColumnFitter::verifyFit(TestLine at) const
{
    const int room = table()->viewport()->width() - 174 - 174;
    COMPARE_AT(at, widths(), (QList<int>{std::min(211, room), 174, 174}));
    VERIFY2_AT(at, room > 60, "no name could be read");
    COMPARE_AT(at, table()->horizontalScrollBar()->value(), 0);
    COMPARE_AT(at, table()->horizontalHeader()->offset(), 0);
}

void TestColumnFitter::verifyButtonIsWhole(int row, TestLine at) const
{
    table()->scrollToItem(table()->item(row, 0));
    QCoreApplication::processEvents();
    const auto* button = table()->cellWidget(row, 2)->findChild<QPushButton*>(u"downloadBtn"_s);
    COMPARE_AT(at, button->size(), QSize(24, 24));
    COMPARE_AT(at, button->visibleRegion(), QRegion(button->rect()));
    VERIFY_AT(at, isSeen(button, button->rect().topLeft()));
    VERIFY_AT(at, isSeen(button, button->rect().bottomRight()));
}

void TestColumnFitter::dragRightEdge(int column, int by) const
{
    const QHeaderView* header = table()->horizontalHeader();
    const QPoint edge(header->sectionViewportPosition(column) + header->sectionSize(column) - 1,
                      header->height() / 2);
    drag(*header->viewport(), edge, edge + QPoint(by, 0));
    QCoreApplication::processEvents();
}

void TestColumnFitter::buttonsAreWholeInEverySize_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("points");
    QTest::addColumn<int>("bar");
    // The bars change most often: a table of 10,000 rows takes long to build.
    for (const int count : {0, 5, 17, 28, 120, 1'200, 10'000}) {
        for (const int points : {9, 13, 20}) {
            for (const int bar : {styles, 0, 11, 16, 20}) {
                QTest::addRow("%d entries, %d points, bar %d", count, points, bar)
                    << count << points << bar;
            }
        }
    }
}

void TestColumnFitter::buttonsAreWholeInEverySize()
{
    QFETCH(int, count);
    QFETCH(int, points);
    QFETCH(int, bar);
    open(count, points);
    setBar(bar);
    QCOMPARE(m_setup->window().width(), 630);
    verifyFit();
    QCOMPARE(table()->verticalScrollBar()->maximum() > 0, count >= 17);
    if (count > 0) {
        for (const int row : {0, count / 2, count - 1}) {
            verifyButtonIsWhole(row);
        }
        verifyFit();
    }
}

void TestColumnFitter::widthsAreSetBeforeTheWindowIsShown()
{
    m_setup = std::make_unique<WindowSetup>();
    m_setup->create();
    QCOMPARE(widths(), (QList<int>{211, 174, 174}));
    m_setup->offer(entries(28));
    QVERIFY(m_setup->window().action_loadWebData());
    QCOMPARE(widths(), (QList<int>{211, 174, 174}));
    m_setup->window().show();
    QVERIFY(QTest::qWaitForWindowExposed(&m_setup->window()));
    QVERIFY(table()->columnWidth(0) < 211);
    verifyFit();
    verifyButtonIsWhole(27);
}

void TestColumnFitter::firstColumnFollowsTheWindowsHeight()
{
    open(9);
    QCOMPARE(table()->columnWidth(0), 211);
    for (int round = 0; round < 2; ++round) {
        m_setup->window().resize(630, 300);
        QTRY_VERIFY(table()->verticalScrollBar()->isVisible());
        QTRY_VERIFY(table()->columnWidth(0) < 211);
        verifyFit();
        verifyButtonIsWhole(8);
        m_setup->window().resize(630, 600);
        QTRY_VERIFY(!table()->verticalScrollBar()->isVisible());
        QTRY_COMPARE(table()->columnWidth(0), 211);
    }
}

void TestColumnFitter::firstColumnFollowsAReload()
{
    open(5);
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(table()->columnWidth(0), 211);
        reload(28);
        QVERIFY(table()->columnWidth(0) < 211);
        verifyFit();
        reload(150);
        verifyFit();
        verifyButtonIsWhole(149);
        reload(5);
    }
}

void TestColumnFitter::draggedFirstColumnStaysUntilTheTableIsBuiltAnew()
{
    open(9);
    dragRightEdge(0, -50);
    const QList<int> dragged = widths();
    QCOMPARE(dragged[0], 161);
    m_setup->window().resize(630, 300);
    QTRY_VERIFY(table()->verticalScrollBar()->isVisible());
    QVERIFY(m_setup->scan());
    QCOMPARE(widths(), dragged);
    dragRightEdge(0, 100);
    QCOMPARE(table()->columnWidth(0), 261);
    QCOMPARE(table()->horizontalHeader()->offset(), 0);
    reload(9);
    QVERIFY(table()->columnWidth(0) < 211);
    verifyFit();
    verifyButtonIsWhole(0);
}

void TestColumnFitter::firstColumnMakesRoomForADraggedOne()
{
    open(28);
    dragRightEdge(2, 30);
    QCOMPARE(widths(), (QList<int>{table()->viewport()->width() - 174 - 204, 174, 204}));
    verifyButtonIsWhole(0);
    reload(28);
    verifyFit();
}

void TestColumnFitter::tableNeverScrollsSideways()
{
    open(28);
    table()->setColumnWidth(0, 400);
    table()->setFocus();
    for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Right, Qt::Key_Down, Qt::Key_End}) {
        QTest::keyClick(table(), key);
    }
    table()->scrollToItem(table()->item(27, 2));
    table()->horizontalScrollBar()->setValue(1);
    QCoreApplication::processEvents();
    QCOMPARE(table()->horizontalScrollBar()->value(), 0);
    QCOMPARE(table()->horizontalHeader()->offset(), 0);
    QCOMPARE(table()->visualItemRect(table()->item(27, 0)).left(), 0);
}

QTEST_MAIN(TestColumnFitter)
#include "tst_columnfitter.moc"
