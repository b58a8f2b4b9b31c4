#include "companion/fleet/fleetfiles.h"

#include "app/buildinfo.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Enough to see what a file is.
constexpr qint64 headSize = 65'536;

/// What is read in a file, or why nothing is.
struct Recognition
{
    std::optional<InventoryFormat> format;
    QString error;
};

Recognition recognise(const QString& path, bool areColumnsTold)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {std::nullopt, file.errorString()};
    }
    const QByteArray head = file.read(headSize);
    if (head.startsWith("bplist")) {
        return {std::nullopt,
                u"a binary property list; write it as XML by `plutil -convert xml1`"_s};
    }
    return {recognisedFormat(head, areColumnsTold), u"no inventory of a known format"_s};
}

class Search
{
public:
    Search(std::optional<InventoryFormat> format, bool areColumnsTold)
        : m_format(format)
        , m_areColumnsTold(areColumnsTold)
    {}

    void addPlace(const QString& place)
    {
        const QFileInfo info(place);
        if (place == "-"_L1) {
            addStandardInput();
        } else if (info.isDir()) {
            addFolder(place);
        } else if (const QString error = addFile(info); !error.isEmpty()) {
            setError(place, error);
        }
    }

    FleetFiles found;

private:
    void setError(const QString& place, const QString& error)
    {
        if (found.error.isEmpty()) {
            found.error = place + ": "_L1 + error;
        }
    }

    void addStandardInput()
    {
        // Nothing can be looked at twice there, so it is what it is mostly: the lines of a log.
        found.files.append({u"-"_s,
                            m_format.value_or(m_areColumnsTold ? InventoryFormat::Csv
                                                               : InventoryFormat::OsqueryLines),
                            0, 0});
    }

    void addFolder(const QString& folder)
    {
        const QFileInfoList entries =
            QDir(folder).entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
        for (const QFileInfo& entry : entries) {
            if (entry.isDir() && !entry.isSymLink()) {
                addFolder(entry.filePath());
            } else if (entry.isFile()) {
                if (const QString error = addFile(entry); !error.isEmpty()) {
                    found.refused.append({entry.filePath(), error});
                }
            }
        }
    }

    QString addFile(const QFileInfo& info)
    {
        const Recognition recognition = recognise(info.filePath(), m_areColumnsTold);
        const std::optional<InventoryFormat> format = m_format ? m_format : recognition.format;
        if (!format) {
            return recognition.error;
        }
        found.files.append(
            {info.filePath(), *format, info.lastModified().toSecsSinceEpoch(), info.size()});
        return {};
    }

    std::optional<InventoryFormat> m_format;
    bool m_areColumnsTold;
};

} // namespace

bool FleetFile::isStandardInput() const
{
    return path == "-"_L1;
}

QString FleetFile::machine() const
{
    const QFileInfo info(path);
    const QStringList fixedNames = {BuildInfo::productName().toLower() + ".log"_L1,
                                    u"ApplicationInventory.plist"_s};
    return fixedNames.contains(info.fileName()) ? info.absoluteDir().dirName()
                                                : info.completeBaseName();
}

bool FleetFile::open(QFile& file) const
{
    if (isStandardInput()) {
        return file.open(stdin, QIODevice::ReadOnly);
    }
    file.setFileName(path);
    return file.open(QIODevice::ReadOnly);
}

FleetFiles findFleetFiles(const QStringList& places, std::optional<InventoryFormat> format,
                          bool areColumnsTold)
{
    Search search(format, areColumnsTold);
    for (const QString& place : places) {
        search.addPlace(place);
    }
    return search.found;
}
