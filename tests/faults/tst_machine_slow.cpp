#include "faults/faultwindow.h"
#include "support/windowclick.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPushButton>
#include <QTest>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace {

const QStringList failedTwice(2, u"[INFO] XML parsing failed for ~/Bundles/Atlas.app/Contents/"
                                 "Info.plist, trying plutil..."_s);
const QStringList found = {
    u"[INFO] SysProfiler - New thread start"_s, u"[INFO] SysProfiler - data Updating..."_s,
    u"[INFO] SysProfiler [find] — 1 apps found"_s, u"[INFO]   + Atlas (~/Bundles/Atlas.app)"_s,
    u"[INFO] SysProfiler - data updated (execution duration: Ns)"_s};
const QStringList matched = {u"[INFO] Profiler - 'Atlas' → matched 'Atlas' v1.0"_s,
                             u"[WARNING] Profiler - 'Bench' → NOT FOUND in system"_s};
const QStringList unread = {u"[WARNING] SysProfiler - Cannot read version for 'Atlas' — plist: "
                            "~/Bundles/Atlas.app/Contents/Info.plist"_s,
                            u"[INFO] Profiler - 'Atlas' → matched 'Atlas' v"_s,
                            u"[WARNING] Profiler - 'Bench' → NOT FOUND in system"_s};

} // namespace

/// Commands of the machine that do not end: each is given 30 s.
class TestMachineSlow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findDoesNotEnd_data();
    void findDoesNotEnd();
    void plutilDoesNotEnd();
};

void TestMachineSlow::findDoesNotEnd_data()
{
    QTest::addColumn<QByteArray>("script");

    QTest::newRow("slow beyond 30 s") << QByteArray("exec sleep 100\n");
    QTest::newRow("waits for input") << QByteArray("exec cat\n");
}

void TestMachineSlow::findDoesNotEnd()
{
    QFETCH(QByteArray, script);

    FaultWindow window;
    window.openWorking();
    const QString home = window.machine().home().path();
    window.machine().standIns().add(u"find"_s, "echo $$ >'" + home.toUtf8() + "/pid'\ncat '" +
                                                   home.toUtf8() + "/find.out'\n" + script);
    auto* button = window.window().findChild<QPushButton*>(u"LoadButton"_s);
    QElapsedTimer timer;
    timer.start();
    windowClick(button);
    QVERIFY(window.isWaitDialogVisible());
    const auto pid = [&] { return PrivateHome::read(home + "/pid"_L1).trimmed().toInt(); };
    QTRY_VERIFY_WITH_TIMEOUT(pid() != 0, 20'000);

    // Escape hides the wait dialog, not the scan; the window works meanwhile.
    QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Escape);
    QVERIFY(!window.isWaitDialogVisible());
    QVERIFY(!button->isEnabled());
    window.reload();
    QCOMPARE(window.rows().constFirst(), u"Atlas |  | 2.0 ⤓ #d4d4d4"_s);
    (void)window.takeLines();

    const int process = pid();
    QVERIFY(QTest::qWaitFor([&] { return button->isEnabled(); }, 60'000));
    QVERIFY2(timer.elapsed() >= 29'900, qPrintable(QString::number(timer.elapsed())));
    // What it has printed by then counts, and it is ended.
    QCOMPARE(window.rows(), FaultWindow::workingRows());
    QStringList lines = window.takeLines();
    QCOMPARE(lines.replaceInStrings(home, u"~"_s), found.sliced(2) + matched);
    QCOMPARE(::kill(process, 0), -1);
    QVERIFY(window.windowStillWorks());
}

void TestMachineSlow::plutilDoesNotEnd()
{
    FaultWindow window;
    window.openWorking();
    const PrivateHome& home = window.machine().home();
    home.write(u"Bundles/Atlas.app/Contents/Info.plist"_s, "bplist00");
    window.machine().standIns().add(u"plutil"_s, "exec sleep 100\n");
    windowClick(window.window().findChild<QPushButton*>(u"LoadButton"_s));
    // Asked twice, for 30 s each; the window stands still meanwhile.
    QVERIFY(QTest::qWaitFor([&] { return !window.isWaitDialogVisible(); }, 120'000));
    QCOMPARE(window.rows().constFirst(), u"Atlas |  | 2.0 ⤓ #ffdada"_s);
    QStringList lines = window.takeLines();
    QCOMPARE(lines.replaceInStrings(home.path(), u"~"_s), found + failedTwice + unread);
    QVERIFY(window.windowStillWorks());
}

QTEST_MAIN(TestMachineSlow)
#include "tst_machine_slow.moc"
