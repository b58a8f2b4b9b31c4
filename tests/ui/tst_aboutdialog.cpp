#include "ui/aboutdialog.h"

#include "app/buildinfo.h"
#include "support/controlwalk.h"
#include "support/testline.h"
#include "support/windowclick.h"

#include <QAccessible>
#include <QApplication>
#include <QDesktopServices>
#include <QGridLayout>
#include <QLabel>
#include <QMainWindow>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>
#include <QUrl>

#include <functional>
#include <memory>

using namespace Qt::Literals::StringLiterals;

// The macros stand outside of any namespace, as they declare functions of the resource compiler.
static void initImages()
{
    Q_INIT_RESOURCE(quillmere_images);
}

static void cleanUpImages()
{
    Q_CLEANUP_RESOURCE(quillmere_images);
}

namespace {

/// Records what the program hands to the desktop, which opens nothing meanwhile.
class OpenedLinks : public QObject
{
    Q_OBJECT

public:
    OpenedLinks()
    {
        QDesktopServices::setUrlHandler(u"mailto"_s, this, "open");
        QDesktopServices::setUrlHandler(u"https"_s, this, "open");
    }
    ~OpenedLinks() override
    {
        QDesktopServices::unsetUrlHandler(u"mailto"_s);
        QDesktopServices::unsetUrlHandler(u"https"_s);
    }

    QStringList links;

public Q_SLOTS:
    void open(const QUrl& url) { links.append(url.toString()); }
};

/// The application icon for a screen with @p ratio pixels to the point.
QImage expectedIcon(qreal ratio)
{
    const QPixmap icon(u":/images/AppIcon.png"_s);
    return icon.scaledToWidth(qRound(100 * ratio), Qt::FastTransformation).toImage();
}

} // namespace

class TestAboutDialog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void hasItsNamesSizeAndTitle();
    void isAModalChildOfItsWindow();
    void laysPictureAndTextAboveTheButton();
    void fillsTheTemplateToTheByte();
    void fillsEveryOccurrenceOfAPlaceholder();
    void textIsRichSelectableAndNotEditable();
    void linksOpenByKeyboard_data();
    void linksOpenByKeyboard();
    void linksOpenByMouse();
    void showsTheIconHundredPointsWide();
    void missingIconLeavesThePictureEmpty();

    void buttonAndKeysCloseIt_data();
    void buttonAndKeysCloseIt();
    void focusStartsOnTheButton();
    void tabReachesBothLinksThenTheButton();
    void everyControlHasAName();

private:
    [[nodiscard]] QLabel* text() const { return m_dialog->findChild<QLabel*>(u"aboutText"_s); }
    [[nodiscard]] QLabel* picture() const { return m_dialog->findChild<QLabel*>(u"aboutPix"_s); }
    [[nodiscard]] QPushButton* button() const
    {
        return m_dialog->findChild<QPushButton*>(u"pushButton"_s);
    }
    void showActive(TestLine at = {}) const;

    std::unique_ptr<QMainWindow> m_window;
    std::unique_ptr<aboutDialog> m_dialog;
};

void TestAboutDialog::init()
{
    m_window = std::make_unique<QMainWindow>();
    m_dialog = std::make_unique<aboutDialog>(m_window.get());
}

void TestAboutDialog::cleanup()
{
    m_dialog.reset();
    m_window.reset();
}

void TestAboutDialog::showActive(TestLine at) const
{
    m_dialog->show();
    VERIFY_AT(at, QTest::qWaitForWindowActive(m_dialog.get()));
}

void TestAboutDialog::hasItsNamesSizeAndTitle()
{
    QCOMPARE(m_dialog->objectName(), u"aboutDialog"_s);
    QCOMPARE(m_dialog->windowTitle(), u"aboutDialog"_s);
    QCOMPARE(m_dialog->minimumSize(), QSize(400, 250));
    QCOMPARE(m_dialog->maximumSize(), QSize(400, 250));
    QCOMPARE(button()->text(), u"OK"_s);
    QCOMPARE(button()->minimumWidth(), 80);
    QCOMPARE(button()->maximumWidth(), 80);
    QCOMPARE(button()->maximumHeight(), QWIDGETSIZE_MAX);
    QCOMPARE(picture()->alignment(), Qt::AlignCenter);
}

void TestAboutDialog::isAModalChildOfItsWindow()
{
    QCOMPARE(m_dialog->parentWidget(), m_window.get());
    bool wasModal = false;
    QTimer::singleShot(0, m_dialog.get(), [this, &wasModal] {
        wasModal = m_dialog->isModal();
        windowClick(button());
    });
    QCOMPARE(m_dialog->exec(), int(QDialog::Rejected));
    QVERIFY(wasModal);
}

