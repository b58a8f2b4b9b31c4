#include "support/privatehome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

PrivateHome::PrivateHome()
    : m_formerHome(qgetenv("HOME"))
    , m_formerRuntimeFolder(qgetenv("XDG_RUNTIME_DIR"))
{
    qputenv("HOME", m_folder.path().toLocal8Bit());
    // Else Qt would take one below the folder for temporary files and complain where another user
    // has made it.
    qputenv("XDG_RUNTIME_DIR", m_runtimeFolder.path().toLocal8Bit());
    // Else a "user-dirs.dirs" of the real user would say where downloads go.
    qunsetenv("XDG_CONFIG_HOME");
}

PrivateHome::~PrivateHome()
{
    qputenv("HOME", m_formerHome);
    m_formerRuntimeFolder.isNull() ? qunsetenv("XDG_RUNTIME_DIR")
                                   : qputenv("XDG_RUNTIME_DIR", m_formerRuntimeFolder);
}

QString PrivateHome::userFolder() const
{
    return path() + "/Library/Quillmere/"_L1;
}

QString PrivateHome::configPath() const
{
    return userFolder() + "config.xml"_L1;
}

QString PrivateHome::logPath() const
{
    return userFolder() + "quillmere.log"_L1;
}

QString PrivateHome::write(const QString& relativePath, const QByteArray& content) const
{
    const QString fullPath = path() + u'/' + relativePath;
    QDir().mkpath(QFileInfo(fullPath).path());
    QFile file(fullPath);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qUtf8Printable(fullPath));
    }
    return fullPath;
}

QByteArray PrivateHome::read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList PrivateHome::logLines() const
{
    QStringList lines = QString::fromUtf8(read(logPath())).split(u'\n', Qt::SkipEmptyParts);
    lines = lines.mid(1);
    for (QString& line : lines) {
        line = line.section(u' ', 1);
    }
    return lines;
}
