#include "companion/report/workahead.h"

#include <QSemaphore>
#include <QTest>

#include <atomic>
#include <memory>

/// Work that is done in several threads, ahead of who takes its results.
class TestWorkAhead : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void handsOutResultsInTheirOrder();
    void worksOnSeveralPiecesAtOnce();
    void isOnlyAFewPiecesAhead();
    void callsWhoWaits();
    void doesNotBeginTheRest();
};

void TestWorkAhead::handsOutResultsInTheirOrder()
{
    QSemaphore second;
    WorkAhead<qsizetype> work(1'000, 4, [&second](qsizetype piece) {
        if (piece == 0) {
            second.acquire(); // so that the first piece is not the first that is done
        } else if (piece == 1) {
            second.release();
        }
        return piece * piece;
    });
    for (qsizetype piece = 0; piece < 1'000; ++piece) {
        QCOMPARE(work.next([] {}), piece * piece);
    }
}

void TestWorkAhead::worksOnSeveralPiecesAtOnce()
{
    QSemaphore met;
    WorkAhead<bool> work(2, 2, [&met](qsizetype piece) {
        met.release();
        // Either goes on only when the other has begun.
        return piece == 0 ? met.tryAcquire(2, 10'000) : true;
    });
    QVERIFY(work.next([] {}));
    QVERIFY(work.next([] {}));
}

void TestWorkAhead::isOnlyAFewPiecesAhead()
{
    std::atomic<int> begun = 0;
    WorkAhead<int> work(1'000, 4, [&begun](qsizetype) { return ++begun; });
    QTRY_COMPARE(begun.load(), 64);
    QVERIFY(work.next([] {}) > 0);
    QTRY_COMPARE(begun.load(), 65);
}

void TestWorkAhead::callsWhoWaits()
{
    QSemaphore called;
    WorkAhead<bool> work(1, 1, [&called](qsizetype) { return called.tryAcquire(3, 10'000); });
    QVERIFY(work.next([&called] { called.release(); }));
}

void TestWorkAhead::doesNotBeginTheRest()
{
    std::atomic<int> begun = 0;
    auto work = std::make_unique<WorkAhead<int>>(1'000, 4, [&begun](qsizetype) { return ++begun; });
    QTRY_COMPARE(begun.load(), 64);
    work.reset();
    QCOMPARE(begun.load(), 64);
}

QTEST_GUILESS_MAIN(TestWorkAhead)
#include "tst_workahead.moc"
