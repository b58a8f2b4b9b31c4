#include "companion/fleet/inventoryfile.h"

#include "companion/fleet/jsonreader.h"
#include "companion/fleet/osqueryrecord.h"
#include "companion/fleet/plistvalue.h"

#include <QDateTime>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Applications of one machine, those that a filter admits.
class Collector
{
public:
    explicit Collector(const NameFilter& filter) : m_filter(filter) {}

    void add(const RecordedApplication& application)
    {
        if (!listedName(application.path, m_filter).isEmpty()) {
            m_recorded.append(application);
        }
    }

    [[nodiscard]] FiledInventory inventory(Grade grade) const
    {
        return {{}, std::nullopt, grade, installedOf(m_recorded)};
    }

private:
    const NameFilter& m_filter;
    QList<RecordedApplication> m_recorded;
};

FiledInventories oneInventory(const FiledInventory& inventory)
{
    return {{inventory}, true, {}};
}

// `system_profiler -json SPApplicationsDataType`: { "SPApplicationsDataType": [ {"_name", "path",
// "version"}... ] }

FiledInventories readSystemProfilerJson(const QByteArray& bytes, const NameFilter& filter)
{
    JsonReader reader(bytes);
    Collector collector(filter);
    reader.enterObject();
    while (reader.nextMember()) {
        if (reader.key() != "SPApplicationsDataType") {
            reader.skip();
            continue;
        }
        reader.enterArray();
        while (reader.nextElement()) {
            RecordedApplication application;
            reader.enterObject();
            while (reader.nextMember()) {
                if (reader.key() == "path") {
                    application.path = reader.takeText();
                } else if (reader.key() == "version") {
                    application.version = reader.takeText();
                } else {
                    reader.skip();
                }
            }
            collector.add(application);
        }
    }
    return reader.isAtEnd() ? oneInventory(collector.inventory(Grade::AsReported))
                            : FiledInventories();
}

// Fleet: { "software": [ {"source": "apps", "installed_versions": [ {"version",
// "bundle_identifier", "installed_paths": [...]}... ]}... ] }

QList<RecordedApplication> readFleetVersion(JsonReader& reader)
{
    QString version;
    QString identifier;
    QStringList paths;
    reader.enterObject();
    while (reader.nextMember()) {
        if (reader.key() == "version") {
            version = reader.takeText();
        } else if (reader.key() == "bundle_identifier") {
            identifier = reader.takeText();
        } else if (reader.key() == "installed_paths" && reader.isAtArray()) {
            reader.enterArray();
            while (reader.nextElement()) {
                paths.append(reader.takeText());
            }
        } else {
            reader.skip();
        }
    }
    QList<RecordedApplication> applications;
    for (const QString& path : std::as_const(paths)) {
        applications.append({path, version, identifier});
    }
    return applications;
}

void readFleetSoftware(JsonReader& reader, Collector& collector)
{
    QString source;
    QList<RecordedApplication> applications;
    reader.enterObject();
    while (reader.nextMember()) {
        if (reader.key() == "source") {
            source = reader.takeText();
        } else if (reader.key() == "installed_versions" && reader.isAtArray()) {
            reader.enterArray();
            while (reader.nextElement()) {
                applications += readFleetVersion(reader);
            }
        } else {
            reader.skip();
        }
    }
    if (source == "apps"_L1) {
        for (const RecordedApplication& application : std::as_const(applications)) {
            collector.add(application);
        }
    }
}

/// Lets @p read take each element of the list named @p key in the object that comes next.
void forEachListed(JsonReader& reader, QByteArrayView key, const std::function<void()>& read)
{
    reader.enterObject();
    while (reader.nextMember()) {
        if (reader.key() != key || !reader.isAtArray()) {
            reader.skip();
            continue;
        }
        reader.enterArray();
        while (reader.nextElement()) {
            read();
        }
    }
}

FiledInventories readFleet(const QByteArray& bytes, const NameFilter& filter)
{
    JsonReader reader(bytes);
    Collector collector(filter);
    forEachListed(reader, "software", [&] { readFleetSoftware(reader, collector); });
    return reader.isAtEnd() ? oneInventory(collector.inventory(Grade::AsReported))
                            : FiledInventories();
}

// Jamf Pro: { "results": [ {"general": {"name", "reportDate"}, "applications": [ {"path",
// "version", "cfBundleShortVersionString", "bundleId"}... ]}... ] }

std::optional<qint64> secondsOf(const QString& time)
{
    const QDateTime read = QDateTime::fromString(time, Qt::ISODate);
    return read.isValid() ? std::optional(read.toSecsSinceEpoch()) : std::nullopt;
}

/// Returns the grade of the application's version.
Grade readJamfApplication(JsonReader& reader, Collector& collector)
{
    RecordedApplication application;
    std::optional<QString> shortVersion;
    reader.enterObject();
    while (reader.nextMember()) {
        if (reader.key() == "path") {
            application.path = reader.takeText();
        } else if (reader.key() == "version") {
            application.version = reader.takeText();
        } else if (reader.key() == "cfBundleShortVersionString" && reader.isAtString()) {
            shortVersion = reader.takeText();
        } else if (reader.key() == "bundleId") {
            application.identifier = reader.takeText();
        } else {
            reader.skip();
        }
    }
    application.version = shortVersion.value_or(application.version);
    collector.add(application);
    return shortVersion ? Grade::Exact : Grade::AsReported;
}

