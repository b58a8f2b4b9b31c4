#include "ui/infodialog.h"

#include "support/modalbox.h"

#include <QImage>
#include <QLabel>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString infoIcon = u":/images/icon-info.png"_s;
const QString warningIcon = u":/images/icon-warning.png"_s;

/// What a box looked like while it was open.
struct Box
{
    QMessageBox::Icon icon = QMessageBox::Critical;
    QPixmap picture;
    QMessageBox::StandardButtons buttons;
    Qt::TextFormat format = Qt::MarkdownText;
    Qt::TextFormat shownFormat = Qt::MarkdownText; ///< of the label that shows the text
    Qt::WindowFlags flags;
    QWidget* parent = nullptr;
    bool isModal = false;
};

Box lookAt(QMessageBox& box)
{
    auto* label = box.findChild<QLabel*>(u"qt_msgbox_label"_s);
    return {.icon = box.icon(),
            .picture = box.iconPixmap(),
            .buttons = box.standardButtons(),
            .format = box.textFormat(),
            .shownFormat = label ? label->textFormat() : Qt::MarkdownText,
            .flags = box.windowFlags(),
            .parent = box.parentWidget(),
            .isModal = box.isModal()};
}

/// The image at @p path, smoothly scaled to 64 by 64.
QImage scaledImage(const QString& path)
{
    return QPixmap(path).scaled(64, 64, Qt::KeepAspectRatio, Qt::SmoothTransformation).toImage();
}

/// The compiled-in images are gone for as long as it lives.
struct WithoutImages
{
    WithoutImages();
    ~WithoutImages();
    Q_DISABLE_COPY_MOVE(WithoutImages)
};

} // namespace

// Not in the namespace: the macros declare functions of the global one.
static void removeImages()
{
    Q_CLEANUP_RESOURCE(quillmere_images);
}

static void addImages()
{
    Q_INIT_RESOURCE(quillmere_images);
}

WithoutImages::WithoutImages()
{
    removeImages();
}

WithoutImages::~WithoutImages()
{
    addImages();
}

class TestInfoDialog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void imagesAreSquareAndLargeEnough_data();
    void imagesAreSquareAndLargeEnough();

    void showsABoxWithOneButton_data();
    void showsABoxWithOneButton();
    void showTakesAnyIcon_data();
    void showTakesAnyIcon();
    void showScalesTheIconSmoothly();
    void showDetectsMarkup();
    void showReturnsHoweverTheBoxIsClosed();

    void confirmAsksWithTwoButtons();
    void confirmReadsItsTextAsMarkup();
    void confirmIsTrueForOkAlone_data();
    void confirmIsTrueForOkAlone();

    void aMissingImageLeavesABoxWithoutIcon();
};

void TestInfoDialog::imagesAreSquareAndLargeEnough_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("information") << infoIcon;
    QTest::newRow("warning") << warningIcon;
}

void TestInfoDialog::imagesAreSquareAndLargeEnough()
{
    QFETCH(QString, path);
    const QImage image(path);
    QVERIFY(!image.isNull());
    QCOMPARE(image.width(), image.height());
    QVERIFY2(image.width() >= 128, "sharp at twice the points");
}

void TestInfoDialog::showsABoxWithOneButton_data()
{
    using Function = std::function<void(QWidget*, const QString&, const QString&)>;
    QTest::addColumn<Function>("function");
    QTest::addColumn<QString>("icon");

    const auto row = [](const char* what, const Function& function, const QString& icon) {
        QTest::newRow(what) << function << icon;
    };
    row("information has the information icon", &InfoDialog::information, infoIcon);
    row("warning has the warning icon", &InfoDialog::warning, warningIcon);
    row(
        "show has the icon that it is given",
        [](QWidget* parent, const QString& title, const QString& text) {
            InfoDialog::show(parent, title, text, u":/images/AppIcon.png"_s);
        },
        u":/images/AppIcon.png"_s);
}

