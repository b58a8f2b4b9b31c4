#include "support/windowclick.h"

#include "support/quietplatform.h"

#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <functional>

/// A window with a button that lies half below the edge of what it scrolls in.
class TestWindowClick : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { quietPlatform(); }
    void init();
    void cleanup() { m_window.reset(); }
    void seenPlaceIsClicked();
    void unseenPlaceFailsTheTest_data();
    void unseenPlaceFailsTheTest();
    void buttonThatMovesUnderThePressIsMissed();
    void secondClickIsDouble();

private:
    const QPoint m_upper{30, 5};  ///< of the button
    const QPoint m_lower{30, 35}; ///< cut off
    std::unique_ptr<QWidget> m_window;
    QScrollArea* m_area = nullptr;
    QPushButton* m_button = nullptr;
};

void TestWindowClick::init()
{
    m_window = std::make_unique<QWidget>();
    m_window->resize(300, 300);
    m_area = new QScrollArea(m_window.get());
    m_area->setGeometry(50, 50, 200, 120);
    auto* content = new QWidget;
    content->resize(150, 400);
    m_button = new QPushButton(QStringLiteral("Press"), content);
    m_button->setGeometry(10, 95, 60, 40);
    m_area->setWidget(content);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
}

void TestWindowClick::seenPlaceIsClicked()
{
    const QSignalSpy clicked(m_button, &QPushButton::clicked);
    QVERIFY(isSeen(m_button, m_upper));
    QVERIFY(windowClick(m_button, m_upper));
    QCOMPARE(clicked.count(), 1);
    QVERIFY(m_button->hasFocus());

    m_area->verticalScrollBar()->setValue(100);
    QVERIFY(windowClick(m_button));
    QCOMPARE(clicked.count(), 2);
}

void TestWindowClick::unseenPlaceFailsTheTest_data()
{
    QTest::addColumn<QPoint>("place");
    QTest::addColumn<std::function<void(QWidget&, QPushButton&)>>("hide");
    const auto row = [](const char* what, QPoint place,
                        const std::function<void(QWidget&, QPushButton&)>& hide) {
        QTest::newRow(what) << place << hide;
    };
    const auto nothing = [](QWidget&, QPushButton&) {};
    row("below the edge", m_lower, nothing);
    row("outside", QPoint(-1, 5), nothing);
    row("hidden", m_upper, [](QWidget&, QPushButton& button) { button.hide(); });
    row("in a window that is not shown", m_upper,
        [](QWidget& window, QPushButton&) { window.hide(); });
    row("under something", m_upper, [](QWidget& window, QPushButton&) {
        auto* cover = new QWidget(&window);
        cover->setGeometry(window.rect());
        cover->show();
    });
}

void TestWindowClick::unseenPlaceFailsTheTest()
{
    QFETCH(QPoint, place);
    QFETCH(std::function<void(QWidget&, QPushButton&)>, hide);
    hide(*m_window, *m_button);
    const QSignalSpy clicked(m_button, &QPushButton::clicked);
    QVERIFY(!isSeen(m_button, place));
    QEXPECT_FAIL("", "a click at what cannot be seen", Continue);
    const bool isDone = windowClick(m_button, place);
    QVERIFY(!isDone);
    QCOMPARE(clicked.count(), 0);
}

void TestWindowClick::buttonThatMovesUnderThePressIsMissed()
{
    const QSignalSpy pressed(m_button, &QPushButton::pressed);
    const QSignalSpy clicked(m_button, &QPushButton::clicked);
    connect(m_button, &QPushButton::pressed, m_area,
            [this] { m_area->verticalScrollBar()->setValue(60); });
    windowClick(m_button, m_upper);
    QCOMPARE(pressed.count(), 1);
    QCOMPARE(clicked.count(), 0);
}

void TestWindowClick::secondClickIsDouble()
{
    class Listener : public QObject
    {
    public:
        int doubleClicks = 0;
        bool eventFilter(QObject*, QEvent* event) override
        {
            doubleClicks += event->type() == QEvent::MouseButtonDblClick ? 1 : 0;
            return false;
        }
    } listener;
    m_button->installEventFilter(&listener);
    QVERIFY(windowClick(m_button, m_upper));
    QVERIFY(windowClick(m_button, m_upper));
    QCOMPARE(listener.doubleClicks, 0);
    QVERIFY(windowDoubleClick(m_button, m_upper));
    QCOMPARE(listener.doubleClicks, 1);
}

QTEST_MAIN(TestWindowClick)
#include "tst_windowclick.moc"
