#include "support/windowsetup.h"

#include "support/cataloguetext.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QScrollBar>
#include <QTest>

#include <functional>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QColor base(0xd4, 0xd4, 0xd4);
const QColor down(0xff, 0xda, 0xda);
const QColor equal(0xda, 0xff, 0xda);
const QColor up(0xda, 0xda, 0xff);

/// Counts the events of one type that reach a widget, or anything in it.
class EventCounter : public QObject
{
public:
    EventCounter(const QWidget& widget, QEvent::Type type) : m_widget(widget), m_type(type)
    {
        qApp->installEventFilter(this);
    }

    [[nodiscard]] int count() const { return m_count; }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        const auto* widget = qobject_cast<QWidget*>(watched);
        if (event->type() == m_type && widget &&
            (widget == &m_widget || m_widget.isAncestorOf(widget))) {
            ++m_count;
        }
        return false;
    }

private:
    const QWidget& m_widget;
    QEvent::Type m_type;
    int m_count = 0;
};

} // namespace

class TestApplicationTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // What a row consists of
    void nameAndLocalVersionAreBlackTexts();
    void catalogueItemIsEmptyWithAToolTip_data();
    void catalogueItemIsEmptyWithAToolTip();
    void cellHasItsStyleSheet();
    void cellHasItsLayout();
    void cellHoldsTheCatalogueVersion();
    void cellHoldsTheCancelButton();
    void cellHoldsTheDownloadButton_data();
    void cellHoldsTheDownloadButton();
    void tableOwnsEverything();
    void namesAreShownAsTheyStand_data();
    void namesAreShownAsTheyStand();
    void duplicatesHaveARowEach();

    // The table as a whole
    void rowsFollowTheCatalogue();
    void everyRowIsBuiltAtOnce();
    void cellsLieWhereTheyBelongAtOnce();
    void cellsAskForNoUpdateEach();
    void otherWindowsAreStillPainted();
    void rebuildingReplacesAllCells();
    void clearingRemovesAllRows();
    void emptyTableNeedsNoColor();
    void updatingShowsTheTable();

    // Installed versions
    void localVersionIsEmptyBeforeTheFirstScan();
    void localVersionIsShownWhenInstalled();
    void vanishedApplicationLeavesAnEmptyCell();
    void newlyInstalledApplicationAppears();
    void reloadAfterAScanKeepsTheOrderOfTheCatalogue();

    // Colours
    void rowHasTheColorOfItsVerdict_data();
    void rowHasTheColorOfItsVerdict();
    void rowsAreBaseColoredBeforeTheFirstScan();
    void verdictsHaveTheConfiguredColors();
    void invalidColorTextIsAnInvalidColor_data();
    void invalidColorTextIsAnInvalidColor();
    void loadingColorsRepaintsNothing();
    void resettingColorsLogsTheSettings();
    void oneRowCanBePainted();
    void buttonsKeepTheirGrey();

private:
    /// Opens a window with the catalogue and scans.
    MainWindow& load(const QList<Entry>& entries);
    MainWindow& loadWithoutScan(const QList<Entry>& entries);
    [[nodiscard]] QTableWidgetItem* item(int row, int column) const;
    [[nodiscard]] QWidget* cell(int row) const;
    [[nodiscard]] QPushButton* button(int row, const QString& name) const;
    [[nodiscard]] QColor background(int row, int column = 0) const;
    /// The colour that the table shows near the upper left corner of a cell.
    [[nodiscard]] QColor pixel(int row, int column) const;
    /// The colours that the rows are to be painted in, as their items say.
    [[nodiscard]] QList<QColor> backgrounds() const;

    std::optional<WindowSetup> m_setup;
};

void TestApplicationTable::init()
{
    m_setup.emplace();
}

void TestApplicationTable::cleanup()
{
    m_setup.reset();
}

MainWindow& TestApplicationTable::loadWithoutScan(const QList<Entry>& entries)
{
    m_setup->offer(entries);
    MainWindow& window = m_setup->open();
    if (!window.action_loadWebData()) {
        qFatal("the catalogue is not loaded");
    }
    return window;
}

