#include "companion/commands.h"
#include "companion/installer/installerreader.h"
#include "companion/report/commandline.h"

#include <QCoreApplication>
#include <QTextStream>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// The client's code logs what it does. That is none of what the companion was asked.
void sayOnlyTrouble(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type != QtDebugMsg && type != QtInfoMsg) {
        QTextStream(stderr) << text << Qt::endl;
    }
    if (type == QtFatalMsg) {
        std::abort();
    }
}

bool isClosed(int descriptor)
{
    return ::fcntl(descriptor, F_GETFD) == -1;
}

/// Why a long output could not be written before its end: the same once more for one byte.
int reasonOfLastWrite()
{
    return ::write(STDOUT_FILENO, "\n", 1) == -1 ? errno : 0;
}

int sayUnwritable(QTextStream& err, int reason)
{
    err << companionName() << ": cannot write the output"
        << (reason != 0 ? ": "_L1 + QString::fromLocal8Bit(std::strerror(reason)) : QString())
        << Qt::endl;
    return Unusable;
}

} // namespace

int main(int argc, char* argv[])
{
    // Asked first: whatever is opened next takes a closed one's place.
    const bool isOutputClosed = isClosed(STDOUT_FILENO);
    const QCoreApplication application(argc, argv);
    qInstallMessageHandler(sayOnlyTrouble);
    QTextStream out(stdout);
    QTextStream err(stderr);
    if (isOutputClosed) {
        return sayUnwritable(err, EBADF);
    }
    // Whoever reads the output may end first: that is a failed write, and not this program's end.
    std::signal(SIGPIPE, SIG_IGN);
    InstallerReader::useProgram(QCoreApplication::applicationFilePath());
    const QStringList arguments = QCoreApplication::arguments().sliced(1);
    const int status = isInstallerReading(arguments) ? runInstallerReading(arguments, out)
                                                     : runCommand(arguments, out, err);
    errno = 0;
    out.flush();
    if (out.status() != QTextStream::Ok || std::fflush(stdout) != 0) {
        return sayUnwritable(err, errno != 0 ? errno : reasonOfLastWrite());
    }
    return status;
}
