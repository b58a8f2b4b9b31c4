#include "support/windowclick.h"

#include <QDebug>
#include <QPointer>
#include <QRegion>
#include <QTest>
#include <QWidget>
#include <QWindow>

namespace {

using Click = void (*)(QWindow*, QPoint);

void clickOnce(QWindow* window, QPoint place)
{
    const QPointer<QWindow> alive = window;
    QTest::mousePress(window, Qt::LeftButton, {}, place);
    if (alive) {
        QTest::mouseRelease(window, Qt::LeftButton, {}, place);
    }
}

void clickTwice(QWindow* window, QPoint place)
{
    QTest::mouseDClick(window, Qt::LeftButton, {}, place);
}

bool clickSeen(Click click, const QWidget* widget, QPoint place, TestLine at)
{
    if (!widget || !isSeen(widget, place)) {
        QString what;
        QDebug(&what) << "cannot be seen, so not clicked:" << widget << "at" << place;
        QTest::qFail(qPrintable(what), at.file, at.line);
        return false;
    }
    const QPointer<QWindow> window = widget->window()->windowHandle();
    const QPoint inWindow = widget->mapTo(widget->window(), place);
    QTest::mouseMove(window, inWindow);
    if (window) {
        click(window, inWindow);
    }
    return true;
}

QPoint middle(const QWidget* widget)
{
    return widget ? widget->rect().center() : QPoint();
}

} // namespace

bool isSeen(const QWidget* widget, QPoint place)
{
    if (!widget->visibleRegion().contains(place)) {
        return false;
    }
    const QWidget* window = widget->window();
    const QPoint inWindow = widget->mapTo(window, place);
    const QWidget* onTop = window->childAt(inWindow);
    const bool isOnTop = onTop ? widget == onTop || widget->isAncestorOf(onTop) : widget == window;
    return isOnTop && !inWindow.isNull(); // which QTest takes for the window's middle
}

bool windowClick(const QWidget* widget, QPoint place, TestLine at)
{
    return clickSeen(clickOnce, widget, place, at);
}

bool windowClick(const QWidget* widget, TestLine at)
{
    return windowClick(widget, middle(widget), at);
}

bool windowDoubleClick(const QWidget* widget, QPoint place, TestLine at)
{
    return clickSeen(clickTwice, widget, place, at);
}
