#include "system/system.h"

#include <QProcess>
#include <QSysInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int longestRun = 30'000; // ms

} // namespace

QString System::cpuArchitecture()
{
    const QString arm = u"arm64"_s;
    return QSysInfo::currentCpuArchitecture() == arm ? arm : u"x86_64"_s;
}

QList<QByteArray> System::execute(const QList<QString>& command)
{
    QProcess process;
    process.start(command.first(), command.mid(1), QIODevice::ReadWrite);
    process.waitForFinished(longestRun);
    const QByteArray output = process.readAllStandardOutput();
    return {output, process.readAllStandardError()};
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface's own signature
QString System::qVectorToString(const QList<QString>& list, QString separator)
{
    QString text;
    for (const QString& element : list) {
        text += element + separator;
    }
    text.chop(2); // deliberately two, whatever the separator's length
    return text + u'\n';
}

QString System::qMapToString(const QMap<QString, QString>& map)
{
    QString text;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        text += u'(' + entry.key() + " = "_L1 + entry.value() + ") "_L1;
    }
    return text;
}
