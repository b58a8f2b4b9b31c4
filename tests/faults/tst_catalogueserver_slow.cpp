#include "faults/faultwindow.h"

#include "faults/oddreplies.h"
#include "support/modalbox.h"

#include <QElapsedTimer>
#include <QTableWidget>
#include <QTest>

#include <optional>

using namespace Qt::Literals::StringLiterals;

/// What becomes of the window when the catalogue's server makes it wait, or sends far too much.
class TestCatalogueServerSlow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void endlessTransferEndsAfterTwoAttempts_data();
    void endlessTransferEndsAfterTwoAttempts();
    void hugeTextIsRead_data();
    void hugeTextIsRead();

private:
    /// A catalogue of @p count records; each one of @p step is offered.
    static QByteArray records(int count, int step);

    std::optional<FaultWindow> m_fault;
};

void TestCatalogueServerSlow::init()
{
    m_fault.emplace();
    m_fault->openWorking();
}

void TestCatalogueServerSlow::cleanup()
{
    m_fault.reset();
}

void TestCatalogueServerSlow::endlessTransferEndsAfterTwoAttempts_data()
{
    QTest::addColumn<HttpReply>("reply");

    QTest::newRow("silent") << HttpReply{.manner = HttpReply::Silent};
    QTest::newRow("a byte each half second")
        << HttpReply{.body = smallCatalogue, .manner = HttpReply::Trickle, .trickleInterval = 500};
    QTest::newRow("a length too large, and open")
        << HttpReply{.body = smallCatalogue, .manner = HttpReply::Stall, .announcedLength = 1'000};
}

void TestCatalogueServerSlow::endlessTransferEndsAfterTwoAttempts()
{
    QFETCH(HttpReply, reply);
    m_fault->serveCatalogue(reply);
    const QString address = m_fault->catalogueAddress();
    const QString line = "[ERROR] WebProfiler - Network timeout for: "_L1 + address;
    QElapsedTimer timer;
    timer.start();
    m_fault->expectFailedLoad(u"Timeout réseau après 15s (%1)"_s.arg(address),
                              {line, FaultWindow::retryLine(), line});
    QVERIFY2(timer.elapsed() < 40'000, qPrintable(QString::number(timer.elapsed())));
    QTRY_COMPARE(m_fault->server().openConnections(), 0); // both were given up
    QVERIFY(m_fault->windowStillWorks());
}

void TestCatalogueServerSlow::hugeTextIsRead_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("rows");

    const auto letters = [](qsizetype size) { return QByteArray(size, 'x'); };
    QTest::newRow("a line of 100 MB that is no record")
        << smallCatalogue + letters(100'000'000) + "\nBench,2.0,,tool.dmg,0\n"
        << 2;
    QTest::newRow("a title of 100 MB") << "Name,Version,Release date,Filename,Ignored," +
                                              letters(100'000'000) + "\nAtlas,2.0,,tool.dmg,0\n"
                                       << 1;
    QTest::newRow("a field of 100 MB that is not read")
        << "Name,Version,Filename,Ignored,More\nAtlas,2.0,tool.dmg,0," + letters(100'000'000) + '\n'
        << 1;
    QTest::newRow("a file's name of 1 MB")
        << smallCatalogue + "Bench,1.0,," + letters(1'000'000) + ",0\n"
        << 2;
    QTest::newRow("a version of 1 MB")
        << smallCatalogue + "Bench," + letters(1'000'000) + ",,tool.dmg,0\n"
        << 2;
    QTest::newRow("a name of 1 MB") << smallCatalogue + letters(1'000'000) + ",1.0,,tool.dmg,0\n"
                                    << 2;
    QByteArray titles = catalogueTitles.chopped(1);
    QByteArray fields = "Atlas,2.0,2026-01-31,tool.dmg,0";
    for (int i = 0; i < 100'000; ++i) {
        titles += ",c" + QByteArray::number(i);
        fields += ",f" + QByteArray::number(i);
    }
    QTest::newRow("100,000 columns") << titles + '\n' + fields + '\n' << 1;
    QTest::newRow("200,000 records, 1,000 of them offered") << records(200'000, 200) << 1'000;
    QTest::newRow("10,000 records offered") << records(10'000, 1) << 10'000;
}

QByteArray TestCatalogueServerSlow::records(int count, int step)
{
    QByteArray text = catalogueTitles;
    for (int i = 0; i < count; ++i) {
        text += "Application " + QByteArray::number(i) + ",2.0,2026-01-31,tool.dmg," +
                (i % step == 0 ? "0\n" : "1\n");
    }
    return text;
}

void TestCatalogueServerSlow::hugeTextIsRead()
{
    QFETCH(QByteArray, text);
    QFETCH(int, rows);
    m_fault->serveCatalogue({.body = text});
    QElapsedTimer timer;
    timer.start();
    const BoxAnswerer boxes(QMessageBox::Ok);
    m_fault->reload();
    m_fault->table()->viewport()->repaint();
    QVERIFY2(timer.elapsed() < 60'000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(boxes.count(), 0);
    QCOMPARE(m_fault->table()->rowCount(), rows);
    QCOMPARE(m_fault->takeLines().first(4), FaultWindow::loadLines(m_fault->catalogueAddress()));
    m_fault->expectUntouchedDisk();
    QVERIFY(m_fault->windowStillWorks());
}

QTEST_MAIN(TestCatalogueServerSlow)
#include "tst_catalogueserver_slow.moc"