MainWindow& TestApplicationTable::load(const QList<Entry>& entries)
{
    MainWindow& window = loadWithoutScan(entries);
    if (!m_setup->scan()) {
        qFatal("the scan does not end");
    }
    return window;
}

QTableWidgetItem* TestApplicationTable::item(int row, int column) const
{
    return m_setup->table()->item(row, column);
}

QWidget* TestApplicationTable::cell(int row) const
{
    return m_setup->table()->cellWidget(row, 2);
}

QPushButton* TestApplicationTable::button(int row, const QString& name) const
{
    return cell(row)->findChild<QPushButton*>(name);
}

QColor TestApplicationTable::background(int row, int column) const
{
    return item(row, column)->background().color();
}

QColor TestApplicationTable::pixel(int row, int column) const
{
    const QRect place = m_setup->table()->visualItemRect(item(row, column));
    const QImage picture = m_setup->table()->viewport()->grab().toImage();
    return picture.pixelColor(place.topLeft() + QPoint(2, 2));
}

QList<QColor> TestApplicationTable::backgrounds() const
{
    QList<QColor> colors;
    for (int row = 0; row < m_setup->table()->rowCount(); ++row) {
        colors.append(background(row));
    }
    return colors;
}

void TestApplicationTable::nameAndLocalVersionAreBlackTexts()
{
    m_setup->install(u"Synth"_s, "1.0");
    load({{"Synth"}});
    for (const int column : {0, 1}) {
        QCOMPARE(item(0, column)->foreground(), QBrush(Qt::black, Qt::SolidPattern));
    }
    QCOMPARE(item(0, 0)->text(), u"Synth"_s);
    QCOMPARE(item(0, 0)->toolTip(), QString());
    QCOMPARE(Qt::Alignment(item(0, 1)->textAlignment()), Qt::AlignCenter);
    QVERIFY(!item(0, 0)->data(Qt::TextAlignmentRole).isValid());
}

void TestApplicationTable::catalogueItemIsEmptyWithAToolTip_data()
{
    QTest::addColumn<QByteArray>("filename");
    QTest::addColumn<QByteArray>("releaseDate");
    QTest::addColumn<QString>("toolTip");
    const auto row = [](const char* what, const char* filename, const char* releaseDate,
                        const QString& toolTip) {
        QTest::newRow(what) << QByteArray(filename) << QByteArray(releaseDate) << toolTip;
    };
    row("file and date", "Synth 2.dmg", "21/09/2026",
        u"Filename: Synth 2.dmg\nRelease Date: 21/09/2026"_s);
    row("no date: nothing follows", "Synth.pkg", "", u"Filename: Synth.pkg\nRelease Date: "_s);
    row("no file", "", "2026", u"Filename: \nRelease Date: 2026"_s);
    row("percent signs are no places to fill in", "a%1b%2.zip", "%1",
        u"Filename: a%1b%2.zip\nRelease Date: %1"_s);
    row("accents", "Été.zip", "août", u"Filename: Été.zip\nRelease Date: août"_s);
}

void TestApplicationTable::catalogueItemIsEmptyWithAToolTip()
{
    QFETCH(QByteArray, filename);
    QFETCH(QByteArray, releaseDate);
    QFETCH(QString, toolTip);
    loadWithoutScan({{"Synth", "1.0", releaseDate, filename}});
    QCOMPARE(item(0, 2)->text(), QString());
    QCOMPARE(item(0, 2)->toolTip(), toolTip);
}

void TestApplicationTable::cellHasItsStyleSheet()
{
    loadWithoutScan({{"Synth"}});
    QCOMPARE(cell(0)->metaObject()->className(), "QWidget");
    QCOMPARE(cell(0)->styleSheet(),
             u"QLabel { color: black; }QPushButton { color: black; background-color: #d0d0d0; "
             "border: 1px solid #a0a0a0; border-radius: 3px; }QPushButton:hover { "
             "background-color: #c0c0c0; }QPushButton:pressed { background-color: #b0b0b0; }"
             "QPushButton#cancelBtn { color: red; }"_s);
}

