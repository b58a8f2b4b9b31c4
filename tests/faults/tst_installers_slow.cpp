#include "faults/faultwindow.h"

#include "support/modalbox.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <QTest>

#include <sys/resource.h>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 pieces = 1'000;
constexpr qint64 megabyte = 1'000'000;

/// The most memory that this process has had so far.
qint64 peakMemory()
{
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
#ifdef Q_OS_MACOS
    return usage.ru_maxrss;
#else
    return usage.ru_maxrss * 1024;
#endif
}

} // namespace

/// What becomes of the window when an installer is huge.
class TestInstallersSlow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void bodyOfAGigabyteIsSaved();
    void bodyOfAGigabyteCutShortIsNot();

private:
    void offer(const HttpReply& reply);

    std::optional<FaultWindow> m_fault;
};

void TestInstallersSlow::init()
{
    m_fault.emplace();
    if (QStorageInfo(m_fault->downloads()).bytesAvailable() < 2 * pieces * megabyte) {
        QSKIP("not enough room on the disk");
    }
    m_fault->openWorking();
}

void TestInstallersSlow::cleanup()
{
    m_fault.reset();
}

void TestInstallersSlow::offer(const HttpReply& reply)
{
    HttpReply large = reply;
    large.body = QByteArray(megabyte, 'x');
    large.times = pieces;
    m_fault->offer(u"tool.dmg"_s, large);
}

void TestInstallersSlow::bodyOfAGigabyteIsSaved()
{
    offer({});
    QElapsedTimer timer;
    timer.start();
    m_fault->pressDownload(0);
    QTRY_COMPARE_WITH_TIMEOUT(m_fault->opened().size(), 1, 60'000);
    QVERIFY2(timer.elapsed() < 60'000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(m_fault->waitForScan());
    const QString path = m_fault->downloads() + "/tool.dmg"_L1;
    QCOMPARE(QFileInfo(path).size(), pieces * megabyte);
    QVERIFY2(peakMemory() < 2'500 * megabyte, qPrintable(QString::number(peakMemory())));
    QCOMPARE(m_fault->rows(), FaultWindow::workingRows());
    QVERIFY(QFile::remove(path));
    m_fault->expectUntouchedDisk();
    QVERIFY(m_fault->windowStillWorks());
}

void TestInstallersSlow::bodyOfAGigabyteCutShortIsNot()
{
    offer({.announcedLength = pieces * megabyte + 1});
    const BoxAnswerer boxes(QMessageBox::Ok);
    m_fault->pressDownload(0);
    QTRY_COMPARE_WITH_TIMEOUT(boxes.count(), 1, 60'000);
    QCOMPARE(boxes.texts(), QStringList{u"Connection closed"_s});
    QVERIFY(m_fault->waitForLook(0, u"2.0 ⤓ #ffdada"_s));
    QVERIFY(m_fault->opened().isEmpty());
    m_fault->expectUntouchedDisk();
    QVERIFY(m_fault->windowStillWorks());
}

QTEST_MAIN(TestInstallersSlow)
#include "tst_installers_slow.moc"
