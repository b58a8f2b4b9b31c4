#include "forecastcomparison.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

#ifdef QUILLMERE_LONG_COMPARISON
constexpr int casesPerRow = 100;
constexpr int dataRows = 10;
constexpr bool hasRareTurns = true;
#else
constexpr int casesPerRow = 6;
constexpr int dataRows = 5;
constexpr bool hasRareTurns = false; ///< so few cases do not have each
#endif

} // namespace

/// What `forecast` says against what a running window shows with one catalogue and with the other.
class TestForecastWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void forecastSaysWhatTwoWindowsShow_data();
    void forecastSaysWhatTwoWindowsShow();
    void everyTurnWasAmongThem();

private:
    QHash<QString, int> m_rowsByTurn;
};

void TestForecastWindow::initTestCase()
{
    silenceClientLog();
}

void TestForecastWindow::forecastSaysWhatTwoWindowsShow_data()
{
    QTest::addColumn<quint32>("seed");
    for (int seed = 1; seed <= dataRows; ++seed) {
        QTest::addRow("%d random machines and pairs of catalogues of seed %d", casesPerRow, seed)
            << quint32(seed);
    }
}

void TestForecastWindow::forecastSaysWhatTwoWindowsShow()
{
    QFETCH(quint32, seed);
    ForecastComparison comparison(seed);
    QCOMPARE(comparison.firstDifference(casesPerRow), QString());
    const QHash<QString, int> rows = comparison.rowsByTurn();
    for (auto entry = rows.cbegin(); entry != rows.cend(); ++entry) {
        m_rowsByTurn[entry.key()] += entry.value();
    }
}

void TestForecastWindow::everyTurnWasAmongThem()
{
    const QStringList verdicts = {u"update available"_s, u"up to date"_s,
                                  u"newer than the catalogue"_s};
    QStringList expected = {u"no row -> not installed"_s, u"not installed -> no row"_s,
                            u"unknown -> unknown"_s};
    for (const QString& verdict : verdicts) {
        expected += {u"no row -> "_s + verdict, verdict + u" -> no row"_s};
        for (const QString& other : verdicts) {
            if (hasRareTurns || other == verdict) {
                expected.append(verdict + u" -> "_s + other);
            }
        }
    }
    QStringList missing;
    for (const QString& turn : std::as_const(expected)) {
        if (m_rowsByTurn.value(turn) == 0) {
            missing.append(turn);
        }
    }
    QCOMPARE(missing.join(u'\n'), QString());
}

QTEST_MAIN(TestForecastWindow)
#include "tst_forecastwindow.moc"
