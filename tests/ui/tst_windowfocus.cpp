#include "support/archives.h"
#include "support/downloadbench.h"
#include "support/modalbox.h"
#include "support/testline.h"
#include "support/windowclick.h"
#include "ui/waitdialog.h"

#include <QAction>
#include <QApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>

#include <functional>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Presses the key where the focus is.
void press(Qt::Key key)
{
    QTest::keyClick(QApplication::focusWidget(), key);
}

/// Presses @p button of each dialog that opens and has buttons, Escape where it has another one.
class DialogAnswerer : public QObject
{
public:
    explicit DialogAnswerer(QDialogButtonBox::StandardButton button)
    {
        m_timer.callOnTimeout(this, [button] {
            QWidget* dialog = QApplication::activeModalWidget();
            if (!dialog || qobject_cast<WaitDialog*>(dialog)) {
                return;
            }
            if (const auto* box = dialog->findChild<QDialogButtonBox*>()) {
                box->button(button)->click();
            } else {
                QTest::keyClick(dialog, Qt::Key_Escape);
            }
        });
        m_timer.start(5);
    }

private:
    QTimer m_timer;
};

} // namespace

/// Whatever happens meanwhile, the focus is afterwards where the user has put it.
class TestWindowFocus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void staysOver_data();
    void staysOver();
    void secondSpaceIsForTheSameRow();
    void followsItsRow_data();
    void followsItsRow();
    void isSeenAfterAReload();
    void movedDuringAScanItIsLeftThere();

private:
    using Event = void (TestWindowFocus::*)();

    // What happens to a window whose focus is somewhere; each waits for its end.
    void acceptTheRestart() { pressUnder(QMessageBox::Ok); }
    void declineTheRestart() { pressUnder(QMessageBox::Cancel); }
    void acceptAndDeclineTheSecondTime();
    void downloadToItsEnd();
    void downloadThatFails();
    void downloadThatCannotBeSaved();
    void downloadAnArchive();
    void downloadThatIsCancelled();
    void downloadOfAnotherRow();
    void reload();
    void reloadInAnotherOrder();
    void reloadDuringADownload();
    void reloadThatFails();
    void scanByKey();
    void scanByMenu();
    void lookAtTheAboutBox();
    void leaveThePreferences();
    void acceptThePreferences();

    void pressUnder(QMessageBox::StandardButton button, TestLine at = {});
    void list(const QStringList& names);
    [[nodiscard]] QAction* action(const QString& name) const;
    void activate(TestLine at = {});
    /// Presses Tab, and arrow keys in the table, until the focus is at @p place.
    void goTo(const QString& place, TestLine at = {});
    /// "⤓ Atlas", "✕ Atlas", "scan", or "table", with the row that is the current one after it.
    [[nodiscard]] QString place() const;

    std::unique_ptr<DownloadBench> m_bench;
};

void TestWindowFocus::init()
{
    m_bench = std::make_unique<DownloadBench>(DownloadBench::Held);
    list({u"Atlas"_s, u"Boreal"_s, u"Quillmere"_s, u"Cirrus"_s});
    m_bench->open();
    activate();
}

void TestWindowFocus::cleanup()
{
    m_bench.reset();
}

void TestWindowFocus::list(const QStringList& names)
{
    QList<DownloadBench::Entry> entries;
    for (const QString& name : names) {
        entries.append(
            {.name = name, .fileName = name + (name == "Cirrus"_L1 ? ".zip"_L1 : ".dmg"_L1)});
    }
    m_bench->list(entries);
}

QAction* TestWindowFocus::action(const QString& name) const
{
    return m_bench->window().findChild<QAction*>(name);
}

void TestWindowFocus::activate(TestLine at)
{
    // Again and again: a dialog that is closed at once may become active afterwards.
    const auto isActive = [this] {
        m_bench->window().activateWindow();
        return QGuiApplication::focusWindow() == m_bench->window().windowHandle();
    };
    TRY_VERIFY_AT(at, isActive(), 5000);
}

