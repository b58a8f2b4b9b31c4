#include "support/scanmachine.h"

#include "app/debug.h"

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

} // namespace

ScanMachine::ScanMachine()
{
    Debug::init();
    list({});
}

void ScanMachine::answer(const QString& command, const QByteArray& output) const
{
    const QByteArray base = m_home.path().toUtf8() + '/' + command.toUtf8();
    m_home.write(command + ".out"_L1, output);
    m_standIns.add(command, recordingLine(base) + "while [ -e '" + base +
                                ".held' ]; do sleep 0.01; done\nexec cat '" + base + ".out'\n");
}

void ScanMachine::list(const QStringList& paths) const
{
    QByteArray output;
    for (const QString& path : paths) {
        output += path.toUtf8() + '\n';
    }
    answer(u"find"_s, output);
}

void ScanMachine::findIn(const QString& applications) const
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

void ScanMachine::withdrawCommands() const
{
    QDir(m_home.path()).mkpath(u"nothing"_s);
    qputenv("PATH", (m_home.path() + "/nothing"_L1).toLocal8Bit());
}

QList<QStringList> ScanMachine::calls(const QString& command) const
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

QString ScanMachine::install(const QString& name, const QByteArray& infoPlist) const
{
    m_home.write("Bundles/"_L1 + name + ".app/Contents/Info.plist"_L1, infoPlist);
    return location(name);
}

QString ScanMachine::location(const QString& name) const
{
    return m_home.path() + "/Bundles/"_L1 + name + ".app"_L1;
}

QStringList ScanMachine::takeLog()
{
    const QStringList lines = m_home.logLines().mid(m_linesTaken);
    m_linesTaken += lines.size();
    return lines;
}

QStringList ScanMachine::takeLog(const QString& part)
{
    return takeLog().filter(part);
}

HeldCommand::HeldCommand(const ScanMachine& machine, const QString& command)
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

QByteArray xmlPlist(const QByteArray& content)
{
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
)" + content +
           "\n</dict>\n</plist>\n";
}

QByteArray versionPlist(const QByteArray& version)
{
    return xmlPlist("<key>CFBundleShortVersionString</key>\n<string>" + version + "</string>");
}

QByteArray binaryPlist(const QByteArray& key, const QByteArray& value)
{
    const auto text = [](const QByteArray& ascii) {
        // A text of less than 256 characters: kind, then the length as a one-byte number.
        return QByteArray("\x5F\x10") + static_cast<char>(ascii.size()) + ascii;
    };
    const auto number = [](qsizetype value64) {
        return QByteArray(7, '\0') + static_cast<char>(value64);
    };
    QByteArray plist("bplist00");
    QByteArray offsets;
    for (const QByteArray& object : {QByteArray("\xD1\x01\x02"), text(key), text(value)}) {
        offsets += static_cast<char>(plist.size());
        plist += object;
    }
    const qsizetype tableAt = plist.size();
    const QByteArray sizes = QByteArray(6, '\0') + "\x01\x01";
    return plist + offsets + sizes + number(offsets.size()) + number(0) + number(tableAt);
}
