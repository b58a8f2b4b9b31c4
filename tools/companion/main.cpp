#include "companion/commands.h"

#include <QCoreApplication>
#include <QTextStream>

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

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    qInstallMessageHandler(sayOnlyTrouble);
    QTextStream out(stdout);
    QTextStream err(stderr);
    return runCommand(QCoreApplication::arguments().sliced(1), out, err);
}
