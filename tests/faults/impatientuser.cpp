#include "faults/impatientuser.h"

#include "support/windowclick.h"
#include "ui/preferencedialog.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPointer>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;

namespace {

QMainWindow* mainWindow()
{
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* window = qobject_cast<QMainWindow*>(widget); window && window->isVisible()) {
            return window;
        }
    }
    return nullptr;
}

/// What a click can reach now: an open menu, else the box in front, else the main window.
QWidget* front()
{
    if (QWidget* popup = QApplication::activePopupWidget()) {
        return popup;
    }
    if (QWidget* modal = QApplication::activeModalWidget(); modal && modal->isVisible()) {
        return modal;
    }
    return mainWindow();
}

template <typename List>
auto pick(const List& list, quint32 number)
{
    return list[qsizetype(number % quint32(list.size()))];
}

void sendKey(QWindow* target, int key, Qt::KeyboardModifiers modifiers, const QString& text)
{
    const QPointer<QWindow> window(target);
    if (qt_sendShortcutOverrideEvent(target, 0, key, modifiers, text)) {
        return; // a shortcut took it
    }
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        if (window) {
            QKeyEvent event(type, key, modifiers, text);
            QCoreApplication::sendEvent(window, &event);
        }
    }
}

void sendKey(QWindow* target, int key, Qt::KeyboardModifiers modifiers)
{
    const QString text = QTest::keyToAscii(Qt::Key(key)) >= ' '
                             ? QString(QLatin1Char(QTest::keyToAscii(Qt::Key(key))))
                             : QString();
    sendKey(target, key, modifiers, text);
}

/// Replaces the text where the focus is, key by key.
void sendText(const QPointer<QWindow>& window, const QString& text)
{
    sendKey(window, Qt::Key_A, Qt::ControlModifier, QString());
    if (window && text.isEmpty()) {
        sendKey(window, Qt::Key_Delete, Qt::NoModifier, QString());
    }
    for (const QChar character : text) {
        if (window) {
            sendKey(window, character.toUpper().unicode(), Qt::NoModifier, character);
        }
    }
}

void sendClick(QWidget* target, QPoint position)
{
    if (QWindow* window = target->window()->windowHandle()) {
        QTest::mouseClick(window, Qt::LeftButton, {}, target->mapTo(target->window(), position));
    }
}

QString nameOf(const QWidget& widget)
{
    return QString::fromLatin1(widget.metaObject()->className()) + u' ' + widget.objectName();
}

} // namespace

ImpatientUser::ImpatientUser(Manner manner, quint32 seed, int actions)
    : m_manner(manner)
    , m_random(seed)
    , m_total(actions)
    , m_left(actions)
    , m_isTraced(qEnvironmentVariableIsSet("QUILLMERE_TEST_TRACE"))
{}

void ImpatientUser::setTexts(const QString& lineEdit, const QStringList& texts)
{
    m_texts.insert(lineEdit, texts);
}

void ImpatientUser::start()
{
    next(0);
}

void ImpatientUser::next(int milliseconds)
{
    QTimer::singleShot(milliseconds, Qt::PreciseTimer, this, [this] { act(); });
}

void ImpatientUser::act()
{
    const int level = QThread::currentThread()->loopLevel();
    if (level == m_actingLevel) {
        next(1); // within an action that has opened no event loop: it comes to its end first
        return;
    }
    if (isDone()) {
        QCoreApplication::postEvent(qApp, new QEvent(QEvent::Quit));
        next(50); // until somebody runs the program no more
        return;
    }
    const Draw draw{quint32(m_random()), quint32(m_random()), quint32(m_random()),
                    quint32(m_random())};
    // Mostly at once, now and then with time for what has been begun.
    next(draw.pause % 20 == 0 ? int(draw.pause / 20 % 120) : int(draw.pause % 3));
    const QScopedValueRollback acting(m_actingLevel, level);
    perform(draw);
}

void ImpatientUser::perform(const Draw& draw)
{
    const quint32 share = draw.kind % 1000;
    if (m_pressed) {
        release();
    } else if (m_again) {
        clickAgain();
    } else if (share < 280) {
        pressKey(draw);
    } else if (share < 370) {
        pressShortcut(draw);
    } else if (share < 680) {
        clickButton(draw);
    } else if (share < 770) {
        clickAnywhere(draw);
    } else if (share < 910) {
        useMenu(draw);
    } else if (share < 950) {
        fillInPreferences();
    } else if (share < 965) {
        closeFront();
    } else if (m_manner == ByHand) {
        pressAndHold(draw);
    } else if (share < 970) {
        note(u"quit"_s);
        QCoreApplication::postEvent(qApp, new QEvent(QEvent::Quit));
    } // else the user looks on for once
}