void TestAboutDialog::laysPictureAndTextAboveTheButton()
{
    const auto layout = [this](const char* name) {
        return m_dialog->findChild<QBoxLayout*>(QString::fromLatin1(name));
    };
    auto* grid = qobject_cast<QGridLayout*>(m_dialog->layout());
    QVERIFY(grid);
    QCOMPARE(grid->objectName(), u"gridLayout"_s);
    QCOMPARE(grid->itemAtPosition(0, 0)->layout(), layout("verticalLayout"));
    QCOMPARE(layout("verticalLayout")->itemAt(0)->layout(), layout("horizontalLayout_1"));
    QCOMPARE(layout("verticalLayout")->itemAt(1)->layout(), layout("horizontalLayout_2"));
    QCOMPARE(layout("horizontalLayout_1")->itemAt(0)->widget(), picture());
    QCOMPARE(layout("horizontalLayout_1")->itemAt(1)->widget(), text());
    QCOMPARE(layout("horizontalLayout_2")->itemAt(0)->widget(), button());
}

void TestAboutDialog::fillsTheTemplateToTheByte()
{
    // Joined, not substituted: a "%1" in a value must come out as it went in.
    const QString expected =
        u"<html><head/><body><p><span style=\" font-size:large; font-weight:700;\">About "_s +
        BuildInfo::productName() + "</span></p><p>Author : "_L1 + BuildInfo::authorName() +
        "</p><p>Mail : <a href=\"mailto:"_L1 + BuildInfo::authorMail() +
        "\"><span style=\" text-decoration: underline; color:#1f9b5d;\">"_L1 +
        BuildInfo::authorMail() + "</span></a></p><p>Website : <a href=\""_L1 +
        BuildInfo::websiteUrl() +
        "\"><span style=\" text-decoration: underline; color:#1f9b5d;\">"_L1 +
        BuildInfo::websiteUrl() + "</span></a></p><p>Version : "_L1 + BuildInfo::productVersion() +
        " (Build on "_L1 + BuildInfo::buildDate() + ")</p><p>Based on Qt "_L1 +
        BuildInfo::qtVersion() + ".</p></body></html>"_L1;
    QCOMPARE(text()->text(), expected);
    QVERIFY(!BuildInfo::authorName().contains(u'_'));
}

void TestAboutDialog::fillsEveryOccurrenceOfAPlaceholder()
{
    text()->setText(u"%7|%6|%5|%4|%3|%2|%1|%1"_s);
    m_dialog->ui_setText();
    const QStringList expected = {
        BuildInfo::qtVersion(),  BuildInfo::buildDate(),  BuildInfo::productVersion(),
        BuildInfo::websiteUrl(), BuildInfo::authorMail(), BuildInfo::authorName(),
        u"Quillmere"_s,          u"Quillmere"_s};
    QCOMPARE(text()->text(), expected.join(u'|'));
}

void TestAboutDialog::textIsRichSelectableAndNotEditable()
{
    QCOMPARE(text()->textFormat(), Qt::RichText);
    QVERIFY(text()->openExternalLinks());
    QCOMPARE(text()->textInteractionFlags(), Qt::TextSelectableByMouse |
                                                 Qt::LinksAccessibleByMouse |
                                                 Qt::LinksAccessibleByKeyboard);
    showActive();
    const QString before = text()->text();
    windowDoubleClick(text(), QPoint(20, text()->height() / 2));
    QVERIFY(text()->hasSelectedText());
    text()->setFocus();
    QTest::keyClicks(text(), u"typed"_s);
    QTest::keyClick(text(), Qt::Key_Delete);
    QCOMPARE(text()->text(), before);
}

void TestAboutDialog::linksOpenByKeyboard_data()
{
    QTest::addColumn<int>("tabs");
    QTest::addColumn<QString>("link");
    // The first press reaches the text as a whole.
    QTest::newRow("mail") << 2 << u"mailto:"_s + BuildInfo::authorMail();
    QTest::newRow("web site") << 3 << BuildInfo::websiteUrl();
}

