#include "sampledata.h"

#include "console.h"
#include "support/cataloguetext.h"
#include "support/propertylist.h"

#include <QDir>
#include <QFile>

using namespace Qt::Literals::StringLiterals;

namespace {

QString offeredVersion(int entry)
{
    return u"2.%1.0"_s.arg(entry % 7);
}

QString installedVersion(int entry)
{
    switch (entry % 3) {
    case 0:
        return u"1.9"_s;
    case 1:
        return offeredVersion(entry);
    default:
        return u"10.0.1"_s;
    }
}

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        fail("cannot write "_L1 + path);
    }
}

QByteArray infoPlist(const QString& name, const QString& version)
{
    const QString text = uR"(    <key>CFBundleDevelopmentRegion</key>
    <string>en</string>
    <key>CFBundleExecutable</key>
    <string>%1</string>
    <key>CFBundleIdentifier</key>
    <string>org.example.%1</string>
    <key>CFBundleName</key>
    <string>%1</string>
    <key>CFBundlePackageType</key>
    <string>APPL</string>
    <key>CFBundleShortVersionString</key>
    <string>%2</string>
    <key>CFBundleSupportedPlatforms</key>
    <array>
        <string>MacOSX</string>
    </array>
    <key>CFBundleVersion</key>
    <string>1284</string>
    <key>LSMinimumSystemVersion</key>
    <string>12.0</string>
    <key>NSHighResolutionCapable</key>
    <true/>)"_s;
    return xmlPlist(text.arg(name, version).toUtf8());
}

} // namespace

QString entryName(int index)
{
    return u"Application %1"_s.arg(index, 6, 10, QLatin1Char('0'));
}

QByteArray sampleCatalogue(int entries)
{
    QByteArray catalogue = catalogueTitles.chopped(1) + ",Vendor,Remark\n";
    for (int i = 0; i < entries; ++i) {
        catalogue +=
            (u"%1,%2,2026-09-%3,installer-%4.pkg,0,\"Example Works %5\",\"for everybody\"\n"_s)
                .arg(entryName(i), offeredVersion(i))
                .arg(i % 30 + 1, 2, 10, QLatin1Char('0'))
                .arg(i)
                .arg(i % 50)
                .toUtf8();
    }
    return catalogue;
}

BenchMachine::BenchMachine(int applications, int entries) : m_formerPath(qgetenv("PATH"))
{
    for (int i = 0; i < applications; ++i) {
        const int entry = 2 * i;
        install(entry < entries ? entryName(entry) : u"Other %1"_s.arg(i, 6, 10, QLatin1Char('0')),
                installedVersion(entry));
    }
    QDir(m_folder.path()).mkdir(u"bin"_s);
    const QString find = m_folder.filePath(u"bin/find"_s);
    write(find, "#!/bin/sh\nshift\nexec /usr/bin/find '" + folder().toUtf8() + "' \"$@\"\n");
    QFile::setPermissions(find, QFile::ReadOwner | QFile::ExeOwner);
    qputenv("PATH", m_folder.filePath(u"bin"_s).toLocal8Bit() + ':' + m_formerPath);
}

BenchMachine::~BenchMachine()
{
    qputenv("PATH", m_formerPath);
}

QString BenchMachine::folder() const
{
    return m_folder.filePath(u"Applications"_s);
}

QStringList BenchMachine::plists() const
{
    QStringList paths;
    for (const QString& name : m_names) {
        paths.append(folder() + u'/' + name + ".app/Contents/Info.plist"_L1);
    }
    return paths;
}

void BenchMachine::install(const QString& name, const QString& version)
{
    const QString contents = folder() + u'/' + name + ".app/Contents"_L1;
    QDir().mkpath(contents);
    write(contents + "/Info.plist"_L1, infoPlist(name, version));
    m_names.append(name);
}