void TestInfoDialog::showsABoxWithOneButton()
{
    using Function = std::function<void(QWidget*, const QString&, const QString&)>;
    QFETCH(Function, function);
    QFETCH(QString, icon);
    QWidget parent;
    parent.show();
    Box box;
    BoxAnswerer answers(QMessageBox::Ok);
    answers.inspect([&box](QMessageBox& open) { box = lookAt(open); });

    function(&parent, u"Échec — 1 & 2"_s, u"Un texte → %1"_s);

    QCOMPARE(answers.titles(), QStringList{u"Échec — 1 & 2"_s});
    QCOMPARE(answers.texts(), QStringList{u"Un texte → %1"_s});
    QCOMPARE(answers.unanswered(), 0);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(box.format, Qt::AutoText);
    QCOMPARE(box.icon, QMessageBox::NoIcon);
    QCOMPARE(box.picture.devicePixelRatio(), 1.0);
    QCOMPARE(box.picture.size(), QSize(64, 64));
    QCOMPARE(box.picture.toImage(), scaledImage(icon));
    QCOMPARE(box.parent, &parent);
    QVERIFY(box.isModal);
    QVERIFY(box.flags.testFlag(Qt::Dialog));
    QVERIFY(box.flags.testFlag(Qt::MSWindowsFixedSizeDialogHint));
}

void TestInfoDialog::showTakesAnyIcon_data()
{
    QTest::addColumn<QSize>("image");
    QTest::addColumn<QSize>("icon");
    QTest::newRow("a larger one is scaled down") << QSize(256, 256) << QSize(64, 64);
    QTest::newRow("a smaller one is scaled up") << QSize(16, 16) << QSize(64, 64);
    QTest::newRow("a wide one keeps its shape") << QSize(128, 64) << QSize(64, 32);
    QTest::newRow("a high one keeps its shape") << QSize(64, 128) << QSize(32, 64);
    QTest::newRow("one that cannot be read: no icon") << QSize() << QSize(0, 0);
}

void TestInfoDialog::showTakesAnyIcon()
{
    QFETCH(QSize, image);
    QFETCH(QSize, icon);
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"icon.png"_s);
    if (image.isValid()) {
        QImage picture(image, QImage::Format_RGB32);
        picture.fill(Qt::red);
        QVERIFY(picture.save(path));
    }
    Box box;
    BoxAnswerer answers(QMessageBox::Ok);
    answers.inspect([&box](QMessageBox& open) { box = lookAt(open); });

    InfoDialog::show(nullptr, u"Title"_s, u"Text"_s, path);

    QCOMPARE(answers.count(), 1);
    QCOMPARE(box.icon, QMessageBox::NoIcon);
    QCOMPARE(box.picture.size(), icon);
    QCOMPARE(box.picture.isNull(), !image.isValid());
}

void TestInfoDialog::showScalesTheIconSmoothly()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"stripes.png"_s);
    QImage stripes(128, 128, QImage::Format_RGB32);
    for (int y = 0; y < stripes.height(); ++y) {
        for (int x = 0; x < stripes.width(); ++x) {
            stripes.setPixelColor(x, y, x % 2 == 0 ? Qt::black : Qt::white);
        }
    }
    QVERIFY(stripes.save(path));
    QColor middle;
    BoxAnswerer answers(QMessageBox::Ok);
    answers.inspect(
        [&middle](QMessageBox& box) { middle = box.iconPixmap().toImage().pixelColor(32, 32); });

    InfoDialog::show(nullptr, u"Title"_s, u"Text"_s, path);

    QVERIFY2(middle.lightness() > 64 && middle.lightness() < 192, qUtf8Printable(middle.name()));
}

void TestInfoDialog::showDetectsMarkup()
{
    Box box;
    BoxAnswerer answers(QMessageBox::Ok);
    answers.inspect([&box](QMessageBox& open) { box = lookAt(open); });
    InfoDialog::information(nullptr, u"Title"_s, u"<b>1</b> < 2"_s);
    QCOMPARE(answers.texts(), QStringList{u"<b>1</b> < 2"_s});
    QCOMPARE(box.format, Qt::AutoText);
    QCOMPARE(box.shownFormat, Qt::AutoText);
}