QString TestWindowFocus::place() const
{
    const auto* table = m_bench->table();
    const QWidget* focused = QApplication::focusWidget();
    if (!focused) {
        return u"nowhere"_s;
    }
    if (focused == table) {
        const QTableWidgetItem* current = table->item(table->currentRow(), 0);
        return current ? "table "_L1 + current->text() : u"table"_s;
    }
    if (focused->objectName() == "LoadButton"_L1) {
        return u"scan"_s;
    }
    for (int row = 0; row < table->rowCount(); ++row) {
        if (table->cellWidget(row, 2)->isAncestorOf(focused)) {
            return static_cast<const QPushButton*>(focused)->text() + u' ' +
                   table->item(row, 0)->text();
        }
    }
    return focused->objectName();
}

void TestWindowFocus::goTo(const QString& wanted, TestLine at)
{
    for (int i = 0; i < 20 && !place().startsWith(wanted.section(u' ', 0, 0)); ++i) {
        press(Qt::Key_Tab);
    }
    for (int i = 0; i < 100 && place() != wanted; ++i) {
        press(place().startsWith("table"_L1) ? Qt::Key_Down : Qt::Key_Tab);
    }
    COMPARE_AT(at, place(), wanted);
}

void TestWindowFocus::staysOver_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<Event>("happens");
    QTest::addColumn<QString>("to");

    const auto row = [](const char* name, const QString& from, Event happens, const QString& to) {
        QTest::addRow("%s, at %s", name, qUtf8Printable(from)) << from << happens << to;
    };
    using T = TestWindowFocus;
    row("the restart accepted", u"⤓ Quillmere"_s, &T::acceptTheRestart, u"✕ Quillmere"_s);
    row("the restart declined", u"⤓ Quillmere"_s, &T::declineTheRestart, u"⤓ Quillmere"_s);
    row("the second question declined", u"⤓ Quillmere"_s, &T::acceptAndDeclineTheSecondTime,
        u"⤓ Quillmere"_s);
    row("a download", u"⤓ Boreal"_s, &T::downloadToItsEnd, u"⤓ Boreal"_s);
    row("a download that fails", u"⤓ Boreal"_s, &T::downloadThatFails, u"⤓ Boreal"_s);
    row("a download that cannot be saved", u"⤓ Boreal"_s, &T::downloadThatCannotBeSaved,
        u"⤓ Boreal"_s);
    row("a download that is cancelled", u"⤓ Boreal"_s, &T::downloadThatIsCancelled, u"⤓ Boreal"_s);
    row("an archive", u"⤓ Cirrus"_s, &T::downloadAnArchive, u"⤓ Cirrus"_s);
    for (const QString& place : {u"⤓ Boreal"_s, u"table Boreal"_s, u"scan"_s}) {
        row("another row's download", place, &T::downloadOfAnotherRow, place);
        row("a reload", place, &T::reload, place);
        row("a reload in another order", place, &T::reloadInAnotherOrder, place);
        row("a reload that fails", place, &T::reloadThatFails, place);
        row("a scan by the menu", place, &T::scanByMenu, place);
        row("the about box", place, &T::lookAtTheAboutBox, place);
        row("the preferences", place, &T::leaveThePreferences, place);
        row("accepted preferences", place, &T::acceptThePreferences, place);
    }
    row("a reload during a download", u"⤓ Boreal"_s, &T::reloadDuringADownload, u"✕ Boreal"_s);
    row("a scan by key", u"scan"_s, &T::scanByKey, u"scan"_s);
}

void TestWindowFocus::staysOver()
{
    QFETCH(QString, from);
    QFETCH(Event, happens);
    QFETCH(QString, to);
    goTo(from);
    (this->*happens)();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    activate();
    QTRY_COMPARE(place(), to);
}

void TestWindowFocus::pressUnder(QMessageBox::StandardButton button, TestLine at)
{
    const BoxAnswerer answers(button);
    press(Qt::Key_Space);
    COMPARE_AT(at, answers.count(), 1);
}

