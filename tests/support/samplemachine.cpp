#include "support/samplemachine.h"

#include "app/debug.h"

#include <QDir>
#include <QFile>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray infoPlist(const QString& version)
{
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN"
    "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
    <key>CFBundlePackageType</key>
    <string>APPL</string>
    <key>CFBundleShortVersionString</key>
    <string>)" +
           version.toHtmlEscaped().toUtf8() + R"(</string>
    <key>NSHighResolutionCapable</key>
    <true/>
</dict>
</plist>
)";
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
        m_home.write("Bundles/"_L1 + name + ".app/Contents/Info.plist"_L1, infoPlist(version));
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

QString SampleMachine::location(const QString& name) const
{
    return m_home.path() + "/Bundles/"_L1 + name + ".app"_L1;
}

void SampleMachine::holdScans() const
{
    const QByteArray home = m_home.path().toUtf8();
    QFile::remove(m_home.path() + "/gate"_L1);
    m_standIns.add(u"find"_s, "echo >>'" + home + "/begun'\nwhile [ ! -e '" + home +
                                  "/gate' ]; do sleep 0.01; done\nexec cat '" + home +
                                  "/installed'\n");
}

void SampleMachine::releaseScans() const
{
    m_home.write(u"gate"_s, {});
}

qsizetype SampleMachine::heldScans() const
{
    return PrivateHome::read(m_home.path() + "/begun"_L1).count('\n');
}

QStringList SampleMachine::takeLog()
{
    const QStringList lines = m_home.logLines().mid(m_linesTaken);
    m_linesTaken += lines.size();
    return lines;
}

void SampleMachine::listInstalled() const
{
    QByteArray paths;
    for (const QString& name : m_installed) {
        paths += location(name).toUtf8() + '\n';
    }
    const QString list = m_home.write(u"installed"_s, paths);
    m_standIns.add(u"find"_s, "exec cat '" + list.toUtf8() + "'\n");
}
