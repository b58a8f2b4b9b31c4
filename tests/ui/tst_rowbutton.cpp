#include "support/downloadbench.h"
#include "support/testline.h"

#include "support/windowclick.h"

#include <QHeaderView>
#include <QImage>
#include <QPushButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QTest>

#include <functional>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

QString installer(int row)
{
    return u"app%1.dmg"_s.arg(row);
}

/// Turns the mouse's wheel over the table, @p notches down.
void turnWheel(const QTableWidget& table, int notches)
{
    const QPoint place = table.viewport()->rect().center();
    for (int notch = 0; notch < notches; ++notch) {
        QWheelEvent event(place, table.viewport()->mapToGlobal(place), {}, QPoint(0, -120),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(table.viewport(), &event);
    }
    QCoreApplication::processEvents();
}

void pressKey(Qt::Key key)
{
    QTest::keyClick(QApplication::focusWidget(), key);
}

} // namespace

/// The buttons of the rows in the real window, at the size it opens with, under the mouse and the
/// keyboard of a person.
class TestRowButton : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { m_bench.reset(); }

    void firstClickCounts_data();
    void firstClickCounts();
    void firstClickCountsOnTheButtonBelowTheTable();
    void onlyTheKeyboardScrolls();
    void wheelThenTabComesBackToTheFocus();
    void activatingTheWindowScrollsNothing();
    void outlineShowsTheFocus();

private:
    void open(int rows, TestLine at = {});
    [[nodiscard]] QTableWidget& table() const { return *m_bench->table(); }
    /// The one of the row's two buttons that is there.
    [[nodiscard]] QPushButton* button(int row) const;
    /// The row whose button is cut by the table's lower edge; the window is made so.
    [[nodiscard]] int halfHiddenRow();
    [[nodiscard]] int scrolled() const { return table().verticalScrollBar()->value(); }
    /// Clicks the middle of what is seen of the row's button.
    void click(int row, TestLine at = {});

    std::unique_ptr<DownloadBench> m_bench;
};

void TestRowButton::open(int rows, TestLine at)
{
    m_bench = std::make_unique<DownloadBench>(DownloadBench::Held);
    QList<DownloadBench::Entry> entries;
    for (int row = 0; row < rows; ++row) {
        entries.append({.name = u"Application %1"_s.arg(row), .fileName = installer(row)});
    }
    m_bench->list(entries);
    m_bench->open(DownloadBench::Shown, at);
    m_bench->window().activateWindow();
    VERIFY_AT(at, QTest::qWaitForWindowActive(&m_bench->window()));
    COMPARE_AT(at, m_bench->window().size(), QSize(630, 563));
}

QPushButton* TestRowButton::button(int row) const
{
    QPushButton* download = m_bench->button(row, u"downloadBtn"_s);
    return download->isHidden() ? m_bench->button(row, u"cancelBtn"_s) : download;
}

int TestRowButton::halfHiddenRow()
{
    for (int height = 563; height < 600; ++height) {
        m_bench->window().resize(630, height);
        QCoreApplication::processEvents();
        for (int row = 0; row < table().rowCount(); ++row) {
            const int seen = button(row)->visibleRegion().boundingRect().height();
            if (seen >= 8 && seen <= 14) {
                return row;
            }
        }
    }
    return -1;
}

void TestRowButton::click(int row, TestLine at)
{
    const QPushButton* target = button(row);
    windowClick(target, target->visibleRegion().boundingRect().center(), at);
}

void TestRowButton::firstClickCounts_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<std::function<int(TestRowButton&)>>("target");
    QTest::addColumn<std::function<void(TestRowButton&)>>("focus");

    using Target = std::function<int(TestRowButton&)>;
    using Focus = std::function<void(TestRowButton&)>;
    const std::pair<const char*, Target> targets[] = {
        {"first", [](TestRowButton&) { return 0; }},
        {"last",
         [](TestRowButton& test) {
             turnWheel(test.table(), 60);
             return test.table().rowCount() - 1;
         }},
        {"half-hidden", [](TestRowButton& test) { return test.halfHiddenRow(); }},
        {"half-hidden at the wheel's next notch",
         [](TestRowButton& test) {
             turnWheel(test.table(), 1);
             return test.halfHiddenRow();
         }},
    };
    const std::pair<const char*, Focus> focuses[] = {
        {"the table", [](TestRowButton& test) { test.table().setFocus(); }},
        {"another row",
         [](TestRowButton& test) { test.button(2)->setFocus(Qt::OtherFocusReason); }},
        {"the button below",
         [](TestRowButton& test) {
             test.m_bench->window().findChild<QPushButton*>(u"LoadButton"_s)->setFocus();
         }},
    };
    for (const int rows : {17, 28, 150}) {
        for (const auto& [row, target] : targets) {
            for (const auto& [place, focus] : focuses) {
                QTest::addRow("%d rows, %s row, focus on %s", rows, row, place)
                    << rows << target << focus;
            }
        }
    }
}

