#include "windowcomparison.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

#ifdef QUILLMERE_LONG_COMPARISON
constexpr int casesPerRow = 100;
constexpr int dataRows = 10;
#else
constexpr int casesPerRow = 8;
constexpr int dataRows = 5;
#endif

} // namespace

/// What `preview` says against what a running window shows: its cells, its colours, its matches.
class TestPreviewWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void previewSaysWhatTheWindowShows_data();
    void previewSaysWhatTheWindowShows();
    void everyVerdictWasAmongThem();

private:
    QHash<QString, int> m_rowsByColor;
    int m_openRows = 0;
};

void TestPreviewWindow::initTestCase()
{
    silenceClientLog();
}

void TestPreviewWindow::previewSaysWhatTheWindowShows_data()
{
    QTest::addColumn<quint32>("seed");
    for (int seed = 1; seed <= dataRows; ++seed) {
        QTest::addRow("%d random catalogues and machines of seed %d", casesPerRow, seed)
            << quint32(seed);
    }
}

void TestPreviewWindow::previewSaysWhatTheWindowShows()
{
    QFETCH(quint32, seed);
    WindowComparison comparison(seed);
    QCOMPARE(comparison.firstDifference(casesPerRow), QString());
    const QHash<QString, int> rows = comparison.rowsByColor();
    for (auto entry = rows.cbegin(); entry != rows.cend(); ++entry) {
        m_rowsByColor[entry.key()] += entry.value();
    }
    m_openRows += comparison.openRows();
}

void TestPreviewWindow::everyVerdictWasAmongThem()
{
    for (const QString& color : {u"#d4d4d4"_s, u"#ffdada"_s, u"#daffda"_s, u"#dadaff"_s}) {
        qInfo("%s: %d rows", qPrintable(color), m_rowsByColor.value(color));
        QVERIFY2(m_rowsByColor.value(color) > 0, qPrintable(color));
    }
    qInfo("open: %d rows", m_openRows);
    QVERIFY(m_openRows > 0);
}

QTEST_MAIN(TestPreviewWindow)
#include "tst_previewwindow.moc"
