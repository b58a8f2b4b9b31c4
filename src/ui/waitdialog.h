#pragma once

#include <QDialog>

class QLabel;

/// A small modal window with an animation and one line of text. Its owner shows and closes it any
/// number of times; it never blocks the event loop.
class WaitDialog : public QDialog
{
    Q_OBJECT

public:
    explicit WaitDialog(QWidget* parent = nullptr);

    /// Replaces the line of text.
    void setMessage(const QString& text);

protected:
    void hideEvent(QHideEvent* event) override;

private:
    QLabel* m_message;
};