void TestRowButton::firstClickCounts()
{
    QFETCH(int, rows);
    QFETCH(std::function<int(TestRowButton&)>, target);
    QFETCH(std::function<void(TestRowButton&)>, focus);
    open(rows);
    focus(*this);
    const int row = target(*this);
    QVERIFY(row >= 0);
    const int before = scrolled();

    click(row);
    QTRY_COMPARE(m_bench->held().waitingPaths(), QStringList{"soft/"_L1 + installer(row)});
    QCOMPARE(m_bench->look(row), u"0% ✕ #d4d4d4"_s);
    QVERIFY(button(row)->hasFocus());
    QCOMPARE(scrolled(), before);
    QCOMPARE(table().horizontalHeader()->offset(), 0);

    click(row);
    QTRY_COMPARE(m_bench->held().waitingPaths(), QStringList());
    QCOMPARE(m_bench->look(row), u"2.0 ⤓ #d4d4d4"_s);
    QCOMPARE(scrolled(), before);
    QCOMPARE(table().horizontalHeader()->offset(), 0);
}

void TestRowButton::firstClickCountsOnTheButtonBelowTheTable()
{
    open(28);
    button(2)->setFocus();
    turnWheel(table(), 3);
    const int before = scrolled();
    QVERIFY(before > 0);
    auto* below = m_bench->window().findChild<QPushButton*>(u"LoadButton"_s);
    QVERIFY(windowClick(below));
    QVERIFY(!below->isEnabled());
    QVERIFY(m_bench->waitForScan());
    QCOMPARE(m_bench->takeActivity(), QStringList{u"scan"_s});
    QCOMPARE(scrolled(), before);
}

void TestRowButton::onlyTheKeyboardScrolls()
{
    open(28);
    const int half = halfHiddenRow();
    QVERIFY(half > 0);
    button(half)->setFocus(Qt::OtherFocusReason);
    QCOMPARE(scrolled(), 0);
    button(half - 1)->setFocus(Qt::MouseFocusReason);
    QCOMPARE(scrolled(), 0);
    pressKey(Qt::Key_Tab);
    QVERIFY(button(half)->hasFocus());
    QVERIFY(scrolled() > 0);
    QCOMPARE(button(half)->visibleRegion(), QRegion(button(half)->rect()));
    QCOMPARE(table().horizontalHeader()->offset(), 0);
}

void TestRowButton::wheelThenTabComesBackToTheFocus()
{
    open(150);
    button(0)->setFocus();
    turnWheel(table(), 20);
    QVERIFY(button(1)->visibleRegion().isEmpty());
    pressKey(Qt::Key_Tab);
    QVERIFY(button(1)->hasFocus());
    QCOMPARE(button(1)->visibleRegion(), QRegion(button(1)->rect()));
    click(1);
    QTRY_COMPARE(m_bench->held().waitingPaths(), QStringList{"soft/"_L1 + installer(1)});
}

void TestRowButton::activatingTheWindowScrollsNothing()
{
    open(150);
    button(0)->setFocus();
    turnWheel(table(), 20);
    const int before = scrolled();
    QWidget other;
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    m_bench->window().activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&m_bench->window()));
    QVERIFY(button(0)->hasFocus());
    QCOMPARE(scrolled(), before);
}

void TestRowButton::outlineShowsTheFocus()
{
    open(5);
    const auto blackEdge = [this] {
        const QImage picture = button(1)->grab().toImage();
        int black = 0;
        for (int i = 0; i < picture.width(); ++i) {
            black += picture.pixelColor(i, 0) == Qt::black ? 1 : 0;
            black += picture.pixelColor(1, i) == Qt::black ? 1 : 0;
        }
        return black;
    };
    QCOMPARE(blackEdge(), 0);
    pressKey(Qt::Key_Tab);
    pressKey(Qt::Key_Tab);
    QVERIFY(button(1)->hasFocus());
    QCOMPARE(blackEdge(), 48);
    // Its grey stays.
    QCOMPARE(button(1)->grab().toImage().pixelColor(4, 4), QColor(0xd0, 0xd0, 0xd0));
    pressKey(Qt::Key_Tab);
    QCOMPARE(blackEdge(), 0);
}

QTEST_MAIN(TestRowButton)
#include "tst_rowbutton.moc"