void TestWindowFocus::acceptAndDeclineTheSecondTime()
{
    acceptTheRestart();
    QTRY_COMPARE(m_bench->held().waiting(u"soft/Quillmere.dmg"_s), 1);
    const BoxAnswerer answers(QMessageBox::No);
    m_bench->held().answer(u"soft/Quillmere.dmg"_s, "body");
    QTRY_COMPARE(answers.count(), 1);
    QVERIFY(m_bench->waitForScan());
    QVERIFY(m_bench->waitForLook(2, u"2.0 ⤓ #d4d4d4"_s));
}

void TestWindowFocus::downloadToItsEnd()
{
    press(Qt::Key_Space);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/Boreal.dmg"_s), 1);
    m_bench->held().answer(u"soft/Boreal.dmg"_s, "body");
    QVERIFY(m_bench->waitForLook(1, u"2.0 ⤓ #d4d4d4"_s));
    QVERIFY(m_bench->waitForScan());
}

void TestWindowFocus::downloadThatFails()
{
    press(Qt::Key_Space);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/Boreal.dmg"_s), 1);
    const BoxAnswerer answers(QMessageBox::Ok);
    m_bench->held().answer(u"soft/Boreal.dmg"_s, "gone", 404);
    QTRY_COMPARE(answers.count(), 1);
    QVERIFY(m_bench->waitForLook(1, u"2.0 ⤓ #d4d4d4"_s));
}

void TestWindowFocus::downloadThatCannotBeSaved()
{
    QVERIFY(QDir(m_bench->downloads()).removeRecursively());
    press(Qt::Key_Space);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/Boreal.dmg"_s), 1);
    const BoxAnswerer answers(QMessageBox::Ok);
    m_bench->held().answer(u"soft/Boreal.dmg"_s, "body");
    QTRY_COMPARE(answers.count(), 1);
    QVERIFY(m_bench->waitForLook(1, u"2.0 ⤓ #d4d4d4"_s));
}

