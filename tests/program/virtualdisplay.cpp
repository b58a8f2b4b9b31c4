#include "virtualdisplay.h"

#include "support/privatehome.h"

#include <QFileInfo>
#include <QStandardPaths>
#include <QTest>

#ifdef Q_OS_LINUX
#include <csignal>
#include <sys/prctl.h>
#endif

using namespace Qt::Literals::StringLiterals;

QByteArray outputOf(const QString& command, const QStringList& arguments)
{
    QProcess process;
    process.start(command, arguments);
    process.waitForFinished(20'000);
    return process.readAllStandardOutput();
}

void endWithThisProcess(QProcess& process)
{
#ifdef Q_OS_LINUX
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
#else
    Q_UNUSED(process)
#endif
}

void stopProcess(QProcess& process)
{
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
    }
}

VirtualDisplay::~VirtualDisplay()
{
    stopProcess(m_openbox);
    m_xvfb.terminate(); // so that it removes its lock
    m_xvfb.waitForFinished();
}

void VirtualDisplay::start()
{
    for (const QString& command : {u"Xvfb"_s, u"openbox"_s, u"xdotool"_s}) {
        QVERIFY2(!QStandardPaths::findExecutable(command).isEmpty(),
                 qPrintable(command + " is missing; ./test.sh installs it"_L1));
    }
    endWithThisProcess(m_xvfb);
    // Without resets: the server would start anew, deaf meanwhile, whenever its last client leaves.
    m_xvfb.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"1024x768x24"_s,
                             u"-nolisten"_s, u"tcp"_s, u"-noreset"_s});
    QVERIFY2(m_xvfb.waitForStarted(), qPrintable(m_xvfb.errorString()));
    QTRY_VERIFY2_WITH_TIMEOUT(m_xvfb.canReadLine(), "Xvfb does not say which display it has",
                              30'000);
    qputenv("DISPLAY", ':' + m_xvfb.readLine().trimmed());
    qunsetenv("WAYLAND_DISPLAY");

    const PrivateHome home;
    endWithThisProcess(m_openbox);
    // It runs that command once it is ready: a window that comes before may never be shown.
    const QString ready = home.path() + "/ready"_L1;
    m_openbox.start(u"openbox"_s, {u"--sm-disable"_s, u"--startup"_s, u"touch '%1'"_s.arg(ready)});
    QVERIFY2(m_openbox.waitForStarted(), qPrintable(m_openbox.errorString()));
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(ready), 30'000);
}
