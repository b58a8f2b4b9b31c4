#include "support/controlwalk.h"
#include "support/downloadbench.h"
#include "support/testline.h"
#include "support/windowsetup.h"

#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSet>
#include <QTableWidget>
#include <QTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

QAccessibleInterface* spoken(QObject* object)
{
    return QAccessible::queryAccessibleInterface(object);
}

QString spokenName(QObject* object)
{
    return spoken(object)->text(QAccessible::Name);
}

/// Presses the key where the focus is.
void press(Qt::Key key)
{
    QTest::keyClick(QApplication::focusWidget(), key);
}

/// The texts of one kind that the cells of a column speak, from the top.
QStringList spokenCells(QTableWidget* table, int column, QAccessible::Text text)
{
    QStringList texts;
    for (int row = 0; row < table->rowCount(); ++row) {
        texts.append(spoken(table)->tableInterface()->cellAt(row, column)->text(text));
    }
    return texts;
}

/// What a screen reader says of each row besides its name.
QStringList verdicts(QTableWidget* table)
{
    return spokenCells(table, 0, QAccessible::Description);
}

} // namespace

/// The window for those who use it by keyboard or by ear.
class TestWindowAccessibility : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // Names
    void everyControlHasAName();
    void rowButtonsNameTheirApplication();
    void windowTableAndHeadersHaveTheirNames();
    void namesFollowAReload();
    void thirdColumnSpeaksTheCatalogueVersion();
    void percentageIsTheLabelsName();

    // What the colours tell
    void verdictIsSpokenInWords();
    void verdictBeforeTheFirstScan();
    void verdictFollowsARescan();
    void verdictFollowsAReload();
    void verdictFollowsARunningDownload();
    void differentColorsNeverSoundAlike();

    // Menus
    void actionsHaveTheirRoles_data();
    void actionsHaveTheirRoles();

    // Keyboard
    void focusStartsOnTheTable();
    void tabGoesThroughTheRowsToTheScanButtonAndRound_data();
    void tabGoesThroughTheRowsToTheScanButtonAndRound();
    void tabOrderHoldsAfterAReload();
    void tabWithoutRows();
    void tabMeetsTheCancelButtonOfARunningRow();
    void focusScrollsItsRowIntoView_data();
    void focusScrollsItsRowIntoView();
    void spaceStartsADownloadAndTheFocusFollows();
    void spaceCancelsADownloadAndTheFocusFollows();
    void focusElsewhereIsLeftThere();

private:
    /// A window that shows four applications.
    void openFour(TestLine at = {});
    /// The same after a scan, with one of each verdict.
    void scanFour(TestLine at = {});
    /// A window on @p bench with rows that download from its held server.
    static void open(DownloadBench& bench, TestLine at = {});
    [[nodiscard]] QPushButton* rowButton(int row, const QString& name) const;
    /// "table", "⤓ Alpha", "✕ Alpha" or "scan", by what has the focus in each step.
    [[nodiscard]] static QStringList walk(QTableWidget* table, Qt::Key key);

    std::unique_ptr<WindowSetup> m_setup;
};

void TestWindowAccessibility::init()
{
    m_setup = std::make_unique<WindowSetup>();
}

void TestWindowAccessibility::cleanup()
{
    m_setup.reset();
}

void TestWindowAccessibility::openFour(TestLine at)
{
    m_setup->install(u"Alpha"_s, "1.0");
    m_setup->install(u"Beta"_s, "0.5");
    m_setup->install(u"Gamma"_s, "3.0");
    m_setup->offer({{"Alpha", "1.0"}, {"Beta", "2.0"}, {"Gamma", "2.5"}, {"Delta", "4.0"}});
    m_setup->open(at);
    VERIFY_AT(at, m_setup->window().action_loadWebData());
}

void TestWindowAccessibility::scanFour(TestLine at)
{
    openFour(at);
    VERIFY_AT(at, m_setup->scan());
}

