#include "companion/fleet/osqueryrecord.h"

#include "companion/fleet/jsonreader.h"

using namespace Qt::Literals::StringLiterals;

namespace {

/// Reads rows of the table `apps`.
class RowReader
{
public:
    /// Without a filter no row is kept, and none is looked at behind the first application.
    RowReader(JsonReader& reader, const NameFilter* filter) : m_reader(reader), m_filter(filter) {}

    /// Whether a row was one of the table, or there was none at all.
    [[nodiscard]] bool isOfApplications() const { return m_found > 0 || m_rows == 0; }
    [[nodiscard]] bool hasApplications() const { return m_found > 0; }

    void readArray(QList<RecordedApplication>& applications)
    {
        m_reader.enterArray();
        while (m_reader.nextElement()) {
            readRow(applications);
            if (!m_filter && m_found > 0) {
                m_reader.leave();
                return;
            }
        }
    }

    void readRow(QList<RecordedApplication>& applications)
    {
        std::optional<JsonReader::Text> path;
        std::optional<JsonReader::Text> version;
        std::optional<JsonReader::Text> identifier;
        m_reader.enterObject();
        while (m_reader.nextMember()) {
            if (m_reader.key() == "path") {
                path = m_reader.takeString();
            } else if (m_reader.key() == "bundle_short_version") {
                version = m_reader.takeString();
            } else if (m_reader.key() == "bundle_identifier") {
                identifier = m_reader.takeString();
            } else {
                m_reader.skip();
            }
        }
        ++m_rows;
        if (path && version) {
            ++m_found;
            keep(*path, *version, identifier, applications);
        }
    }

private:
    void keep(const JsonReader::Text& path, const JsonReader::Text& version,
              const std::optional<JsonReader::Text>& identifier,
              QList<RecordedApplication>& applications) const
    {
        if (!m_filter) {
            return;
        }
        const QString place = path.decoded();
        if (!listedName(place, *m_filter).isEmpty()) {
            applications.append(
                {place, version.decoded(), identifier ? identifier->decoded() : QString()});
        }
    }

    JsonReader& m_reader;
    const NameFilter* m_filter;
    int m_rows = 0;
    int m_found = 0; ///< of them with an application's fields
};

std::optional<OsqueryLine> readLine(QByteArrayView text, const NameFilter* filter)
{
    JsonReader reader(text);
    RowReader rows(reader, filter);
    OsqueryLine line;
    bool isRemoval = false;
    QList<RecordedApplication> columns;
    reader.enterObject();
    while (reader.nextMember()) {
        const QByteArrayView key = reader.key();
        if (key == "snapshot" && reader.isAtArray()) {
            line.kind = OsqueryLine::Snapshot;
            rows.readArray(line.added);
        } else if (key == "columns" && reader.isAtObject()) {
            line.kind = OsqueryLine::Change;
            rows.readRow(columns);
        } else if (key == "diffResults" && reader.isAtObject()) {
            line.kind = OsqueryLine::Change;
            reader.enterObject();
            while (reader.nextMember()) {
                const bool isArray = reader.isAtArray();
                if (isArray && reader.key() == "added") {
                    rows.readArray(line.added);
                } else if (isArray && reader.key() == "removed") {
                    rows.readArray(line.removed);
                } else {
                    reader.skip();
                }
            }
        } else if (key == "action") {
            isRemoval = reader.takeText() == "removed"_L1;
        } else if (key == "hostIdentifier" || (key == "hostname" && line.machine.isEmpty())) {
            line.machine = reader.takeText();
        } else if (key == "unixTime") {
            line.time = reader.takeNumber();
        } else if (key == "epoch") {
            line.epoch = reader.takeNumber();
        } else if (key == "counter") {
            line.counter = reader.takeNumber();
        } else {
            reader.skip();
        }
    }
    if (!reader.isAtEnd()) {
        return std::nullopt;
    }
    (isRemoval ? line.removed : line.added) += columns;
    if (!rows.hasApplications()) {
        line.kind = OsqueryLine::Other;
    }
    return line;
}

} // namespace

std::optional<OsqueryLine> readOsqueryLine(QByteArrayView line, const NameFilter& filter)
{
    return readLine(line, &filter);
}

std::optional<OsqueryLine> readOsqueryHead(QByteArrayView line)
{
    return readLine(line, nullptr);
}

std::optional<QList<RecordedApplication>> readOsqueryRows(QByteArrayView json,
                                                          const NameFilter& filter)
{
    JsonReader reader(json);
    RowReader rows(reader, &filter);
    QList<RecordedApplication> applications;
    rows.readArray(applications);
    if (!reader.isAtEnd() || !rows.isOfApplications()) {
        return std::nullopt;
    }
    return applications;
}
