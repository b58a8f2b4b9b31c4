#include "support/archives.h"

#include "support/privatehome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

using namespace Qt::Literals::StringLiterals;

namespace {

void run(const QString& program, const QStringList& arguments, const QString& folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    if (!process.waitForFinished(60'000) || process.exitCode() != 0) {
        qFatal("%s fails: %s", qUtf8Printable(program), process.readAllStandardError().constData());
    }
}

} // namespace

QByteArray zipped(const QStringList& paths, const QStringList& options)
{
    const QTemporaryDir folder;
    for (const QString& path : paths) {
        const QString full = folder.path() + "/in/"_L1 + path;
        QDir().mkpath(path.endsWith(u'/') ? full : QFileInfo(full).path());
        if (!path.endsWith(u'/')) {
            QFile file(full);
            if (!file.open(QIODevice::WriteOnly) || file.write("of " + path.toUtf8()) < 0) {
                qFatal("cannot write %s", qUtf8Printable(full));
            }
        }
    }
    run(u"zip"_s, options + QStringList{u"-q"_s, u"-r"_s, u"../out.zip"_s, u"."_s},
        folder.path() + "/in"_L1);
    return PrivateHome::read(folder.path() + "/out.zip"_L1);
}

QByteArray zippedBy(const QByteArray& script)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"make.py"_s));
    if (!file.open(QIODevice::WriteOnly)) {
        qFatal("cannot write the script");
    }
    file.write("import stat, zipfile\n"
               "def link(archive, name, target):\n"
               "    entry = zipfile.ZipInfo(name)\n"
               "    entry.create_system = 3\n"
               "    entry.external_attr = (stat.S_IFLNK | 0o777) << 16\n"
               "    archive.writestr(entry, target)\n"
               "with zipfile.ZipFile('out.zip', 'w') as archive:\n");
    for (const QByteArray& line : script.split('\n')) {
        file.write("    " + line + '\n');
    }
    file.close();
    run(u"python3"_s, {u"make.py"_s}, folder.path());
    return PrivateHome::read(folder.filePath(u"out.zip"_s));
}
