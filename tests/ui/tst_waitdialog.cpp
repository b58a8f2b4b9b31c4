#include "ui/waitdialog.h"

#include <QApplication>
#include <QImageReader>
#include <QLabel>
#include <QMovie>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <QTranslator>
#include <QVBoxLayout>
#include <QWidget>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The dialog's labels from top to bottom: the picture, then the message.
QList<QLabel*> labels(const WaitDialog& dialog)
{
    QList<QLabel*> labels;
    for (int i = 0; dialog.layout() && i < dialog.layout()->count(); ++i) {
        labels.append(qobject_cast<QLabel*>(dialog.layout()->itemAt(i)->widget()));
    }
    return labels;
}

QList<QWidget*> visibleWaitDialogs()
{
    QList<QWidget*> dialogs;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (qobject_cast<WaitDialog*>(window) && window->isVisible()) {
            dialogs.append(window);
        }
    }
    return dialogs;
}

} // namespace

class TestWaitDialog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isAModalDialogOfItsParent();
    void isNotShownByItself();
    void showDoesNotBlock();
    void stacksPictureAndMessage();
    void animationIsSmoothAndRunsAlready();
    void animationHasAPixelForEachOfTheScreen();
    void animationTurnsWhileShownAndAfterAReopening();
    void setMessageReplacesTheTextAlone();
    void shownTwiceItStaysOneWindow();
    void focusIsToldOnceHoweverOftenItWasShown();
    void textsCanBeTranslated();
};

void TestWaitDialog::isAModalDialogOfItsParent()
{
    QWidget parent;
    const WaitDialog dialog(&parent);
    QCOMPARE(dialog.parentWidget(), &parent);
    QCOMPARE(dialog.windowTitle(), u"Veuillez patienter"_s);
    QVERIFY(dialog.isModal());
    QVERIFY(dialog.isWindow());
    QCOMPARE(dialog.windowFlags(), QDialog(&parent).windowFlags());
    QCOMPARE(dialog.minimumSize(), QSize(200, 140));
    QCOMPARE(dialog.maximumSize(), QSize(200, 140));
}

void TestWaitDialog::isNotShownByItself()
{
    const WaitDialog dialog;
    QCoreApplication::processEvents();
    QVERIFY(dialog.isHidden());
}

void TestWaitDialog::showDoesNotBlock()
{
    WaitDialog dialog;
    dialog.show();
    QVERIFY(dialog.isVisible());
    QCOMPARE(QApplication::activeModalWidget(), &dialog);
    QCOMPARE(dialog.size(), QSize(200, 140));
    dialog.close();
    QVERIFY(!dialog.isVisible());
    QVERIFY(!QApplication::activeModalWidget());
}

void TestWaitDialog::stacksPictureAndMessage()
{
    const WaitDialog dialog;
    QVERIFY(qobject_cast<QVBoxLayout*>(dialog.layout()));
    const QList<QLabel*> stack = labels(dialog);
    QCOMPARE(stack.size(), 2);
    QVERIFY(stack[0] && stack[1]);
    QCOMPARE(dialog.findChildren<QLabel*>().size(), 2);

    QVERIFY(stack[0]->movie());
    QCOMPARE(stack[0]->alignment(), Qt::AlignCenter);
    QVERIFY(!stack[1]->movie());
    QCOMPARE(stack[1]->text(), u"Opération en cours..."_s);
    QCOMPARE(stack[1]->alignment(), Qt::AlignCenter);
}

void TestWaitDialog::animationIsSmoothAndRunsAlready()
{
    const WaitDialog dialog;
    QMovie* movie = labels(dialog).constFirst()->movie();
    QCOMPARE(movie->fileName(), u":/images/loading.gif"_s);
    QVERIFY(movie->isValid());
    QVERIFY2(movie->frameCount() >= 8, "an animation, and a smooth one");
    const QSize size = QSize(64, 64) * dialog.devicePixelRatioF();
    QCOMPARE(movie->scaledSize(), size);
    QCOMPARE(movie->state(), QMovie::Running);
    QVERIFY2(!movie->parent(), "it turns for as long as the program runs");
    QCOMPARE(movie->currentPixmap().size(), size);
}