void ImpatientUser::note(const QString& text)
{
    --m_left; // not before: what meets nothing to act on is no action
    const QString line = u"%1 (level %2): %3"_s.arg(done()).arg(m_actingLevel).arg(text);
    if (m_isTraced) {
        qInfo("%s", qUtf8Printable(line));
    }
    m_trace.append(line);
    if (m_trace.size() > 60) {
        m_trace.removeFirst();
    }
}

void ImpatientUser::click(QWidget& target, QPoint place, const QString& what, bool isDouble)
{
    QWindow* window = target.window()->windowHandle();
    if (!window || (m_manner == ByHand && !isSeen(&target, place))) {
        return;
    }
    note(what);
    if (isDouble) {
        m_again = window;
        m_place = target.mapTo(target.window(), place);
    }
    if (m_manner == ByHand) {
        windowClick(&target, place);
    } else {
        sendClick(&target, place);
    }
}

void ImpatientUser::clickAgain()
{
    const QPointer<QWindow> window = std::exchange(m_again, {});
    if (window->isVisible()) {
        note(u"click again"_s);
        QTest::lastMouseTimestamp -= QTest::mouseDoubleClickInterval;
        QTest::mousePress(window.data(), Qt::LeftButton, {}, m_place);
    }
    if (window && window->isVisible()) {
        QTest::mouseRelease(window.data(), Qt::LeftButton, {}, m_place);
    }
}

void ImpatientUser::pressAndHold(const Draw& draw)
{
    const QWidget* window = front();
    if (!window || !window->windowHandle() || qobject_cast<const QFileDialog*>(window)) {
        return;
    }
    const QPoint at(1 + int(draw.what % quint32(window->width() - 1)),
                    1 + int(draw.where % quint32(window->height() - 1)));
    note(u"press at %1, %2 in %3"_s.arg(at.x()).arg(at.y()).arg(nameOf(*window)));
    m_pressed = window->windowHandle();
    m_place = at;
    QTest::mousePress(m_pressed.data(), Qt::LeftButton, {}, at);
}

void ImpatientUser::release()
{
    const QPointer<QWindow> window = std::exchange(m_pressed, {});
    if (window->isVisible()) { // another one gets it else
        note(u"release"_s);
        QTest::mouseRelease(window.data(), Qt::LeftButton, {}, m_place);
    }
}

void ImpatientUser::pressKey(const Draw& draw)
{
    static const QList<int> keys = {Qt::Key_Escape, Qt::Key_Escape,   Qt::Key_Return, Qt::Key_Enter,
                                    Qt::Key_Space,  Qt::Key_Space,    Qt::Key_Tab,    Qt::Key_Tab,
                                    Qt::Key_Tab,    Qt::Key_Backtab,  Qt::Key_Up,     Qt::Key_Down,
                                    Qt::Key_Left,   Qt::Key_Right,    Qt::Key_Home,   Qt::Key_End,
                                    Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_F10,    Qt::Key_A,
                                    Qt::Key_Y,      Qt::Key_N,        Qt::Key_Delete, Qt::Key_5};
    QWidget* window = front();
    if (!window || !window->windowHandle()) {
        return;
    }
    int key = pick(keys, draw.what);
    if (qobject_cast<QFileDialog*>(window)) {
        key = Qt::Key_Escape;
    }
    auto* edit = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    const bool isText = key == Qt::Key_Delete || (key >= Qt::Key_0 && key <= Qt::Key_Z);
    if (edit && isText && qobject_cast<PreferenceDialog*>(edit->window())) {
        type(*edit, draw);
        return;
    }
    note(u"key %1 in %2"_s.arg(QKeySequence(key).toString(), nameOf(*window)));
    sendKey(window->windowHandle(), key, Qt::NoModifier);
}

void ImpatientUser::pressShortcut(const Draw& draw)
{
    static const QList<int> keys = {Qt::Key_S, Qt::Key_S, Qt::Key_R, Qt::Key_W};
    QWidget* window = front();
    if (!window || !window->windowHandle() || qobject_cast<QFileDialog*>(window)) {
        return;
    }
    const int key = pick(keys, draw.what);
    Qt::KeyboardModifiers modifiers = Qt::ControlModifier;
    if (key == Qt::Key_R && draw.where % 8 != 0) {
        modifiers |= Qt::ShiftModifier;
    }
    note(
        u"shortcut %1 in %2"_s.arg(QKeySequence(int(modifiers) | key).toString(), nameOf(*window)));
    sendKey(window->windowHandle(), key, modifiers);
}

