#include "ui/cataloguecell.h"

#include "support/quietplatform.h"
#include "ui/tablecolumn.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScopeGuard>
#include <QTableWidget>
#include <QTest>

#include <functional>
#include <memory>

using namespace Qt::Literals::StringLiterals;

/// A cell alone, without a window or a table, whose tests see to what depends on those.
class TestCatalogueCell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { quietPlatform(); }
    void init();
    void cleanup() { m_cell.reset(); }

    void laidOutFromLeftToRight();
    void isAPlainWidgetToStyleSheets();
    void textsAreShownAsTheyStand_data();
    void textsAreShownAsTheyStand();
    void screenReadersAreToldTheName();
    void buttonsEmitTheirClicks();
    void statesFollowEachOther_data();
    void statesFollowEachOther();
    void focusStaysInTheCell_data();
    void focusStaysInTheCell();
    void childrenMayBeGone_data();
    void childrenMayBeGone();
    void isFoundInItsTable();

private:
    [[nodiscard]] QLabel* label() const { return m_cell->findChild<QLabel*>(); }
    /// What is seen: the text and the buttons that are there.
    [[nodiscard]] QString look() const;

    std::unique_ptr<CatalogueCell> m_cell;
};

void TestCatalogueCell::init()
{
    m_cell = std::make_unique<CatalogueCell>(
        CatalogueEntry{.name = u"Synth"_s, .version = u"2.0"_s, .fileName = u"synth.dmg"_s},
        nullptr);
}

QString TestCatalogueCell::look() const
{
    QStringList seen;
    if (label()) {
        seen.append(label()->text());
    }
    for (const QPushButton* button : m_cell->findChildren<QPushButton*>()) {
        if (!button->isHidden()) {
            seen.append(button->text());
        }
    }
    return seen.join(u' ');
}

void TestCatalogueCell::laidOutFromLeftToRight()
{
    const auto* layout = qobject_cast<QHBoxLayout*>(m_cell->layout());
    QVERIFY(layout);
    QStringList items;
    for (int index = 0; index < layout->count(); ++index) {
        const QWidget* widget = layout->itemAt(index)->widget();
        items.append(
            u"%1 '%2' %3"_s
                .arg(QLatin1StringView(widget->metaObject()->className()), widget->objectName())
                .arg(layout->stretch(index)));
    }
    QCOMPARE(items.join(u'\n'), u"QLabel '' 1\n"
                                "QPushButton 'cancelBtn' 0\n"
                                "QPushButton 'downloadBtn' 0"_s);
    QCOMPARE(layout->contentsMargins(), QMargins(4, 0, 4, 0));
    QCOMPARE(layout->spacing(), 4);
    QCOMPARE(label()->alignment(), Qt::AlignCenter);
    for (const QPushButton* button : {m_cell->cancelButton(), m_cell->downloadButton()}) {
        QCOMPARE(button->minimumSize(), QSize(24, 24));
        QCOMPARE(button->maximumSize(), QSize(24, 24));
    }
}

void TestCatalogueCell::isAPlainWidgetToStyleSheets()
{
    QCOMPARE(m_cell->metaObject()->className(), "QWidget");
    QVERIFY(m_cell->styleSheet().startsWith(u"QLabel { color: black; }QPushButton {"_s));
    QVERIFY(m_cell->styleSheet().endsWith(u"}QPushButton#cancelBtn { color: red; }"_s));
}

void TestCatalogueCell::textsAreShownAsTheyStand_data()
{
    QTest::addColumn<QString>("text");
    const auto row = [](const char* what, const QString& text) { QTest::newRow(what) << text; };
    row("plain", u"3.2 (15)"_s);
    row("nothing", QString());
    row("markup", u"<b>3</b> & more"_s);
    row("percent signs", u"%1 100%"_s);
}

void TestCatalogueCell::textsAreShownAsTheyStand()
{
    QFETCH(QString, text);
    const CatalogueCell cell({.name = text, .version = text, .fileName = text}, nullptr);
    const auto* version = cell.findChild<QLabel*>();
    QCOMPARE(version->text(), text);
    QCOMPARE(version->textFormat(), Qt::PlainText);
    QCOMPARE(cell.downloadButton()->toolTip(), "Download & install:\n"_L1 + text);
    QCOMPARE(cell.cancelButton()->toolTip(), u"Cancel download"_s);
}

void TestCatalogueCell::screenReadersAreToldTheName()
{
    QCOMPARE(m_cell->downloadButton()->accessibleName(), u"Download Synth"_s);
    QCOMPARE(m_cell->cancelButton()->accessibleName(), u"Cancel download of Synth"_s);
}

void TestCatalogueCell::buttonsEmitTheirClicks()
{
    QStringList clicks;
    connect(m_cell->downloadButton(), &QPushButton::clicked, this, [&] { clicks.append(u"⤓"_s); });
    connect(m_cell->cancelButton(), &QPushButton::clicked, this, [&] { clicks.append(u"✕"_s); });
    m_cell->shownButton()->click();
    m_cell->showDownload(u"0%"_s);
    m_cell->shownButton()->click();
    QCOMPARE(clicks.join(u' '), u"⤓ ✕"_s);
}