void TestWindowFocus::downloadAnArchive()
{
    press(Qt::Key_Space);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/Cirrus.zip"_s), 1);
    m_bench->held().answer(u"soft/Cirrus.zip"_s, zipped({u"Cirrus.pkg"_s}));
    QTRY_COMPARE_WITH_TIMEOUT(m_bench->opened().size(), 1, 30'000);
    QVERIFY(m_bench->waitForScan());
}

void TestWindowFocus::downloadThatIsCancelled()
{
    press(Qt::Key_Space);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/Boreal.dmg"_s), 1);
    press(Qt::Key_Space);
    QCOMPARE(m_bench->look(1), u"2.0 ⤓ #d4d4d4"_s);
}

void TestWindowFocus::downloadOfAnotherRow()
{
    // As one that was pressed before the user went on to another place.
    m_bench->window().startDownload(0);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/Atlas.dmg"_s), 1);
    m_bench->held().answer(u"soft/Atlas.dmg"_s, "body");
    QVERIFY(m_bench->waitForLook(0, u"2.0 ⤓ #d4d4d4"_s));
    QVERIFY(m_bench->waitForScan());
}

void TestWindowFocus::reload()
{
    QVERIFY(m_bench->window().action_loadWebData());
}

void TestWindowFocus::reloadInAnotherOrder()
{
    list({u"Cirrus"_s, u"New"_s, u"Atlas"_s, u"Boreal"_s});
    reload();
}

void TestWindowFocus::reloadDuringADownload()
{
    press(Qt::Key_Space);
    QTRY_COMPARE(m_bench->held().waiting(u"soft/Boreal.dmg"_s), 1);
    reloadInAnotherOrder();
}

void TestWindowFocus::reloadThatFails()
{
    m_bench->listNothing();
    const BoxAnswerer answers(QMessageBox::Ok);
    QVERIFY(!m_bench->window().action_loadWebData());
    QCOMPARE(answers.count(), 1);
}

void TestWindowFocus::scanByKey()
{
    press(Qt::Key_Space);
    QVERIFY(m_bench->isWaitDialogVisible());
    QVERIFY(m_bench->waitForScan());
}

void TestWindowFocus::scanByMenu()
{
    action(u"actionReloadSystemData"_s)->trigger();
    QVERIFY(m_bench->isWaitDialogVisible());
    QVERIFY(m_bench->waitForScan());
}

void TestWindowFocus::lookAtTheAboutBox()
{
    const DialogAnswerer answers(QDialogButtonBox::Ok);
    action(u"actionAbout"_s)->trigger();
}

void TestWindowFocus::leaveThePreferences()
{
    const DialogAnswerer answers(QDialogButtonBox::Cancel);
    action(u"actionPreferences"_s)->trigger();
}

void TestWindowFocus::acceptThePreferences()
{
    const DialogAnswerer answers(QDialogButtonBox::Ok);
    action(u"actionPreferences"_s)->trigger();
    QVERIFY(m_bench->waitForScan());
}

void TestWindowFocus::secondSpaceIsForTheSameRow()
{
    goTo(u"⤓ Quillmere"_s);
    acceptTheRestart();
    activate();
    press(Qt::Key_Space);
    QCOMPARE(m_bench->looks(), QStringList(4, u"2.0 ⤓ #d4d4d4"_s));
}

void TestWindowFocus::followsItsRow_data()
{
    QTest::addColumn<QStringList>("former");
    QTest::addColumn<int>("from");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<int>("to"); ///< a row; -1 for the table itself

    const QStringList twice = {u"Boreal"_s, u"Atlas"_s, u"Boreal"_s};
    const auto row = [](const char* what, const QStringList& former, int from,
                        const QStringList& names,
                        int to) { QTest::newRow(what) << former << from << names << to; };
    row("elsewhere", twice, 1, {u"New"_s, u"Boreal"_s, u"Atlas"_s}, 2);
    row("gone", twice, 1, {u"Boreal"_s, u"atlas"_s, u"Atlas 2"_s}, -1);
    row("the first of two", twice, 0, {u"Atlas"_s, u"Boreal"_s, u"Boreal"_s}, 1);
    row("the second of two", twice, 2, {u"Atlas"_s, u"Boreal"_s, u"Boreal"_s}, 2);
    row("the second of two, listed once", twice, 2, {u"Atlas"_s, u"Boreal"_s}, 1);
}

void TestWindowFocus::followsItsRow()
{
    QFETCH(QStringList, former);
    QFETCH(int, from);
    QFETCH(QStringList, names);
    QFETCH(int, to);
    list(former);
    reload();
    m_bench->button(from, u"downloadBtn"_s)->setFocus();
    m_bench->table()->setCurrentCell(from, 0);
    list(names);
    reload();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QWidget* const table = m_bench->table();
    QCOMPARE(QApplication::focusWidget(), to < 0 ? table : m_bench->button(to, u"downloadBtn"_s));
    if (to >= 0) {
        QCOMPARE(m_bench->table()->currentRow(), to);
    }
}

void TestWindowFocus::isSeenAfterAReload()
{
    QStringList names;
    for (int i = 0; i < 60; ++i) {
        names.append(u"App%1"_s.arg(i));
    }
    list(names);
    reload();
    goTo(u"table App50"_s);
    press(Qt::Key_Tab);
    m_bench->button(50, u"downloadBtn"_s)->setFocus(Qt::TabFocusReason);
    reload();
    QCOMPARE(place(), u"⤓ App50"_s);
    QVERIFY(isSeen(QApplication::focusWidget(), QPoint(2, 12)));
}

void TestWindowFocus::movedDuringAScanItIsLeftThere()
{
    goTo(u"scan"_s);
    m_bench->machine().holdScans();
    press(Qt::Key_Space);
    // Escape hides the wait dialog, and the window can be used again.
    QTest::keyClick(m_bench->window().findChild<WaitDialog*>(), Qt::Key_Escape);
    activate();
    QTest::keyClick(m_bench->window().windowHandle(), Qt::Key_Tab);
    const QString moved = place();
    QVERIFY(moved != u"scan"_s);
    m_bench->machine().releaseScans();
    QVERIFY(m_bench->waitForScan());
    activate();
    QCOMPARE(place(), moved);
}

QTEST_MAIN(TestWindowFocus)
#include "tst_windowfocus.moc"