FiledInventory readJamfComputer(JsonReader& reader, const NameFilter& filter)
{
    Collector collector(filter);
    QString name;
    std::optional<qint64> time;
    Grade grade = Grade::Exact;
    reader.enterObject();
    while (reader.nextMember()) {
        if (reader.key() == "general" && reader.isAtObject()) {
            reader.enterObject();
            while (reader.nextMember()) {
                if (reader.key() == "name") {
                    name = reader.takeText();
                } else if (reader.key() == "reportDate") {
                    time = secondsOf(reader.takeText());
                } else {
                    reader.skip();
                }
            }
        } else if (reader.key() == "applications" && reader.isAtArray()) {
            reader.enterArray();
            while (reader.nextElement()) {
                grade = std::max(grade, readJamfApplication(reader, collector));
            }
        } else {
            reader.skip();
        }
    }
    FiledInventory inventory = collector.inventory(grade);
    inventory.machine = name;
    inventory.time = time;
    return inventory;
}

FiledInventories readJamf(const QByteArray& bytes, const NameFilter& filter)
{
    JsonReader reader(bytes);
    FiledInventories found;
    forEachListed(reader, "results", [&] {
        const FiledInventory inventory = readJamfComputer(reader, filter);
        if (reader.hasFailed()) {
            found.damagedMachine = inventory.machine;
        } else {
            found.inventories.append(inventory);
        }
    });
    found.isWhole = reader.isAtEnd();
    return found;
}

/// The dictionaries in @p list, which other values are left out of.
QList<QVariantMap> dictionaries(const QVariant& list)
{
    QList<QVariantMap> found;
    for (const QVariant& value : list.toList()) {
        if (value.typeId() == QMetaType::QVariantMap) {
            found.append(value.toMap());
        }
    }
    return found;
}

// `system_profiler -xml SPApplicationsDataType`: an array of one dictionary with "_items".

FiledInventory readSystemProfilerXml(const QVariant& list, const NameFilter& filter)
{
    Collector collector(filter);
    for (const QVariantMap& report : dictionaries(list)) {
        for (const QVariantMap& item : dictionaries(report[u"_items"_s])) {
            collector.add({item[u"path"_s].toString(), item[u"version"_s].toString(), {}});
        }
    }
    return collector.inventory(Grade::AsReported);
}

// Munki's ApplicationInventory.plist: an array of dictionaries.

FiledInventory readMunki(const QVariant& list, const NameFilter& filter)
{
    Collector collector(filter);
    for (const QVariantMap& item : dictionaries(list)) {
        collector.add({item[u"path"_s].toString(), item[u"version"_s].toString(),
                       item[u"bundleid"_s].toString()});
    }
    return collector.inventory(Grade::AsReported);
}

// Apple's answer to InstalledApplicationList, which has no paths.

FiledInventory readInstalledApplicationList(const QVariant& list, const NameFilter& filter)
{
    Collector collector(filter);
    for (const QVariantMap& item : dictionaries(list.toMap()[u"InstalledApplicationList"_s])) {
        collector.add({assumedPath(item[u"Name"_s].toString()), item[u"ShortVersion"_s].toString(),
                       item[u"Identifier"_s].toString()});
    }
    return collector.inventory(Grade::Assumed);
}

using PropertyListReader = FiledInventory (*)(const QVariant&, const NameFilter&);

FiledInventories readXml(const QByteArray& bytes, const NameFilter& filter, PropertyListReader read)
{
    const std::optional<QVariant> list = readPlistValue(bytes);
    return list ? oneInventory(read(*list, filter)) : FiledInventories();
}

FiledInventories readOsquery(const QByteArray& bytes, const NameFilter& filter)
{
    const auto applications = readOsqueryRows(bytes, filter);
    return applications ? oneInventory({{}, std::nullopt, Grade::Exact, installedOf(*applications)})
                        : FiledInventories();
}

FiledInventories readLog(const QByteArray& bytes, const NameFilter& filter)
{
    const std::optional<Inventory> inventory = loggedInventory(bytes);
    return inventory && inventory->isWhole
               ? oneInventory({{}, std::nullopt, Grade::Exact, installedOf(*inventory, filter)})
               : FiledInventories();
}

} // namespace

bool isOfOneMachine(InventoryFormat format)
{
    return format != InventoryFormat::OsqueryLines && format != InventoryFormat::Csv &&
           format != InventoryFormat::IntuneCsv && format != InventoryFormat::Jamf;
}

FiledInventories readInventories(InventoryFormat format, const QByteArray& bytes,
                                 const NameFilter& filter)
{
    switch (format) {
    case InventoryFormat::OsqueryRows:
        return readOsquery(bytes, filter);
    case InventoryFormat::ClientLog:
        return readLog(bytes, filter);
    case InventoryFormat::SystemProfilerJson:
        return readSystemProfilerJson(bytes, filter);
    case InventoryFormat::SystemProfilerXml:
        return readXml(bytes, filter, readSystemProfilerXml);
    case InventoryFormat::Munki:
        return readXml(bytes, filter, readMunki);
    case InventoryFormat::Jamf:
        return readJamf(bytes, filter);
    case InventoryFormat::Fleet:
        return readFleet(bytes, filter);
    case InventoryFormat::InstalledApplicationList:
        return readXml(bytes, filter, readInstalledApplicationList);
    case InventoryFormat::OsqueryLines:
    case InventoryFormat::Csv:
    case InventoryFormat::IntuneCsv:
        break;
    }
    return {};
}
