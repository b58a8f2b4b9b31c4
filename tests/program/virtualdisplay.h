#pragma once

#include <QProcess>

/// What @p command prints, without surrounding white space, when it ends within 20 s; the test's
/// own event loop stands still meanwhile.
QByteArray outputOf(const QString& command, const QStringList& arguments);

/// Has @p process end with this one, however this one ends; to be called before it starts.
void endWithThisProcess(QProcess& process);

/// Kills @p process if it runs, and waits until it is gone.
void stopProcess(QProcess& process);

/// A display that nobody sees, with a window manager, in DISPLAY for as long as the object lives.
class VirtualDisplay
{
public:
    VirtualDisplay() = default;
    ~VirtualDisplay();
    Q_DISABLE_COPY_MOVE(VirtualDisplay)

    /// Fails the running test when a command is missing or does not start.
    void start();

private:
    QProcess m_xvfb;
    QProcess m_openbox;
};
