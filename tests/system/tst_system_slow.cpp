#include "system/system.h"

#include "support/privatehome.h"

#include <QElapsedTimer>
#include <QTest>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

class TestSystemSlow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void programIsEndedAfterThirtySecondsAndItsOutputKept();
};

void TestSystemSlow::programIsEndedAfterThirtySecondsAndItsOutputKept()
{
    const PrivateHome home;
    const QString pidPath = home.path() + "/pid"_L1;
    QElapsedTimer timer;
    timer.start();
    const QList<QByteArray> output =
        System::execute({u"/bin/sh"_s, u"-c"_s,
                         u"echo $$ >\"$0\"; echo out; echo err >&2; exec sleep 300"_s, pidPath});
    const qint64 elapsed = timer.elapsed();

    QCOMPARE(output, QList<QByteArray>({"out\n", "err\n"}));
    QVERIFY2(elapsed >= 28'500, qPrintable(u"gave up after %1 ms"_s.arg(elapsed)));
    QVERIFY2(elapsed <= 31'500, qPrintable(u"waited for %1 ms"_s.arg(elapsed)));
    const int pid = PrivateHome::read(pidPath).trimmed().toInt();
    QVERIFY(pid > 0);
    const bool stillRuns = ::kill(pid, SIGKILL) == 0;
    QVERIFY2(!stillRuns, "the program still runs");
}

QTEST_GUILESS_MAIN(TestSystemSlow)
#include "tst_system_slow.moc"
