#pragma once

#include <QHash>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QWindow>

#include <functional>
#include <random>

class PreferenceDialog;
class QLineEdit;
class QWidget;

/// A user who presses keys, clicks, chooses menu entries and closes windows without waiting for
/// anything, in whatever event loop runs: during loads and behind and in front of boxes alike.
///
/// What is done next is drawn from the seed alone, and as many numbers are drawn for one action as
/// for another; what it meets, when a box is open for example, also depends on how fast the machine
/// is. Files are out of reach: a file dialog is only accepted or cancelled, and a text of the
/// preferences is only ever replaced by one of a list.
class ImpatientUser : public QObject
{
public:
    enum Manner
    {
        ByAnyMeans, ///< also in short: sets texts, presses what is hidden, quits as the desktop
                    ///< does
        ByHand      ///< clicks that the window gets, where they are seen, keys, and the frame's ✕
    };

    ImpatientUser(Manner manner, quint32 seed, int actions);

    /// What may be typed into the line edit of that name.
    void setTexts(const QString& lineEdit, const QStringList& texts);
    /// What typing all the right texts means; offered to the preferences now and then.
    void setRightTexts(const QHash<QString, QString>& texts) { m_rightTexts = texts; }

    /// Begins; continues by itself until all actions are done, and quits the program then.
    void start();
    [[nodiscard]] bool isDone() const { return m_left <= 0; }
    [[nodiscard]] int done() const { return m_total - m_left; }
    /// The last actions, the latest at the end.
    [[nodiscard]] QStringList trace() const { return m_trace; }

private:
    struct Draw
    {
        quint32 kind = 0;
        quint32 what = 0;
        quint32 where = 0;
        quint32 pause = 0;
    };

    void next(int milliseconds);
    void act();
    void perform(const Draw& draw);
    /// Counts an action and keeps what it is.
    void note(const QString& text);

    /// A click of the user's manner; the second one of a double click is the next action, as the
    /// first one may wait in an event loop.
    void click(QWidget& target, QPoint place, const QString& what, bool isDouble = false);
    void clickAgain();
    void pressAndHold(const Draw& draw);
    void release();
    void pressKey(const Draw& draw);
    void pressShortcut(const Draw& draw);
    void clickButton(const Draw& draw);
    void clickAnywhere(const Draw& draw);
    void useMenu(const Draw& draw);
    void closeFront();
    void type(QLineEdit& edit, const Draw& draw);
    void fillInPreferences();
    void fillInByHand(PreferenceDialog* open);

    Manner m_manner;
    std::mt19937 m_random;
    int m_total;
    int m_left;
    int m_actingLevel = -1;      ///< of the event loop in which an action is being done
    QPointer<QWindow> m_pressed; ///< in which the mouse button is held
    QPointer<QWindow> m_again;   ///< that is to be clicked a second time
    QPoint m_place;              ///< of either
    QHash<QString, QStringList> m_texts;
    QHash<QString, QString> m_rightTexts;
    QStringList m_trace;
    bool m_isTraced;
};
