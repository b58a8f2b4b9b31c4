#include "support/samplemachine.h"

#include "app/debug.h"
#include "support/propertylist.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Appends the arguments' number and the arguments, each with a zero byte behind it.
QByteArray recordingLine(const QByteArray& base)
{
    return "printf '%s\\0' \"$#\" \"$@\" >>'" + base + ".calls'\n";
}

/// A property list whose version is neither its first nor its last value.
QByteArray ordinaryPlist(const QString& version)
{
    return xmlPlist("    <key>CFBundlePackageType</key>\n    <string>APPL</string>\n"
                    "    <key>CFBundleShortVersionString</key>\n    <string>" +
                    version.toHtmlEscaped().toUtf8() +
                    "</string>\n    <key>NSHighResolutionCapable</key>\n    <true/>");
}

} // namespace

SampleMachine::SampleMachine()
{
    Debug::init();
    listInstalled();
}

void SampleMachine::install(const QString& name, const QString& version)
{
    QDir(location(name)).removeRecursively();
    QDir().mkpath(location(name));
    if (!version.isNull()) {
        putBundle(name, ordinaryPlist(version));
    }
    if (!m_installed.contains(name)) {
        m_installed.append(name);
    }
    listInstalled();
}

void SampleMachine::uninstall(const QString& name)
{
    QDir(location(name)).removeRecursively();
    m_installed.removeOne(name);
    listInstalled();
}

void SampleMachine::listInstalled() const
{
    QStringList paths;
    for (const QString& name : m_installed) {
        paths.append(location(name));
    }
    list(paths);
}

void SampleMachine::holdScans()
{
    m_scansBeforeHold = calls(u"find"_s).size();
    m_home.write(u"find.held"_s, {});
}

void SampleMachine::releaseScans() const
{
    QFile::remove(m_home.path() + "/find.held"_L1);
}

qsizetype SampleMachine::heldScans() const
{
    return calls(u"find"_s).size() - m_scansBeforeHold;
}

void SampleMachine::answer(const QString& command, const QByteArray& output) const
{
    const QByteArray base = m_home.path().toUtf8() + '/' + command.toUtf8();
    m_home.write(command + ".out"_L1, output);
    m_standIns.add(command, recordingLine(base) + "while [ -e '" + base +
                                ".held' ]; do sleep 0.01; done\nexec cat '" + base + ".out'\n");
}

void SampleMachine::list(const QStringList& paths) const
{
    QByteArray output;
    for (const QString& path : paths) {
        output += path.toUtf8() + '\n';
    }
    answer(u"find"_s, output);
}

void SampleMachine::findIn(const QString& applications) const
{
    // Not looked up through the stand-ins, which come first in PATH.
    const QString realFind = QStandardPaths::findExecutable(u"find"_s, {u"/usr/bin"_s, u"/bin"_s});
    const QByteArray folder = m_home.path().toUtf8() + '/' + applications.toUtf8();
    const QByteArray script = recordingLine(m_home.path().toUtf8() + "/find") +
                              "[ \"$1\" = /Applications ] || exit 1\nshift\n'" + realFind.toUtf8() +
                              "' '" + folder + "' \"$@\" | sed 's|^" + folder +
                              "|/Applications|'\n";
    m_standIns.add(u"find"_s, script);
}

void SampleMachine::withdrawCommands() const
{
    QDir(m_home.path()).mkpath(u"nothing"_s);
    qputenv("PATH", (m_home.path() + "/nothing"_L1).toLocal8Bit());
}

QList<QStringList> SampleMachine::calls(const QString& command) const
{
    QStringList recorded =
        QString::fromUtf8(PrivateHome::read(m_home.path() + u'/' + command + ".calls"_L1))
            .split(u'\0');
    QList<QStringList> calls;
    while (recorded.size() > 1) {
        const qsizetype count = recorded.takeFirst().toInt();
        calls.append(recorded.first(count));
        recorded = recorded.sliced(count);
    }
    return calls;
}

QString SampleMachine::putBundle(const QString& name, const QByteArray& infoPlist) const
{
    m_home.write("Bundles/"_L1 + name + ".app/Contents/Info.plist"_L1, infoPlist);
    return location(name);
}

QString SampleMachine::location(const QString& name) const
{
    return m_home.path() + "/Bundles/"_L1 + name + ".app"_L1;
}

QStringList SampleMachine::takeLog()
{
    const QStringList lines = m_home.logLines().mid(m_linesTaken);
    m_linesTaken += lines.size();
    return lines;
}

QStringList SampleMachine::takeLog(const QString& part)
{
    return takeLog().filter(part);
}

HeldCommand::HeldCommand(const SampleMachine& machine, const QString& command)
    : m_marker(machine.home().write(command + ".held"_L1, {}))
{}

HeldCommand::~HeldCommand()
{
    release();
}

void HeldCommand::release() const
{
    QFile::remove(m_marker);
}
