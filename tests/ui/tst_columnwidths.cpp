#include "ui/columnwidths.h"

#include <QTest>

class TestColumnWidths : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void firstColumnGivesWay_data();
    void firstColumnGivesWay();
};

void TestColumnWidths::firstColumnGivesWay_data()
{
    QTest::addColumn<int>("viewport");
    QTest::addColumn<ColumnWidths>("set");
    QTest::addColumn<int>("width");
    const auto row = [](const char* what, int viewport, const ColumnWidths& set, int width) {
        QTest::newRow(what) << viewport << set << width;
    };
    const ColumnWidths usual{211, 174, 174};
    row("room to spare", 600, usual, 211);
    row("just room for all", 559, usual, 211);
    row("one point short", 558, usual, 210);
    row("a scroll bar and row numbers", 529, usual, 181);
    row("room for the others alone", 348, usual, 0);
    row("not even that", 347, usual, 0);
    row("no viewport", 0, usual, 0);
    row("wider others", 529, {211, 174, 200}, 155);
    row("narrower others", 529, {211, 100, 174}, 211);
}

void TestColumnWidths::firstColumnGivesWay()
{
    QFETCH(int, viewport);
    QFETCH(ColumnWidths, set);
    QFETCH(int, width);
    QCOMPARE(firstColumnWidth(viewport, set), width);
}

QTEST_GUILESS_MAIN(TestColumnWidths)
#include "tst_columnwidths.moc"
