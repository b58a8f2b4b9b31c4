#include "child.h"

#include "console.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

using namespace Qt::Literals::StringLiterals;

QByteArray outputOf(const QString& program, const QStringList& arguments)
{
    QProcess child;
    child.start(program, arguments);
    child.waitForFinished(-1);
    if (child.exitStatus() != QProcess::NormalExit || child.exitCode() != 0) {
        fail(program + u' ' + arguments.join(u' ') + " failed: "_L1 +
             QString::fromUtf8(child.readAllStandardError()));
    }
    return child.readAllStandardOutput();
}

QByteArray outputOfChild(const QStringList& arguments)
{
    return outputOf(QCoreApplication::applicationFilePath(), arguments);
}

QString scriptPath(const QString& name)
{
    return QLatin1String(QUILLMERE_BENCH_FOLDER) + u'/' + name;
}

double processBytes(const QByteArray& field)
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly)) {
        return 0.0;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(field + ':')) {
            return line.mid(field.size() + 1).trimmed().split(' ').constFirst().toDouble() * 1024;
        }
    }
    return 0.0;
}
