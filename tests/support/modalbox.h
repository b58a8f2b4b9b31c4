#pragma once

#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>

#include <functional>

/// Answers the modal message boxes that open while it lives and keeps what they said.
///
///     BoxAnswerer answers(QMessageBox::Ok);
///     window.action_loadWebData();
///     QCOMPARE(answers.texts(), QStringList{u"..."_s});
///
/// It presses @p button in every box; a box without that button is closed by Escape and counts in
/// unanswered(). So no box is ever left to block the test.
class BoxAnswerer : public QObject
{
public:
    explicit BoxAnswerer(QMessageBox::StandardButton button);

    [[nodiscard]] qsizetype count() const { return m_texts.size(); }
    [[nodiscard]] QStringList titles() const { return m_titles; }
    [[nodiscard]] QStringList texts() const { return m_texts; }
    [[nodiscard]] int unanswered() const { return m_unanswered; }
    /// Runs @p look with each box before it is answered, once the box is visible.
    void inspect(std::function<void(QMessageBox&)> look) { m_look = std::move(look); }

private:
    void answer();

    QMessageBox::StandardButton m_button;
    QStringList m_titles;
    QStringList m_texts;
    int m_unanswered = 0;
    std::function<void(QMessageBox&)> m_look;
    QTimer m_timer;
};

/// Closes a message box that nobody answers for a while, and fails the test with what it said,
/// which it would block otherwise.
class BoxGuard : public QObject
{
public:
    BoxGuard();

private:
    void look();

    QPointer<QMessageBox> m_open; ///< since the last look
    QTimer m_timer;
};