void TestCatalogueCell::statesFollowEachOther_data()
{
    QTest::addColumn<std::function<void(CatalogueCell&)>>("change");
    QTest::addColumn<QString>("look");
    const auto row = [](const char* what, const QString& look,
                        const std::function<void(CatalogueCell&)>& change) {
        QTest::newRow(what) << change << look;
    };
    row("new", u"2.0 ⤓"_s, [](CatalogueCell&) {});
    row("another text", u"2.1 ⤓"_s, [](CatalogueCell& cell) { cell.setText(u"2.1"_s); });
    row("download", u"0% ✕"_s, [](CatalogueCell& cell) { cell.showDownload(u"0%"_s); });
    row("progress", u"42% ✕"_s, [](CatalogueCell& cell) {
        cell.showDownload(u"0%"_s);
        cell.setText(u"42%"_s);
    });
    row("idle again", u"2.1 ⤓"_s, [](CatalogueCell& cell) {
        cell.showDownload(u"0%"_s);
        cell.showIdle(u"2.1"_s);
    });
    row("idle twice", u"2.2 ⤓"_s, [](CatalogueCell& cell) {
        cell.showIdle(u"2.1"_s);
        cell.showIdle(u"2.2"_s);
    });
}

void TestCatalogueCell::statesFollowEachOther()
{
    QFETCH(std::function<void(CatalogueCell&)>, change);
    QFETCH(QString, look);
    change(*m_cell);
    QCOMPARE(this->look(), look);
    QVERIFY(!m_cell->shownButton()->isHidden());
}

void TestCatalogueCell::focusStaysInTheCell_data()
{
    QTest::addColumn<bool>("isActive");
    QTest::newRow("active window") << true;
    QTest::newRow("window behind") << false;
}

void TestCatalogueCell::focusStaysInTheCell()
{
    QFETCH(bool, isActive);
    QWidget window;
    QHBoxLayout layout(&window);
    QPushButton former;
    QPushButton next;
    layout.addWidget(&former);
    layout.addWidget(m_cell.get());
    layout.addWidget(&next);
    const auto release = qScopeGuard([this] { m_cell->setParent(nullptr); }); // as it has an owner
    window.show();
    QWidget other;
    QWidget& inFront = isActive ? window : other;
    inFront.show();
    inFront.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&inFront));

    m_cell->downloadButton()->setFocus();
    m_cell->showDownload(u"0%"_s);
    QCOMPARE(window.focusWidget(), m_cell->cancelButton());
    m_cell->showIdle(u"2.0"_s);
    QCOMPARE(window.focusWidget(), m_cell->downloadButton());
    former.setFocus();
    m_cell->showDownload(u"0%"_s);
    QCOMPARE(window.focusWidget(), &former);
}

void TestCatalogueCell::childrenMayBeGone_data()
{
    QTest::addColumn<QStringList>("deleted");
    QTest::addColumn<QString>("idle");
    QTest::addColumn<QString>("downloading");
    const auto row = [](const char* what, const QStringList& deleted, const QString& idle,
                        const QString& downloading) {
        QTest::newRow(what) << deleted << idle << downloading;
    };
    row("label", {QString()}, u"⤓"_s, u"✕"_s);
    row("cancel button", {u"cancelBtn"_s}, u"2.0 ⤓"_s, u"0%"_s);
    row("download button", {u"downloadBtn"_s}, u"2.0"_s, u"0% ✕"_s);
    row("all", {QString(), u"cancelBtn"_s, u"downloadBtn"_s}, QString(), QString());
}

void TestCatalogueCell::childrenMayBeGone()
{
    QFETCH(QStringList, deleted);
    QFETCH(QString, idle);
    QFETCH(QString, downloading);
    for (const QString& name : std::as_const(deleted)) {
        delete (name.isEmpty() ? label() : m_cell->findChild<QWidget*>(name));
    }
    m_cell->showDownload(u"0%"_s);
    QCOMPARE(look(), downloading);
    QCOMPARE(m_cell->shownButton() != nullptr, downloading.contains(u'✕'));
    m_cell->showIdle(u"2.0"_s);
    QCOMPARE(look(), idle);
    QCOMPARE(m_cell->shownButton() != nullptr, idle.contains(u'⤓'));
}

void TestCatalogueCell::isFoundInItsTable()
{
    QTableWidget table(3, TableColumns);
    auto* cell = new CatalogueCell({}, table.viewport());
    table.setCellWidget(1, CatalogueColumn, cell);
    table.setCellWidget(2, CatalogueColumn, new QWidget);
    QCOMPARE(CatalogueCell::in(table, 1), cell);
    for (const int row : {-1, 0, 2, 3}) {
        QVERIFY2(!CatalogueCell::in(table, row), qPrintable(QString::number(row)));
    }
}

QTEST_MAIN(TestCatalogueCell)
#include "tst_cataloguecell.moc"
