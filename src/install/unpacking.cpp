#include "install/unpacking.h"

#include <QProcess>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

void startUnzip(QProcess& process, const QStringList& arguments)
{
    // Away from the terminal that the program may have been started from: there unzip would wait
    // for an encrypted archive's password.
    process.setChildProcessModifier([] { ::setsid(); });
    process.start(u"/usr/bin/unzip"_s, arguments);
    // On a full disk unzip asks whether to go on, and nobody would answer.
    process.closeWriteChannel();
}