void TestWindowAccessibility::open(DownloadBench& bench, TestLine at)
{
    bench.list({{.name = u"Atlas"_s, .fileName = u"a.dmg"_s},
                {.name = u"Boreal"_s, .fileName = u"b.dmg"_s},
                {.name = u"Cirrus"_s, .fileName = u"c.dmg"_s}});
    bench.open(DownloadBench::Shown, at);
    bench.window().activateWindow();
    VERIFY_AT(at, QTest::qWaitForWindowActive(&bench.window()));
}

QPushButton* TestWindowAccessibility::rowButton(int row, const QString& name) const
{
    return m_setup->table()->cellWidget(row, 2)->findChild<QPushButton*>(name);
}

QStringList TestWindowAccessibility::walk(QTableWidget* table, Qt::Key key)
{
    QStringList stops;
    for (QWidget* widget : tabWalk(key)) {
        if (widget == table) {
            stops.append(u"table"_s);
        } else if (const int row = table->indexAt(widget->parentWidget()->pos()).row();
                   widget->parentWidget()->parentWidget() == table->viewport()) {
            stops.append(static_cast<QPushButton*>(widget)->text() + u' ' +
                         table->item(row, 0)->text());
        } else {
            stops.append(widget->objectName());
        }
    }
    return stops;
}

void TestWindowAccessibility::everyControlHasAName()
{
    scanFour();
    // Row by row; the one empty text is that of Delta's installed version, which there is not.
    QCOMPARE(spokenNames(m_setup->window()),
             (QStringList{u"Alpha"_s, u"1.0"_s, u"1.0"_s, u"Beta"_s, u"0.5"_s, u"2.0"_s, u"Gamma"_s,
                          u"3.0"_s, u"2.5"_s, u"Delta"_s, QString(), u"4.0"_s,
                          u"Actualiser les versions locales (⌘+S)"_s, u"Edit"_s, u"Tools"_s,
                          u"Help"_s}));
    for (const auto* menu : m_setup->window().findChildren<QMenu*>()) {
        for (const QAction* action : menu->actions()) {
            QVERIFY(!action->text().isEmpty());
        }
    }
    for (auto* button : m_setup->window().findChildren<QPushButton*>()) {
        QVERIFY2(spokenName(button).contains(QRegularExpression(u"[A-Za-z]{4}"_s)),
                 qPrintable(button->objectName()));
    }
}

void TestWindowAccessibility::rowButtonsNameTheirApplication()
{
    openFour();
    QStringList names;
    for (int row = 0; row < 4; ++row) {
        names.append(spokenName(rowButton(row, u"downloadBtn"_s)));
        names.append(spokenName(rowButton(row, u"cancelBtn"_s)));
    }
    QCOMPARE(names, (QStringList{u"Download Alpha"_s, u"Cancel download of Alpha"_s,
                                 u"Download Beta"_s, u"Cancel download of Beta"_s,
                                 u"Download Gamma"_s, u"Cancel download of Gamma"_s,
                                 u"Download Delta"_s, u"Cancel download of Delta"_s}));
    QCOMPARE(spoken(rowButton(0, u"downloadBtn"_s))->role(), QAccessible::Button);
}

void TestWindowAccessibility::windowTableAndHeadersHaveTheirNames()
{
    scanFour();
    QVERIFY(spokenName(&m_setup->window()).startsWith("Quillmere v"_L1));
    QCOMPARE(spokenName(m_setup->table()), u"Applications"_s);
    QAccessibleTableInterface* table = spoken(m_setup->table())->tableInterface();
    QCOMPARE(table->rowCount(), 4);
    QCOMPARE(table->columnDescription(0), u"Applications"_s);
    QCOMPARE(table->columnDescription(1), u"Version Locale"_s);
    QCOMPARE(table->columnDescription(2), u"Version Internet"_s);
}