void TestInfoDialog::showReturnsHoweverTheBoxIsClosed()
{
    BoxAnswerer escape(QMessageBox::NoButton);
    InfoDialog::warning(nullptr, u"Title"_s, u"Text"_s);
    QCOMPARE(escape.count(), 1);
    escape.inspect([](QMessageBox& box) { box.close(); });
    InfoDialog::warning(nullptr, u"Title"_s, u"Text"_s);
    QCOMPARE(escape.count(), 2);
}

void TestInfoDialog::confirmAsksWithTwoButtons()
{
    QWidget parent;
    parent.show();
    Box box;
    BoxAnswerer answers(QMessageBox::Ok);
    answers.inspect([&box](QMessageBox& open) { box = lookAt(open); });

    QVERIFY(InfoDialog::confirm(&parent, u"Vraiment ?"_s, u"Un texte"_s));

    QCOMPARE(answers.titles(), QStringList{u"Vraiment ?"_s});
    QCOMPARE(answers.texts(), QStringList{u"Un texte"_s});
    QCOMPARE(box.buttons, QMessageBox::Ok | QMessageBox::Cancel);
    QCOMPARE(box.icon, QMessageBox::NoIcon);
    QCOMPARE(box.picture.devicePixelRatio(), 1.0);
    QCOMPARE(box.picture.toImage(), scaledImage(warningIcon));
    QCOMPARE(box.parent, &parent);
    QVERIFY(box.isModal);
    QVERIFY(box.flags.testFlag(Qt::MSWindowsFixedSizeDialogHint));
}

void TestInfoDialog::confirmReadsItsTextAsMarkup()
{
    Box box;
    BoxAnswerer answers(QMessageBox::Cancel);
    answers.inspect([&box](QMessageBox& open) { box = lookAt(open); });
    // Without a tag it would be plain text for whoever guesses.
    QVERIFY(!InfoDialog::confirm(nullptr, u"Title"_s, u"1 &lt; 2"_s));
    QCOMPARE(answers.texts(), QStringList{u"1 &lt; 2"_s});
    QCOMPARE(box.format, Qt::RichText);
    QCOMPARE(box.shownFormat, Qt::RichText);
}

void TestInfoDialog::confirmIsTrueForOkAlone_data()
{
    QTest::addColumn<QMessageBox::StandardButton>("answer");
    QTest::addColumn<bool>("closes");
    QTest::addColumn<bool>("result");
    QTest::newRow("OK") << QMessageBox::Ok << false << true;
    QTest::newRow("Cancel") << QMessageBox::Cancel << false << false;
    QTest::newRow("Escape") << QMessageBox::NoButton << false << false;
    QTest::newRow("the box is closed") << QMessageBox::NoButton << true << false;
}

void TestInfoDialog::confirmIsTrueForOkAlone()
{
    QFETCH(QMessageBox::StandardButton, answer);
    QFETCH(bool, closes);
    QFETCH(bool, result);
    BoxAnswerer answers(answer);
    if (closes) {
        answers.inspect([](QMessageBox& box) { box.close(); });
    }
    QCOMPARE(InfoDialog::confirm(nullptr, u"Title"_s, u"Text"_s), result);
    QCOMPARE(answers.count(), 1);
}

void TestInfoDialog::aMissingImageLeavesABoxWithoutIcon()
{
    const WithoutImages without;
    QList<Box> boxes;
    BoxAnswerer answers(QMessageBox::Ok);
    answers.inspect([&boxes](QMessageBox& open) { boxes.append(lookAt(open)); });
    InfoDialog::information(nullptr, u"Title"_s, u"Text"_s);
    InfoDialog::warning(nullptr, u"Title"_s, u"Text"_s);
    QVERIFY(InfoDialog::confirm(nullptr, u"Title"_s, u"Text"_s));
    QCOMPARE(boxes.size(), 3);
    for (const Box& box : std::as_const(boxes)) {
        QCOMPARE(box.icon, QMessageBox::NoIcon);
        QVERIFY(box.picture.isNull());
    }
}

QTEST_MAIN(TestInfoDialog)
#include "tst_infodialog.moc"
