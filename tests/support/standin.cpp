#include "support/standin.h"

#include "support/privatehome.h"

#include <QFile>

using namespace Qt::Literals::StringLiterals;

namespace {

void write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qUtf8Printable(path));
    }
}

const char plutilScript[] = R"(exec python3 - "$@" <<'END'
import plistlib, sys
extract, key, raw, path = sys.argv[1:]
assert (extract, raw) == ("-extract", "raw"), sys.argv
with open(path, "rb") as file:
    value = plistlib.load(file).get(key)
if value is None:
    print(path + ": Could not extract value, error: No value at that key path or invalid key path: " + key)
    sys.exit(1)
print(len(value) if isinstance(value, (list, dict)) else value)
END
)";

} // namespace

StandIns::StandIns() : m_formerPath(qgetenv("PATH"))
{
    qputenv("PATH", m_folder.path().toLocal8Bit() + ':' + m_formerPath);
}

StandIns::~StandIns()
{
    qputenv("PATH", m_formerPath);
}

void StandIns::add(const QString& command, const QByteArray& body) const
{
    const QString path = m_folder.filePath(command);
    write(path, "#!/bin/sh\n" + body);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void StandIns::addPrinting(const QString& command, const QByteArray& output) const
{
    const QString outputPath = m_folder.filePath(command + ".out"_L1);
    write(outputPath, output);
    add(command, "exec cat '" + outputPath.toLocal8Bit() + "'\n");
}

void StandIns::addPlutil() const
{
    add(u"plutil"_s, plutilScript);
}

void StandIns::addRecording(const QString& command, const QByteArray& output) const
{
    const QByteArray base = m_folder.filePath(command).toLocal8Bit();
    write(m_folder.filePath(command + ".out"_L1), output);
    add(command, "{ for a in \"$@\"; do printf '%s\\n' \"$a\"; done; echo; } >>'" + base +
                     ".calls'\nexec cat '" + base + ".out'\n");
}

QByteArray StandIns::calls(const QString& command) const
{
    return PrivateHome::read(m_folder.filePath(command + ".calls"_L1));
}