void TestWindowAccessibility::namesFollowAReload()
{
    openFour();
    m_setup->offer({{"Omega", "7.0"}});
    QVERIFY(m_setup->window().action_loadWebData());
    QCOMPARE(spokenName(rowButton(0, u"downloadBtn"_s)), u"Download Omega"_s);
    QCOMPARE(spokenName(rowButton(0, u"cancelBtn"_s)), u"Cancel download of Omega"_s);
    QCOMPARE(spokenCells(m_setup->table(), 2, QAccessible::Name), QStringList{u"7.0"_s});
}

void TestWindowAccessibility::thirdColumnSpeaksTheCatalogueVersion()
{
    scanFour();
    QCOMPARE(spokenCells(m_setup->table(), 2, QAccessible::Name),
             (QStringList{u"1.0"_s, u"2.0"_s, u"2.5"_s, u"4.0"_s}));
    // Without a text of the cell's own, which would show through behind the label.
    QCOMPARE(m_setup->texts(2), QStringList(4, QString()));
    QCOMPARE(spokenCells(m_setup->table(), 0, QAccessible::Name), m_setup->texts(0));
    QCOMPARE(spokenCells(m_setup->table(), 1, QAccessible::Name), m_setup->texts(1));
}

void TestWindowAccessibility::percentageIsTheLabelsName()
{
    DownloadBench bench(DownloadBench::Held);
    open(bench);
    QCOMPARE(spokenName(bench.label(0)), u"2.0"_s);
    bench.pressDownload(0);
    QCOMPARE(spokenName(bench.label(0)), u"0%"_s);
    bench.window().onDownloadProgress(0, 42, 100);
    QCOMPARE(spokenName(bench.label(0)), u"42%"_s);
    QCOMPARE(spokenName(bench.label(1)), u"2.0"_s);
    bench.pressCancel(0);
    QCOMPARE(spokenName(bench.label(0)), u"2.0"_s);
}

void TestWindowAccessibility::verdictIsSpokenInWords()
{
    scanFour();
    QCOMPARE(verdicts(m_setup->table()),
             (QStringList{u"up to date"_s, u"update available"_s, u"newer than the catalogue"_s,
                          u"not installed"_s}));
    QCOMPARE(spokenCells(m_setup->table(), 1, QAccessible::Description), QStringList(4, QString()));
}

void TestWindowAccessibility::verdictBeforeTheFirstScan()
{
    m_setup->install(u"Alpha"_s, "1.0");
    m_setup->offer({{"Alpha", "1.0"}});
    m_setup->open();
    QVERIFY(m_setup->window().action_loadWebData());
    QCOMPARE(verdicts(m_setup->table()), QStringList{u"not installed"_s});
}

void TestWindowAccessibility::verdictFollowsARescan()
{
    scanFour();
    m_setup->uninstall(u"Alpha"_s);
    m_setup->install(u"Beta"_s, "2.0");
    m_setup->install(u"Gamma"_s, "1.0");
    m_setup->install(u"Delta"_s, "5.0");
    QVERIFY(m_setup->scan());
    QCOMPARE(verdicts(m_setup->table()),
             (QStringList{u"not installed"_s, u"up to date"_s, u"update available"_s,
                          u"newer than the catalogue"_s}));
}

void TestWindowAccessibility::verdictFollowsAReload()
{
    scanFour();
    m_setup->offer({{"Gamma", "3.0"}, {"Alpha", "1.5"}});
    QVERIFY(m_setup->window().action_loadWebData());
    QCOMPARE(verdicts(m_setup->table()), (QStringList{u"up to date"_s, u"update available"_s}));
}

void TestWindowAccessibility::verdictFollowsARunningDownload()
{
    DownloadBench bench(DownloadBench::Held);
    bench.machine().install(u"Atlas"_s, u"1.0"_s);
    open(bench);
    QVERIFY(bench.scan());
    QCOMPARE(verdicts(bench.table()).constFirst(), u"update available"_s);
    bench.pressDownload(0);
    QTRY_COMPARE(bench.held().waiting(u"soft/a.dmg"_s), 1);
    QCOMPARE(verdicts(bench.table()).constFirst(), u"update available"_s);

    // The row's colour waits for the download's end, its words do not.
    bench.machine().install(u"Atlas"_s, u"2.0"_s);
    QVERIFY(bench.scan());
    QCOMPARE(verdicts(bench.table()).constFirst(), u"up to date"_s);
    bench.machine().install(u"Atlas"_s, u"2.5"_s);
    bench.held().answer(u"soft/a.dmg"_s, "body");
    // After the scan that follows the download.
    QVERIFY(bench.waitForLook(0, u"2.0 ⤓ #dadaff"_s));
    QCOMPARE(verdicts(bench.table()).constFirst(), u"newer than the catalogue"_s);
}