void TestWaitDialog::animationHasAPixelForEachOfTheScreen()
{
    WaitDialog dialog;
    dialog.show();
    QLabel* picture = labels(dialog).constFirst();
    QMovie* movie = picture->movie();
    movie->setPaused(true); // else another picture might be grabbed than is compared
    const qreal ratio = dialog.devicePixelRatioF();
    QImageReader reader(u":/images/loading.gif"_s);
    reader.setScaledSize(QSize(64, 64) * ratio);
    QImage expected = reader.read();
    for (int frame = 0; frame < movie->currentFrameNumber(); ++frame) {
        expected = reader.read();
    }

    QImage shown = picture->grab().toImage();
    QCOMPARE(shown.devicePixelRatio(), ratio);
    shown.setDevicePixelRatio(1);
    const QRect middle(
        QPoint((shown.width() - expected.width()) / 2, (shown.height() - expected.height()) / 2),
        expected.size());
    QVERIFY(shown.rect().contains(middle));
    QImage background(expected.size(), QImage::Format_RGB32);
    background.fill(dialog.palette().color(QPalette::Window));
    QPainter(&background).drawImage(0, 0, expected);
    QCOMPARE(shown.copy(middle).convertToFormat(QImage::Format_RGB32), background);
}

void TestWaitDialog::animationTurnsWhileShownAndAfterAReopening()
{
    WaitDialog dialog;
    const QMovie* movie = labels(dialog).constFirst()->movie();
    for (int i = 0; i < 2; ++i) {
        dialog.show();
        const int frame = movie->currentFrameNumber();
        QTRY_VERIFY(movie->currentFrameNumber() != frame);
        dialog.close();
    }
    QCOMPARE(movie->state(), QMovie::Running);
}

void TestWaitDialog::setMessageReplacesTheTextAlone()
{
    WaitDialog dialog;
    dialog.show();
    const QMovie* movie = labels(dialog).at(0)->movie();
    dialog.setMessage(u"Préparation de l'installation..."_s);
    QCOMPARE(labels(dialog).at(1)->text(), u"Préparation de l'installation..."_s);
    QCOMPARE(labels(dialog).at(0)->movie(), movie);
    QCOMPARE(dialog.windowTitle(), u"Veuillez patienter"_s);
    QCOMPARE(dialog.size(), QSize(200, 140));
    QVERIFY(dialog.isVisible());
    dialog.close();
    dialog.show();
    QCOMPARE(labels(dialog).at(1)->text(), u"Préparation de l'installation..."_s);
}

void TestWaitDialog::shownTwiceItStaysOneWindow()
{
    WaitDialog dialog;
    dialog.show();
    dialog.show();
    QCOMPARE(visibleWaitDialogs(), QList<QWidget*>{&dialog});
    dialog.close();
    QVERIFY2(visibleWaitDialogs().isEmpty(), "closed once, gone");
}

void TestWaitDialog::focusIsToldOnceHoweverOftenItWasShown()
{
    WaitDialog dialog;
    for (int i = 0; i < 3; ++i) {
        dialog.close();
        dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
    }
    const QSignalSpy told(qGuiApp, &QGuiApplication::focusObjectChanged);
    Q_EMIT dialog.windowHandle()->focusObjectChanged(&dialog);
    QCOMPARE(told.size(), 1);
}

void TestWaitDialog::textsCanBeTranslated()
{
    class Translator : public QTranslator
    {
    public:
        [[nodiscard]] bool isEmpty() const override { return false; }
        [[nodiscard]] QString translate(const char* context, const char* text, const char*,
                                        int) const override
        {
            return qstrcmp(context, "WaitDialog") == 0 ? u'[' + QString::fromUtf8(text) + u']'
                                                       : QString();
        }
    };
    Translator translator;
    QVERIFY(QCoreApplication::installTranslator(&translator));
    const WaitDialog dialog;
    QCOMPARE(dialog.windowTitle(), u"[Veuillez patienter]"_s);
    QCOMPARE(labels(dialog).at(1)->text(), u"[Opération en cours...]"_s);
}

QTEST_MAIN(TestWaitDialog)
#include "tst_waitdialog.moc"