void TestApplicationTable::cellHasItsLayout()
{
    loadWithoutScan({{"Synth"}});
    auto* layout = qobject_cast<QHBoxLayout*>(cell(0)->layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins(4, 0, 4, 0));
    QCOMPARE(layout->spacing(), 4);
    QCOMPARE(layout->count(), 3);
    QVERIFY(qobject_cast<QLabel*>(layout->itemAt(0)->widget()));
    QCOMPARE(layout->itemAt(1)->widget(), button(0, u"cancelBtn"_s));
    QCOMPARE(layout->itemAt(2)->widget(), button(0, u"downloadBtn"_s));
    QCOMPARE(layout->stretch(0), 1);
    QCOMPARE(layout->stretch(1), 0);
    QCOMPARE(layout->stretch(2), 0);
    QCOMPARE(cell(0)->findChildren<QWidget*>().size(), 3);
}

void TestApplicationTable::cellHoldsTheCatalogueVersion()
{
    loadWithoutScan({{"Synth", "3.2 (15) %1"}, {"Mixer", ""}, {"Amp", "2.0 (b\xc3\xaata)"}});
    const auto label = [this](int row) { return cell(row)->findChild<QLabel*>(); };
    QCOMPARE(label(0)->text(), u"3.2 (15) %1"_s);
    QCOMPARE(label(1)->text(), QString());
    QCOMPARE(label(2)->text(), u"2.0 (bêta)"_s);
    QCOMPARE(label(2)->alignment(), Qt::AlignCenter);
    QCOMPARE(label(2)->objectName(), QString());
    QVERIFY(label(2)->isVisible());
}

void TestApplicationTable::cellHoldsTheCancelButton()
{
    loadWithoutScan({{"Synth"}, {"Mixer"}});
    for (const int row : {0, 1}) {
        const QPushButton* cancel = button(row, u"cancelBtn"_s);
        QVERIFY(cancel);
        QCOMPARE(cancel->text(), u"\u2715"_s);
        QCOMPARE(cancel->minimumSize(), QSize(24, 24));
        QCOMPARE(cancel->maximumSize(), QSize(24, 24));
        QCOMPARE(cancel->toolTip(), u"Cancel download"_s);
        QVERIFY(cancel->isHidden());
    }
}

void TestApplicationTable::cellHoldsTheDownloadButton_data()
{
    QTest::addColumn<QByteArray>("filename");
    QTest::addColumn<QString>("toolTip");
    QTest::newRow("a file") << QByteArray("Synth 2.dmg") << u"Download & install:\nSynth 2.dmg"_s;
    QTest::newRow("no file") << QByteArray() << u"Download & install:\n"_s;
    QTest::newRow("percent signs") << QByteArray("a%1b") << u"Download & install:\na%1b"_s;
}

void TestApplicationTable::cellHoldsTheDownloadButton()
{
    QFETCH(QByteArray, filename);
    QFETCH(QString, toolTip);
    loadWithoutScan({{"Synth", "1.0", "2026", filename}});
    const QPushButton* download = button(0, u"downloadBtn"_s);
    QVERIFY(download);
    QCOMPARE(download->text(), u"\u2913"_s);
    QCOMPARE(download->minimumSize(), QSize(24, 24));
    QCOMPARE(download->maximumSize(), QSize(24, 24));
    QCOMPARE(download->toolTip(), toolTip);
    QVERIFY(download->isVisible());
    QVERIFY(download->isEnabled());
}

void TestApplicationTable::tableOwnsEverything()
{
    MainWindow& window = loadWithoutScan({{"Synth"}});
    const QTableWidget* table = m_setup->table();
    for (const int column : {0, 1, 2}) {
        QCOMPARE(item(0, column)->tableWidget(), table);
    }
    QCOMPARE(cell(0)->parentWidget(), table->viewport());
    const QPointer<QWidget> oldCell = cell(0);
    const QPointer<QPushButton> oldButton = button(0, u"downloadBtn"_s);
    window.table_clear();
    QTRY_VERIFY(!oldCell);
    QVERIFY(!oldButton);
}