void TestWindowAccessibility::differentColorsNeverSoundAlike()
{
    scanFour();
    QSet<QString> colors;
    for (int row = 0; row < 4; ++row) {
        colors.insert(m_setup->table()->item(row, 0)->background().color().name());
    }
    const QStringList words = verdicts(m_setup->table());
    QCOMPARE(colors.size(), 4);
    QCOMPARE(QSet<QString>(words.begin(), words.end()).size(), 4);
}

void TestWindowAccessibility::actionsHaveTheirRoles_data()
{
    QTest::addColumn<QAction::MenuRole>("role");

    QTest::newRow("actionAbout") << QAction::AboutRole;
    QTest::newRow("actionPreferences") << QAction::PreferencesRole;
    QTest::newRow("actionReload") << QAction::NoRole;
    QTest::newRow("actionReloadWebData") << QAction::NoRole;
    QTest::newRow("actionReloadSystemData") << QAction::NoRole;
    QTest::newRow("actionTest") << QAction::NoRole;
    QTest::newRow("actionOpenLog") << QAction::NoRole;
}

void TestWindowAccessibility::actionsHaveTheirRoles()
{
    QFETCH(QAction::MenuRole, role);
    m_setup->create();
    QCOMPARE(m_setup->action(QString::fromLatin1(QTest::currentDataTag()))->menuRole(), role);
}

void TestWindowAccessibility::focusStartsOnTheTable()
{
    m_setup->open();
    QCOMPARE(QApplication::focusWidget(), m_setup->table());
}

void TestWindowAccessibility::tabGoesThroughTheRowsToTheScanButtonAndRound_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<QStringList>("stops");

    QTest::newRow("forwards") << Qt::Key_Tab
                              << QStringList{u"table"_s,   u"⤓ Alpha"_s, u"⤓ Beta"_s,
                                             u"⤓ Gamma"_s, u"⤓ Delta"_s, u"LoadButton"_s};
    QTest::newRow("backwards") << Qt::Key_Backtab
                               << QStringList{u"table"_s,   u"LoadButton"_s, u"⤓ Delta"_s,
                                              u"⤓ Gamma"_s, u"⤓ Beta"_s,     u"⤓ Alpha"_s};
}

void TestWindowAccessibility::tabGoesThroughTheRowsToTheScanButtonAndRound()
{
    QFETCH(Qt::Key, key);
    QFETCH(QStringList, stops);
    openFour();
    QCOMPARE(walk(m_setup->table(), key), stops);
}

void TestWindowAccessibility::tabOrderHoldsAfterAReload()
{
    openFour();
    m_setup->offer({{"Delta"}, {"Omega"}, {"Alpha"}});
    QVERIFY(m_setup->window().action_loadWebData());
    m_setup->table()->setFocus();
    QCOMPARE(walk(m_setup->table(), Qt::Key_Tab),
             (QStringList{u"table"_s, u"⤓ Delta"_s, u"⤓ Omega"_s, u"⤓ Alpha"_s, u"LoadButton"_s}));
}

void TestWindowAccessibility::tabWithoutRows()
{
    m_setup->open();
    QCOMPARE(widgetNames(tabWalk()), (QStringList{u"tableWidget"_s, u"LoadButton"_s}));
}

