#pragma once

#include <QElapsedTimer>
#include <QTextStream>
#include <QTimer>

/// One line on a terminal that tells how far a command is, from its third second on. It is gone
/// when the command has ended. Elsewhere than on a terminal nothing is told.
class Progress
{
public:
    /// Tells on @p err, which is a terminal where @p isTerminal.
    Progress(QTextStream& err, bool isTerminal);
    ~Progress();
    Q_DISABLE_COPY_MOVE(Progress)

    /// Whether standard error is a terminal.
    [[nodiscard]] static bool isOnTerminal();

    /// The command is at @p what now.
    void tell(const QString& what);
    /// The command is at @p what and returns to an event loop until that has come.
    void waitFor(const QString& what);

private:
    void show(const QString& what);

    QTextStream& m_err;
    bool m_isTerminal;
    bool m_hasShown = false;
    qint64 m_last = 0; ///< when something was shown last
    QElapsedTimer m_time;
    QTimer m_wait;
};