void TestApplicationTable::namesAreShownAsTheyStand_data()
{
    QTest::addColumn<QString>("name");
    const auto row = [](const char* what, const QString& name) { QTest::newRow(what) << name; };
    row("a plain name", u"Synth"_s);
    row("accents", u"Éditeur de Sons → Été"_s);
    row("markup", u"<b>Synth</b> & Co"_s);
    row("percent signs", u"Synth %1 100%"_s);
    row("a very long name", QString(1000, u'W') + u" Studio"_s);
    row("a long name of many words", u"Synth Studio "_s.repeated(40).trimmed());
    row("digits alone", u"3"_s);
}

void TestApplicationTable::namesAreShownAsTheyStand()
{
    QFETCH(QString, name);
    m_setup->install(name.left(100), "1.0");
    const MainWindow& window = load({{name.toUtf8()}, {"Mixer"}});
    QCOMPARE(m_setup->texts(0), (QStringList{name, u"Mixer"_s}));
    QCOMPARE(window.width(), 630);
    QCOMPARE(m_setup->table()->columnWidth(0), 211);
    QCOMPARE(m_setup->table()->rowHeight(0), m_setup->table()->rowHeight(1));
}

void TestApplicationTable::duplicatesHaveARowEach()
{
    m_setup->install(u"Synth"_s, "2.0");
    load({{"Synth", "1.0", "2025", "old.zip"}, {"Mixer"}, {"Synth", "2.0", "2026", "new.zip"}});
    QCOMPARE(m_setup->texts(0), (QStringList{u"Synth"_s, u"Mixer"_s, u"Synth"_s}));
    QCOMPARE(m_setup->texts(1), (QStringList{u"2.0"_s, QString(), u"2.0"_s}));
    QCOMPARE(backgrounds(), (QList{equal, base, equal}));
    for (const int row : {0, 2}) {
        QCOMPARE(cell(row)->findChild<QLabel*>()->text(), u"2.0"_s);
        QCOMPARE(item(row, 2)->toolTip(), u"Filename: new.zip\nRelease Date: 2026"_s);
    }
    QVERIFY(cell(0) != cell(2));
}

void TestApplicationTable::rowsFollowTheCatalogue()
{
    m_setup->answer({.body = catalogueTitles + "Tuner,1,,t.zip,0\nHidden,1,,h.zip,1\n"
                                               "\"Amp\",\" 2\",,a.zip,0\n\nMixer,3,,m.zip,0\n"});
    QVERIFY(m_setup->open().action_loadWebData());
    QCOMPARE(m_setup->texts(0), (QStringList{u"Tuner"_s, u"Amp"_s, u"Mixer"_s}));
    QCOMPARE(item(2, 2)->toolTip(), u"Filename: m.zip\nRelease Date: "_s);
}

void TestApplicationTable::everyRowIsBuiltAtOnce()
{
    QList<Entry> entries;
    for (int i = 0; i < 500; ++i) {
        entries.append({"Synth " + QByteArray::number(i)});
    }
    loadWithoutScan(entries);
    QCOMPARE(m_setup->table()->rowCount(), 500);
    for (int row = 0; row < 500; ++row) {
        QVERIFY2(cell(row) && button(row, u"downloadBtn"_s), qPrintable(QString::number(row)));
        QCOMPARE(item(row, 0)->text(), u"Synth "_s + QString::number(row));
        QVERIFY(item(row, 1) && item(row, 2));
    }
}

void TestApplicationTable::cellsLieWhereTheyBelongAtOnce()
{
    loadWithoutScan({{"Synth"}, {"Mixer"}, {"Tuner"}});
    // All before the first question to the table, which would lay it out.
    const QList<QRect> places = {cell(0)->geometry(), cell(1)->geometry(), cell(2)->geometry()};
    for (const int row : {0, 1, 2}) {
        QCOMPARE(places[row], m_setup->table()->visualItemRect(item(row, 2)));
    }
}

