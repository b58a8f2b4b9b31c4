#include "profiler/rowverdict.h"

#include <QTest>

class TestRowVerdict : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void namesTheColorOfAVerdict_data();
    void namesTheColorOfAVerdict();
};

void TestRowVerdict::namesTheColorOfAVerdict_data()
{
    QTest::addColumn<bool>("isInstalled");
    QTest::addColumn<int>("order");
    QTest::addColumn<QString>("key");

    const auto row = [](const char* what, bool isInstalled, int order, const char* key) {
        QTest::newRow(what) << isInstalled << order << QString::fromLatin1(key);
    };
    row("installed and older", true, -1, "-1");
    row("installed and equal", true, 0, "0");
    row("installed and newer", true, 1, "1");
    row("installed, a result that has no colour: still its decimal text", true, 2, "2");
    row("not installed: empty, whatever the result (older)", false, -1, "");
    row("not installed: empty, whatever the result (equal)", false, 0, "");
    row("not installed: empty, whatever the result (newer)", false, 1, "");
}

void TestRowVerdict::namesTheColorOfAVerdict()
{
    QFETCH(bool, isInstalled);
    QFETCH(int, order);
    QFETCH(QString, key);
    QCOMPARE(rowColorKey(isInstalled, order), key);
}

QTEST_GUILESS_MAIN(TestRowVerdict)
#include "tst_rowverdict.moc"