void TestAboutDialog::linksOpenByKeyboard()
{
    QFETCH(int, tabs);
    QFETCH(QString, link);
    OpenedLinks opened;
    showActive();
    for (int i = 0; i < tabs; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    QCOMPARE(QApplication::focusWidget(), text());
    QTest::keyClick(text(), Qt::Key_Return);
    QCOMPARE(opened.links, QStringList{link});
    QVERIFY(m_dialog->isVisible());
}

void TestAboutDialog::linksOpenByMouse()
{
    OpenedLinks opened;
    showActive();
    // Down the text, where its links are and where they are not.
    for (int y = 0; y < text()->height(); y += 2) {
        windowClick(text(), QPoint(100, y));
    }
    opened.links.removeDuplicates();
    QCOMPARE(opened.links,
             (QStringList{"mailto:"_L1 + BuildInfo::authorMail(), BuildInfo::websiteUrl()}));
    QVERIFY(m_dialog->isVisible());
}

void TestAboutDialog::showsTheIconHundredPointsWide()
{
    const qreal ratio = m_dialog->devicePixelRatioF();
    QPixmap shown = picture()->pixmap();
    QCOMPARE(shown.devicePixelRatio(), ratio);
    QCOMPARE(shown.deviceIndependentSize(), QSizeF(100, 100));
    shown.setDevicePixelRatio(1);
    QCOMPARE(shown.toImage(), expectedIcon(ratio));
    QVERIFY(picture()->text().isEmpty());
}

void TestAboutDialog::missingIconLeavesThePictureEmpty()
{
    QTest::failOnWarning(QRegularExpression(u"."_s));
    cleanUpImages();
    const aboutDialog dialog(m_window.get());
    initImages();
    const auto* pix = dialog.findChild<QLabel*>(u"aboutPix"_s);
    QVERIFY(pix->text().isEmpty());
    QVERIFY(pix->pixmap().isNull());
}

void TestAboutDialog::buttonAndKeysCloseIt_data()
{
    QTest::addColumn<std::function<void(aboutDialog&)>>("close");

    using Dialog = aboutDialog;
    const auto row = [](const char* what, const std::function<void(Dialog&)>& close) {
        QTest::newRow(what) << close;
    };
    const auto keyRow = [&row](const char* what, Qt::Key key) {
        row(what, [key](Dialog&) { QTest::keyClick(QApplication::focusWidget(), key); });
    };
    row("a click on OK", [](Dialog& dialog) { windowClick(dialog.findChild<QPushButton*>()); });
    row("the window's close button", [](Dialog& dialog) { dialog.close(); });
    keyRow("Enter", Qt::Key_Return);
    keyRow("Enter on the number pad", Qt::Key_Enter);
    keyRow("the space bar on OK", Qt::Key_Space);
    keyRow("Escape", Qt::Key_Escape);
    row("Enter while the text has the focus", [](Dialog& dialog) {
        dialog.findChild<QLabel*>(u"aboutText"_s)->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    });
    row("Escape while a link has the focus", [](Dialog&) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    });
}

void TestAboutDialog::buttonAndKeysCloseIt()
{
    QFETCH(std::function<void(aboutDialog&)>, close);
    OpenedLinks opened;
    showActive();
    close(*m_dialog);
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_dialog->result(), int(QDialog::Rejected));
    QCOMPARE(opened.links, QStringList());
}

void TestAboutDialog::focusStartsOnTheButton()
{
    showActive();
    QCOMPARE(QApplication::focusWidget(), button());
    QVERIFY(button()->isDefault());
}

void TestAboutDialog::tabReachesBothLinksThenTheButton()
{
    showActive();
    // The text as a whole, its mail link, its web link.
    const QStringList round = {u"pushButton"_s, u"aboutText"_s, u"aboutText"_s, u"aboutText"_s};
    QCOMPARE(widgetNames(tabWalk(Qt::Key_Tab)), round);
    QCOMPARE(widgetNames(tabWalk(Qt::Key_Backtab)), round);
}

void TestAboutDialog::everyControlHasAName()
{
    showActive();
    const QString spokenText =
        u"About Quillmere\nAuthor : "_s + BuildInfo::authorName() + "\nMail : "_L1 +
        BuildInfo::authorMail() + "\nWebsite : "_L1 + BuildInfo::websiteUrl() + "\nVersion : "_L1 +
        BuildInfo::productVersion() + " (Build on "_L1 + BuildInfo::buildDate() +
        ")\nBased on Qt "_L1 + BuildInfo::qtVersion() + u'.';
    QCOMPARE(spokenNames(*m_dialog), (QStringList{spokenText, u"OK"_s}));
    QCOMPARE(QAccessible::queryAccessibleInterface(picture())->text(QAccessible::Name),
             u"Application icon"_s);
}

QTEST_MAIN(TestAboutDialog)
#include "tst_aboutdialog.moc"