void TestApplicationTable::cellsAskForNoUpdateEach()
{
    MainWindow& window = loadWithoutScan({{"Synth"}, {"Atlas"}, {"Tool"}});
    QCoreApplication::processEvents();
    const EventCounter updates(*m_setup->table()->viewport(), QEvent::UpdateLater);
    window.table_init();
    const EventCounter paints(*cell(2), QEvent::Paint);
    QCoreApplication::processEvents();
    QCOMPARE(updates.count(), 0);
    QVERIFY(paints.count() > 0);
}

void TestApplicationTable::otherWindowsAreStillPainted()
{
    MainWindow& window = loadWithoutScan({{"Synth"}});
    QWidget other;
    other.show();
    QCoreApplication::processEvents();
    auto* late = new QWidget(&other);
    const EventCounter paints(*late, QEvent::Paint);
    late->show();
    window.table_init();
    QCoreApplication::processEvents();
    QVERIFY(paints.count() > 0);
}

void TestApplicationTable::rebuildingReplacesAllCells()
{
    m_setup->install(u"Synth"_s, "1.0");
    MainWindow& window = load({{"Synth"}, {"Mixer"}});
    const QPointer<QWidget> oldCell = cell(0);
    window.table_init();
    QVERIFY(cell(0) != oldCell.data());
    QTRY_VERIFY(!oldCell);
    QCOMPARE(m_setup->table()->rowCount(), 2);
    QCOMPARE(m_setup->texts(0), (QStringList{u"Synth"_s, u"Mixer"_s}));
    QCOMPARE(m_setup->texts(1), (QStringList{QString(), QString()}));
    QCOMPARE(backgrounds(), (QList{equal, base}));
    window.table_update();
    QCOMPARE(m_setup->texts(1), (QStringList{u"1.0"_s, QString()}));
}

void TestApplicationTable::clearingRemovesAllRows()
{
    m_setup->install(u"Synth"_s, "1.0");
    MainWindow& window = load({{"Synth"}, {"Mixer"}});
    window.table_clear();
    QCOMPARE(m_setup->table()->rowCount(), 0);
    QCOMPARE(m_setup->table()->columnCount(), 3);
    // The records are still there, their items are not.
    window.table_update();
    QVERIFY(m_setup->scan());
    QCOMPARE(m_setup->table()->rowCount(), 0);
    window.table_init();
    window.table_update();
    QCOMPARE(m_setup->texts(1), (QStringList{u"1.0"_s, QString()}));
}

void TestApplicationTable::emptyTableNeedsNoColor()
{
    MainWindow& window = m_setup->open();
    window.table_init();
    window.table_update();
    window.table_setColor();
    QVERIFY(m_setup->scan());
    QCOMPARE(m_setup->table()->rowCount(), 0);
}

void TestApplicationTable::updatingShowsTheTable()
{
    MainWindow& window = loadWithoutScan({{"Synth"}});
    m_setup->table()->hide();
    window.table_update();
    QVERIFY(m_setup->table()->isVisible());
}

void TestApplicationTable::localVersionIsEmptyBeforeTheFirstScan()
{
    m_setup->install(u"Synth"_s, "1.0");
    loadWithoutScan({{"Synth"}, {"Mixer"}});
    QCOMPARE(m_setup->texts(1), (QStringList{QString(), QString()}));
}

void TestApplicationTable::localVersionIsShownWhenInstalled()
{
    m_setup->install(u"Synth"_s, "1.0");
    m_setup->install(u"Mixer 2"_s, "2.5");
    m_setup->install(u"Amp"_s, "");
    load({{"Synth"}, {"Tuner"}, {"Mixer"}, {"Amp"}});
    QCOMPARE(m_setup->texts(1), (QStringList{u"1.0"_s, QString(), u"2.5"_s, QString()}));
    QCOMPARE(background(3), down);
    QCOMPARE(background(1), base);
    QVERIFY(cell(1)->findChild<QLabel*>()->isVisible());
}

