#include "companion/fleet/fleetfiles.h"

#include "app/buildinfo.h"

#include <QBuffer>
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

/// What the table that begins with @p head lacks of @p columns; empty when it is one of them.
QString tableProblem(const QByteArray& head, const CsvColumns& columns)
{
    QBuffer table;
    table.setData(head);
    table.open(QIODevice::ReadOnly);
    const QString missing = CsvInventory(table, columns).missingColumn();
    return missing.isEmpty() ? QString() : u"no column '%1'"_s.arg(missing);
}

bool isNoTable(const QByteArray& text)
{
    return text.startsWith('{') || text.startsWith('[') || text.startsWith('<');
}

Recognition recognise(const QString& path, const CsvColumns& columns)
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
    const std::optional<InventoryFormat> format = recognisedFormat(head);
    if (format || !columns.isUsable() || isNoTable(head.trimmed())) {
        return {format, u"no inventory of a known format"_s};
    }
    const QString problem = tableProblem(head, columns);
    return {problem.isEmpty() ? std::optional(InventoryFormat::Csv) : std::nullopt, problem};
}

class Search
{
public:
    Search(std::optional<InventoryFormat> format, const CsvColumns& columns)
        : m_format(format)
        , m_columns(columns)
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
        if (found.error.reason.isEmpty()) {
            found.error = {place, error};
        }
    }

    void addStandardInput()
    {
        // Nothing can be looked at twice there, so it is what it is mostly: the lines of a log.
        found.files.append({u"-"_s,
                            m_format.value_or(m_columns.isUsable() ? InventoryFormat::Csv
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
        const Recognition recognition = recognise(info.filePath(), m_columns);
        const std::optional<InventoryFormat> format = m_format ? m_format : recognition.format;
        if (!format) {
            return recognition.error;
        }
        found.files.append(
            {info.filePath(), *format, info.lastModified().toSecsSinceEpoch(), info.size()});
        return {};
    }

    std::optional<InventoryFormat> m_format;
    const CsvColumns& m_columns;
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
                          const CsvColumns& columns)
{
    Search search(format, columns);
    for (const QString& place : places) {
        search.addPlace(place);
    }
    return search.found;
}