void ImpatientUser::clickButton(const Draw& draw)
{
    QWidget* window = front();
    if (!window) {
        return;
    }
    QList<QAbstractButton*> buttons;
    for (QAbstractButton* button : window->findChildren<QAbstractButton*>()) {
        const bool isAllowed = !qobject_cast<QFileDialog*>(window) ||
                               qobject_cast<QDialogButtonBox*>(button->parentWidget());
        if (isAllowed && button->isVisible() && !button->visibleRegion().isEmpty()) {
            buttons.append(button);
        }
    }
    if (buttons.isEmpty()) {
        return;
    }
    QAbstractButton* button = pick(buttons, draw.what);
    QPoint place = button->visibleRegion().boundingRect().center();
    if (m_manner == ByHand) {
        place = {int(draw.where % quint32(button->width())),
                 int(draw.kind / 1000 % quint32(button->height()))};
    }
    click(*button, place,
          u"click on %1 \"%2\" in %3"_s.arg(nameOf(*button), button->text(), nameOf(*window)),
          draw.where % 10 == 0);
}

void ImpatientUser::clickAnywhere(const Draw& draw)
{
    QWidget* window = front();
    if (!window || qobject_cast<QFileDialog*>(window)) {
        return;
    }
    const QPoint at(int(draw.what % quint32(window->width())),
                    int(draw.where % quint32(window->height())));
    click(*window, at, u"click at %1, %2 in %3"_s.arg(at.x()).arg(at.y()).arg(nameOf(*window)),
          draw.where % 7 == 0);
}

void ImpatientUser::useMenu(const Draw& draw)
{
    QWidget* window = front();
    if (auto* menu = qobject_cast<QMenu*>(window)) {
        const QAction* entry = pick(menu->actions(), draw.what);
        click(*menu, menu->actionGeometry(const_cast<QAction*>(entry)).center(),
              u"menu entry "_s + entry->text());
    } else if (const auto* main = qobject_cast<QMainWindow*>(window)) {
        QMenuBar* bar = main->menuBar();
        QAction* title = pick(bar->actions(), draw.what);
        click(*bar, bar->actionGeometry(title).center(), u"menu "_s + title->text());
    }
}

void ImpatientUser::closeFront()
{
    if (QWidget* window = front(); window && window->windowHandle()) {
        note(u"close "_s + nameOf(*window));
        window->windowHandle()->close();
    }
}

void ImpatientUser::type(QLineEdit& edit, const Draw& draw)
{
    const QStringList texts = m_texts.value(edit.objectName());
    if (!texts.isEmpty()) {
        const QString text = pick(texts, draw.where);
        note(u"type \"%1\" into %2"_s.arg(text, edit.objectName()));
        if (m_manner == ByHand) {
            sendText(edit.window()->windowHandle(), text);
        } else {
            edit.selectAll();
            edit.insert(text);
        }
    }
}

void ImpatientUser::fillInPreferences()
{
    auto* dialog = qobject_cast<PreferenceDialog*>(front());
    if (!dialog) {
        return;
    }
    note(u"fill in the preferences"_s);
    if (m_manner == ByHand) {
        fillInByHand(dialog);
        return;
    }
    for (auto text = m_rightTexts.cbegin(); text != m_rightTexts.cend(); ++text) {
        dialog->findChild<QLineEdit*>(text.key())->setText(text.value());
    }
    dialog->findChild<QDialogButtonBox*>(u"buttonBox"_s)->button(QDialogButtonBox::Ok)->click();
}

void ImpatientUser::fillInByHand(PreferenceDialog* open)
{
    const QPointer<PreferenceDialog> dialog(open);
    for (auto text = m_rightTexts.cbegin(); text != m_rightTexts.cend(); ++text) {
        // Events are processed between the clicks, so that the dialog may go.
        auto* edit = dialog ? dialog->findChild<QLineEdit*>(text.key()) : nullptr;
        if (!edit || front() != dialog || !windowClick(edit)) {
            return;
        }
        if (edit == QApplication::focusWidget()) {
            sendText(dialog->windowHandle(), text.value());
        }
    }
    if (dialog && front() == dialog) {
        windowClick(
            dialog->findChild<QDialogButtonBox*>(u"buttonBox"_s)->button(QDialogButtonBox::Ok));
    }
}