void TestWindowAccessibility::tabMeetsTheCancelButtonOfARunningRow()
{
    DownloadBench bench(DownloadBench::Held);
    open(bench);
    bench.pressDownload(1);
    QTRY_COMPARE(bench.held().waiting(u"soft/b.dmg"_s), 1);
    bench.table()->setFocus();
    const QStringList stops{u"table"_s, u"⤓ Atlas"_s, u"✕ Boreal"_s, u"⤓ Cirrus"_s,
                            u"LoadButton"_s};
    QCOMPARE(walk(bench.table(), Qt::Key_Tab), stops);
    // The rebuilt rows, too.
    QVERIFY(bench.window().action_loadWebData());
    bench.table()->setFocus();
    QCOMPARE(walk(bench.table(), Qt::Key_Tab), stops);
}

void TestWindowAccessibility::focusScrollsItsRowIntoView_data()
{
    QTest::addColumn<Qt::Key>("key");

    QTest::newRow("downwards") << Qt::Key_Tab;
    QTest::newRow("upwards") << Qt::Key_Backtab;
}

void TestWindowAccessibility::focusScrollsItsRowIntoView()
{
    QFETCH(Qt::Key, key);
    QList<Entry> entries;
    for (int i = 0; i < 60; ++i) {
        entries.append({"App" + QByteArray::number(i)});
    }
    m_setup->offer(entries);
    m_setup->open();
    QVERIFY(m_setup->window().action_loadWebData());
    QTableWidget* table = m_setup->table();
    QVERIFY(table->verticalScrollBar()->maximum() > 0);
    const QRect viewport = table->viewport()->rect();
    int rows = 0;
    for (press(key); QApplication::focusWidget() != table; press(key)) {
        const QWidget* focused = QApplication::focusWidget();
        if (focused != m_setup->loadButton()) {
            ++rows;
            const QRect shown(focused->mapTo(table->viewport(), QPoint()), focused->size());
            QVERIFY2(viewport.contains(shown), qPrintable(focused->accessibleName()));
        }
    }
    QCOMPARE(rows, 60);
}

void TestWindowAccessibility::spaceStartsADownloadAndTheFocusFollows()
{
    DownloadBench bench(DownloadBench::Held);
    open(bench);
    press(Qt::Key_Tab);
    press(Qt::Key_Tab);
    QCOMPARE(QApplication::focusWidget(), bench.button(1, u"downloadBtn"_s));
    press(Qt::Key_Space);
    QCOMPARE(QApplication::focusWidget(), bench.button(1, u"cancelBtn"_s));
    QTRY_COMPARE(bench.held().waiting(u"soft/b.dmg"_s), 1);

    bench.held().answer(u"soft/b.dmg"_s, "body");
    QVERIFY(bench.waitForLook(1, u"2.0 ⤓ #d4d4d4"_s));
    QVERIFY(bench.waitForScan());
    bench.window().activateWindow();
    QTRY_COMPARE(QApplication::focusWidget(), bench.button(1, u"downloadBtn"_s));
}

void TestWindowAccessibility::spaceCancelsADownloadAndTheFocusFollows()
{
    DownloadBench bench(DownloadBench::Held);
    open(bench);
    press(Qt::Key_Tab);
    press(Qt::Key_Space);
    QTRY_COMPARE(bench.held().waiting(u"soft/a.dmg"_s), 1);
    press(Qt::Key_Space);
    QCOMPARE(bench.look(0), u"2.0 ⤓ #d4d4d4"_s);
    QCOMPARE(QApplication::focusWidget(), bench.button(0, u"downloadBtn"_s));
}

void TestWindowAccessibility::focusElsewhereIsLeftThere()
{
    DownloadBench bench(DownloadBench::Held);
    open(bench);
    bench.window().startDownload(1);
    QTRY_COMPARE(bench.held().waiting(u"soft/b.dmg"_s), 1);
    QCOMPARE(QApplication::focusWidget(), bench.table());
    bench.window().cancelDownload(1);
    QCOMPARE(QApplication::focusWidget(), bench.table());
}

QTEST_MAIN(TestWindowAccessibility)
#include "tst_windowaccessibility.moc"