void TestApplicationTable::vanishedApplicationLeavesAnEmptyCell()
{
    m_setup->install(u"Synth"_s, "1.0");
    m_setup->install(u"Mixer"_s, "1.0");
    load({{"Synth"}, {"Mixer"}});
    QCOMPARE(m_setup->texts(1), (QStringList{u"1.0"_s, u"1.0"_s}));
    m_setup->uninstall(u"Synth"_s);
    QVERIFY(m_setup->scan());
    QCOMPARE(m_setup->texts(1), (QStringList{QString(), u"1.0"_s}));
    QCOMPARE(backgrounds(), (QList{base, equal}));
}

void TestApplicationTable::newlyInstalledApplicationAppears()
{
    m_setup->install(u"Mixer"_s, "0.9");
    load({{"Synth"}, {"Mixer"}});
    m_setup->install(u"Synth"_s, "2.0");
    m_setup->install(u"Mixer"_s, "1.0");
    QVERIFY(m_setup->scan());
    QCOMPARE(m_setup->texts(1), (QStringList{u"2.0"_s, u"1.0"_s}));
    QCOMPARE(backgrounds(), (QList{up, equal}));
}

void TestApplicationTable::reloadAfterAScanKeepsTheOrderOfTheCatalogue()
{
    m_setup->install(u"Synth"_s, "1.0");
    m_setup->install(u"Mixer"_s, "0.9");
    MainWindow& window = load({{"Synth"}, {"Mixer"}});
    m_setup->offer({{"Mixer"}, {"Tuner"}, {"Synth"}});
    QVERIFY(window.action_loadWebData());
    QVERIFY(m_setup->scan());
    QCOMPARE(m_setup->texts(0), (QStringList{u"Mixer"_s, u"Tuner"_s, u"Synth"_s}));
    QCOMPARE(m_setup->texts(1), (QStringList{u"0.9"_s, QString(), u"1.0"_s}));
    QCOMPARE(backgrounds(), (QList{down, base, equal}));
}

void TestApplicationTable::rowHasTheColorOfItsVerdict_data()
{
    QTest::addColumn<QByteArray>("installed");
    QTest::addColumn<QColor>("color");
    QTest::newRow("not installed: light grey") << QByteArray() << base;
    QTest::newRow("older: light red") << QByteArray("1.9") << down;
    QTest::newRow("equal: light green") << QByteArray("2.0") << equal;
    QTest::newRow("newer: light blue") << QByteArray("2.10") << up;
}

void TestApplicationTable::rowHasTheColorOfItsVerdict()
{
    QFETCH(QByteArray, installed);
    QFETCH(QColor, color);
    if (!installed.isEmpty()) {
        m_setup->install(u"Synth"_s, installed);
    }
    load({{"Mixer", "2.0"}, {"Synth", "2.0"}});
    for (const int column : {0, 1, 2}) {
        QCOMPARE(item(1, column)->background(), QBrush(color, Qt::SolidPattern));
        QCOMPARE(pixel(1, column), color);
        QCOMPARE(pixel(0, column), base);
    }
}

void TestApplicationTable::rowsAreBaseColoredBeforeTheFirstScan()
{
    m_setup->install(u"Synth"_s, "1.0");
    loadWithoutScan({{"Synth"}, {"Mixer"}});
    for (const int row : {0, 1}) {
        for (const int column : {0, 1, 2}) {
            QCOMPARE(background(row, column), base);
            QCOMPARE(pixel(row, column), base);
        }
    }
}

