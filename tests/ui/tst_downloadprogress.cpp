#include "ui/downloadprogress.h"

#include <QTest>

#include <limits>

namespace {

const QColor done(127, 214, 127);
const QColor base(212, 212, 212);

constexpr qint64 largest = std::numeric_limits<qint64>::max();

/// The colour at @p place, 0 to 1, of a column painted with @p stops.
QColor colorAt(const QGradientStops& stops, double place)
{
    QColor color = stops.constFirst().second;
    for (const QGradientStop& stop : stops) {
        if (stop.first <= place) {
            color = stop.second;
        }
    }
    return color;
}

} // namespace

class TestDownloadProgress : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsTheWholePercentage_data();
    void tellsTheWholePercentage();

    void columnBehindTheBarsEndIsInTheBaseColor_data();
    void columnBehindTheBarsEndIsInTheBaseColor();
    void coveredColumnIsInTheProgressColor_data();
    void coveredColumnIsInTheProgressColor();
    void barEndsInsideAColumnWithAHardEdge_data();
    void barEndsInsideAColumnWithAHardEdge();
    void stopsNeverLeaveTheColumn();
    void givesTheColorsAsTheyAre();
    void threeColumnsMakeOneBar_data();
    void threeColumnsMakeOneBar();
};

void TestDownloadProgress::tellsTheWholePercentage_data()
{
    QTest::addColumn<qint64>("received");
    QTest::addColumn<qint64>("total");
    QTest::addColumn<qint64>("percentage");

    const auto row = [](const char* what, qint64 received, qint64 total, qint64 percentage) {
        QTest::newRow(what) << received << total << percentage;
    };
    row("nothing yet", 0, 1'000, 0);
    row("less than one percent", 9, 1'000, 0);
    row("exactly one percent", 10, 1'000, 1);
    row("truncated, not rounded", 429, 1'000, 42);
    row("half", 500, 1'000, 50);
    row("a third", 1, 3, 33);
    row("two thirds", 2, 3, 66);
    row("one byte is missing", 999, 1'000, 99);
    row("all", 1'000, 1'000, 100);
    row("one byte of one", 1, 1, 100);
    row("more than announced", 1'500, 1'000, 150);
    row("nothing of nothing, as of a failed connection", 0, 0, 0);
    row("unknown total", 12'345, -1, 0);
    row("total below the unknown one", 12'345, -100, 0);
    row("total of zero", 12'345, 0, 0);
    row("more than 32 bits, a hundredfold", 30'000'000, 60'000'000, 50);
    row("more than 32 bits", 3'000'000'000, 4'000'000'000, 75);
    row("more bytes than a double tells apart", 9'007'199'254'740'993, 9'007'199'254'740'994, 99);
    row("the largest that fits", largest / 100, largest / 100, 100);
}

void TestDownloadProgress::tellsTheWholePercentage()
{
    QFETCH(qint64, received);
    QFETCH(qint64, total);
    QFETCH(qint64, percentage);
    QCOMPARE(downloadPercentage(received, total), percentage);
}

void TestDownloadProgress::columnBehindTheBarsEndIsInTheBaseColor_data()
{
    QTest::addColumn<double>("progress");
    QTest::addColumn<double>("start");
    QTest::addColumn<double>("end");

    QTest::newRow("no progress, first column") << 0.0 << 0.0 << 0.4;
    QTest::newRow("no progress, last column") << 0.0 << 0.7 << 1.0;
    QTest::newRow("bar ends before the column") << 0.3 << 0.4 << 0.7;
    QTest::newRow("bar ends where the column starts") << 0.5 << 0.5 << 0.7;
    QTest::newRow("negative progress") << -0.5 << 0.0 << 1.0;
}

void TestDownloadProgress::columnBehindTheBarsEndIsInTheBaseColor()
{
    QFETCH(double, progress);
    QFETCH(double, start);
    QFETCH(double, end);
    const QGradientStops expected = {{0.0, base}, {1.0, base}};
    QCOMPARE(progressStops(progress, {start, end}, done, base), expected);
}

void TestDownloadProgress::coveredColumnIsInTheProgressColor_data()
{
    QTest::addColumn<double>("progress");
    QTest::addColumn<double>("start");
    QTest::addColumn<double>("end");

    QTest::newRow("bar ends behind the column") << 0.8 << 0.4 << 0.7;
    QTest::newRow("bar ends where the column ends") << 0.5 << 0.25 << 0.5;
    QTest::newRow("all done, first column") << 1.0 << 0.0 << 0.4;
    QTest::newRow("all done, last column") << 1.0 << 0.7 << 1.0;
    QTest::newRow("more than all") << 1.5 << 0.7 << 1.0;
    QTest::newRow("a column without width") << 0.5 << 0.5 << 0.5;
}

void TestDownloadProgress::coveredColumnIsInTheProgressColor()
{
    QFETCH(double, progress);
    QFETCH(double, start);
    QFETCH(double, end);
    const QGradientStops expected = {{0.0, done}, {1.0, done}};
    QCOMPARE(progressStops(progress, {start, end}, done, base), expected);
}

void TestDownloadProgress::barEndsInsideAColumnWithAHardEdge_data()
{
    QTest::addColumn<double>("progress");
    QTest::addColumn<double>("start");
    QTest::addColumn<double>("end");
    QTest::addColumn<double>("edge");

    // Shares that a double holds exactly.
    QTest::newRow("half of the only column") << 0.5 << 0.0 << 1.0 << 0.5;
    QTest::newRow("a quarter of the only column") << 0.25 << 0.0 << 1.0 << 0.25;
    QTest::newRow("half of the first column") << 0.25 << 0.0 << 0.5 << 0.5;
    QTest::newRow("half of the last column") << 0.75 << 0.5 << 1.0 << 0.5;
    QTest::newRow("a quarter of the middle column") << 0.3125 << 0.25 << 0.5 << 0.25;
}

void TestDownloadProgress::barEndsInsideAColumnWithAHardEdge()
{
    QFETCH(double, progress);
    QFETCH(double, start);
    QFETCH(double, end);
    QFETCH(double, edge);
    const QGradientStops expected = {{0.0, done}, {edge, done}, {edge + 0.001, base}, {1.0, base}};
    QCOMPARE(progressStops(progress, {start, end}, done, base), expected);
}

void TestDownloadProgress::stopsNeverLeaveTheColumn()
{
    const QGradientStops stops = progressStops(0.9999, {0.0, 1.0}, done, base);
    const QGradientStops expected = {{0.0, done}, {0.9999, done}, {1.0, base}, {1.0, base}};
    QCOMPARE(stops, expected);
}

void TestDownloadProgress::givesTheColorsAsTheyAre()
{
    const QColor translucent(1, 2, 3, 4);
    const QGradientStops expected = {
        {0.0, translucent}, {0.5, translucent}, {0.501, QColor()}, {1.0, QColor()}};
    QCOMPARE(progressStops(0.5, {0.0, 1.0}, translucent, QColor()), expected);
}

void TestDownloadProgress::threeColumnsMakeOneBar_data()
{
    QTest::addColumn<int>("percentage");
    for (int percentage = 0; percentage <= 100; ++percentage) {
        QTest::addRow("%d%%", percentage) << percentage;
    }
}

void TestDownloadProgress::threeColumnsMakeOneBar()
{
    QFETCH(int, percentage);
    constexpr int widths[] = {211, 174, 174};
    constexpr int rowWidth = 559;
    const double progress = percentage / 100.0;
    int left = 0;
    for (const int width : widths) {
        const ColumnSpan span{double(left) / rowWidth, double(left + width) / rowWidth};
        const QGradientStops stops = progressStops(progress, span, done, base);
        for (int x = 0; x < width; ++x) {
            const double middle = left + x + 0.5;
            // At the edge itself the colour changes within a pixel.
            if (qAbs(middle - progress * rowWidth) > 1.0) {
                const QColor expected = middle < progress * rowWidth ? done : base;
                QCOMPARE(colorAt(stops, (x + 0.5) / width), expected);
            }
        }
        left += width;
    }
}

QTEST_GUILESS_MAIN(TestDownloadProgress)
#include "tst_downloadprogress.moc"
