// The program itself, with its own main(), which also obeys the lines on its standard input. What
// they ask for is done by the event loop that runs at that moment, as if the user or the desktop
// had done it:
//
//     windows         prints the titles of all visible windows, sorted, joined by "|"
//     close           closes the window in front, as the user does
//     hide, show      hides or shows the main window without closing it, as the desktop can
//     quit            hands the program the desktop's request to quit
//     trigger NAME    chooses a menu entry
//     press NAME      presses the first visible button of that object name or text in front
//     stopExtraction  has the next extraction stand still, and prints "stopped" then

#define main quillmereMain
#include "app/main.cpp" // NOLINT(bugprone-suspicious-include): the program itself, steered
#undef main

#include <QAbstractButton>
#include <QAction>
#include <QEvent>
#include <QProcess>
#include <QSocketNotifier>
#include <QTimer>
#include <QWindow>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

void print(const QString& text)
{
    std::puts(qUtf8Printable(text));
    std::fflush(stdout);
}

QStringList visibleTitles()
{
    QStringList titles;
    for (const QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible()) {
            titles.append(widget->windowTitle());
        }
    }
    titles.sort();
    return titles;
}

MainWindow* mainWindow()
{
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* window = qobject_cast<MainWindow*>(widget)) {
            return window;
        }
    }
    return nullptr;
}

QWidget* windowInFront()
{
    QWidget* modal = QApplication::activeModalWidget();
    return modal ? modal : mainWindow();
}

void closeWindowInFront()
{
    if (const QWidget* window = windowInFront(); window && window->windowHandle()) {
        window->windowHandle()->close();
    }
}

void trigger(const QString& name)
{
    if (auto* action = mainWindow()->findChild<QAction*>(name)) {
        action->trigger();
    }
}

void press(const QString& name)
{
    for (QAbstractButton* button : windowInFront()->findChildren<QAbstractButton*>()) {
        const bool isMeant = button->objectName() == name || button->text().remove(u'&') == name;
        if (isMeant && button->isVisible()) {
            button->click();
            return;
        }
    }
}

void stopExtraction()
{
    auto* watch = new QTimer(qApp);
    watch->callOnTimeout(watch, [watch] {
        const auto* unzip =
            mainWindow()->findChild<QProcess*>(QString(), Qt::FindDirectChildrenOnly);
        if (unzip && unzip->state() == QProcess::Running) {
            ::kill(pid_t(unzip->processId()), SIGSTOP);
            watch->deleteLater();
            print(u"stopped %1"_s.arg(unzip->processId()));
        }
    });
    watch->start(0);
}

void obey(const QString& line)
{
    const QString command = line.section(u' ', 0, 0);
    const QString name = line.section(u' ', 1);
    if (command == "windows"_L1) {
        print("windows "_L1 + visibleTitles().join(u'|'));
    } else if (command == "close"_L1) {
        closeWindowInFront();
    } else if (command == "hide"_L1 || command == "show"_L1) {
        mainWindow()->setVisible(command == "show"_L1);
    } else if (command == "quit"_L1) {
        QCoreApplication::postEvent(qApp, new QEvent(QEvent::Quit));
    } else if (command == "trigger"_L1) {
        trigger(name);
    } else if (command == "press"_L1) {
        press(name);
    } else if (command == "stopExtraction"_L1) {
        stopExtraction();
    } else {
        qFatal("unknown command: %s", qUtf8Printable(line));
    }
}

void readCommands()
{
    static QByteArray unread;
    char buffer[4096];
    const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (count <= 0) {
        ::_exit(EXIT_FAILURE); // nobody steers any more
    }
    unread.append(buffer, count);
    while (unread.contains('\n')) {
        const qsizetype end = unread.indexOf('\n');
        const QString line = QString::fromUtf8(unread.first(end));
        unread.remove(0, end + 1);
        // By the event loop: what it starts may wait in a loop of its own.
        QMetaObject::invokeMethod(
            qApp, [line] { obey(line); }, Qt::QueuedConnection);
    }
}

void listen()
{
    auto* notifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, qApp);
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, &readCommands);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(listen)

int main(int argc, char* argv[])
{
    return quillmereMain(argc, argv);
}