void TestApplicationTable::verdictsHaveTheConfiguredColors()
{
    Settings settings;
    settings.base = u"#010203"_s;
    settings.down = u"red"_s;
    settings.equal = u"#0F0"_s;
    settings.up = u"steelblue"_s;
    m_setup->configure(settings);
    m_setup->install(u"Older"_s, "0.9");
    m_setup->install(u"Equal"_s, "1.0");
    m_setup->install(u"Newer"_s, "1.1");
    load({{"None"}, {"Older"}, {"Equal"}, {"Newer"}});
    const QList<QColor> colors = {QColor(1, 2, 3), QColor(255, 0, 0), QColor(0, 255, 0),
                                  QColor(70, 130, 180)};
    QCOMPARE(backgrounds(), colors);
    for (int row = 0; row < 4; ++row) {
        QCOMPARE(pixel(row, 2), colors[row]);
    }
}

void TestApplicationTable::invalidColorTextIsAnInvalidColor_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("no colour's name") << u"greenish"_s;
    QTest::newRow("too few digits") << u"#12"_s;
    QTest::newRow("nothing") << QString();
}

void TestApplicationTable::invalidColorTextIsAnInvalidColor()
{
    QFETCH(QString, text);
    Settings settings;
    settings.equal = text;
    m_setup->configure(settings);
    m_setup->install(u"Synth"_s, "1.0");
    const MainWindow& window = load({{"Synth"}, {"Mixer"}});
    for (const int column : {0, 1, 2}) {
        QVERIFY(!background(0, column).isValid());
        QCOMPARE(item(0, column)->background().style(), Qt::SolidPattern);
        QCOMPARE(background(1, column), base);
    }
    QCOMPARE(m_setup->home.logLines().filter(u"[ERROR]"_s), QStringList());
    QVERIFY(window.isVisible());
}

void TestApplicationTable::loadingColorsRepaintsNothing()
{
    MainWindow& window = loadWithoutScan({{"Synth"}});
    QVERIFY(window.config().setParameter(u"color"_s, u"base"_s, u"#112233"_s));
    window.ui_loadColor();
    QCOMPARE(background(0), base);
    window.table_setColor();
    QCOMPARE(background(0), QColor(0x11, 0x22, 0x33));
}

void TestApplicationTable::resettingColorsLogsTheSettings()
{
    MainWindow& window = loadWithoutScan({{"Synth"}});
    QVERIFY(window.config().setParameter(u"color"_s, u"base"_s, u"#112233"_s));
    const qsizetype before = PrivateHome::read(m_setup->home.logPath()).size();
    window.ui_resetColor();
    QCOMPARE(background(0), base);
    window.table_setColor();
    QCOMPARE(background(0), QColor(0x11, 0x22, 0x33));
    const QByteArray logged = PrivateHome::read(m_setup->home.logPath()).mid(before);
    QVERIFY2(logged.contains("\n\tcolor:\n\t    \"base\" => \"#112233\"\n"), logged.constData());
}

void TestApplicationTable::oneRowCanBePainted()
{
    MainWindow& window = loadWithoutScan({{"Synth"}, {"Mixer"}});
    window.table_setRowColor(1, QColor(1, 2, 3));
    for (const int column : {0, 1, 2}) {
        QCOMPARE(item(1, column)->background(), QBrush(QColor(1, 2, 3), Qt::SolidPattern));
        QCOMPARE(pixel(1, column), QColor(1, 2, 3));
        QCOMPARE(background(0, column), base);
    }
    window.table_setColor();
    QCOMPARE(backgrounds(), (QList{base, base}));
}

void TestApplicationTable::buttonsKeepTheirGrey()
{
    loadWithoutScan({{"Synth"}});
    const QPushButton* download = button(0, u"downloadBtn"_s);
    const QImage picture = m_setup->table()->viewport()->grab().toImage();
    const QPoint corner = download->mapTo(m_setup->table()->viewport(), QPoint(4, 4));
    QCOMPARE(picture.pixelColor(corner), QColor(0xd0, 0xd0, 0xd0));
    // Between the version's text and the button.
    QCOMPARE(picture.pixelColor(corner - QPoint(6, 0)), base);
}

QTEST_MAIN(TestApplicationTable)
#include "tst_applicationtable.moc"
