#include "companion/fleet/inventoryformat.h"

#include "companion/fleet/csvinventory.h"
#include "companion/fleet/jsonreader.h"
#include "companion/log/clientlog.h"

#include <QBuffer>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The keys of the object that @p reader comes to, as far as its text goes.
QStringList keysAhead(JsonReader& reader)
{
    QStringList keys;
    reader.enterObject();
    while (reader.nextMember()) {
        keys.append(QString::fromUtf8(reader.key()));
        reader.skip();
    }
    return keys;
}

std::optional<InventoryFormat> formatOfObject(QByteArrayView head)
{
    JsonReader reader(head);
    const QStringList keys = keysAhead(reader);
    const auto hasAny = [&keys](const QStringList& names) {
        return std::any_of(names.cbegin(), names.cend(),
                           [&keys](const QString& name) { return keys.contains(name); });
    };
    if (hasAny({u"snapshot"_s, u"columns"_s, u"diffResults"_s, u"hostIdentifier"_s})) {
        return InventoryFormat::OsqueryLines;
    }
    if (hasAny({u"SPApplicationsDataType"_s})) {
        return InventoryFormat::SystemProfilerJson;
    }
    if (hasAny({u"results"_s})) {
        return InventoryFormat::Jamf;
    }
    return hasAny({u"software"_s}) ? std::optional(InventoryFormat::Fleet) : std::nullopt;
}

std::optional<InventoryFormat> formatOfArray(QByteArrayView head)
{
    JsonReader reader(head);
    reader.enterArray();
    if (!reader.nextElement() || !reader.isAtObject()) {
        return std::nullopt;
    }
    return keysAhead(reader).contains("bundle_short_version"_L1)
               ? std::optional(InventoryFormat::OsqueryRows)
               : std::nullopt;
}

std::optional<InventoryFormat> formatOfPropertyList(QByteArrayView head)
{
    if (head.contains("<key>InstalledApplicationList</key>")) {
        return InventoryFormat::InstalledApplicationList;
    }
    if (head.contains("SPApplicationsDataType")) {
        return InventoryFormat::SystemProfilerXml;
    }
    return head.contains("<key>bundleid</key>") ? std::optional(InventoryFormat::Munki)
                                                : std::nullopt;
}

/// Whether the header is that of Intune's report.
bool isIntune(QByteArrayView head)
{
    QBuffer table;
    table.setData(head.toByteArray());
    return table.open(QIODevice::ReadOnly) &&
           CsvInventory(table, intuneColumns()).missingColumn().isEmpty();
}

bool isClientLog(QByteArrayView head)
{
    return !readClientLog(head.toByteArray()).isEmpty();
}

} // namespace

QStringList formatNames()
{
    return {u"osquery-lines"_s,
            u"osquery-rows"_s,
            u"quillmere-log"_s,
            u"csv"_s,
            u"system-profiler-json"_s,
            u"system-profiler-xml"_s,
            u"munki"_s,
            u"jamf"_s,
            u"fleet"_s,
            u"intune"_s,
            u"installed-application-list"_s};
}

std::optional<InventoryFormat> formatNamed(const QString& name)
{
    const qsizetype place = formatNames().indexOf(name);
    return place < 0 ? std::nullopt : std::optional(static_cast<InventoryFormat>(place));
}

std::optional<InventoryFormat> recognisedFormat(QByteArrayView head)
{
    const QByteArrayView text = head.trimmed();
    if (text.startsWith('{')) {
        return formatOfObject(text);
    }
    if (text.startsWith('[')) {
        return formatOfArray(text);
    }
    if (text.startsWith('<')) {
        return formatOfPropertyList(text);
    }
    if (isIntune(text)) {
        return InventoryFormat::IntuneCsv;
    }
    return isClientLog(text) ? std::optional(InventoryFormat::ClientLog) : std::nullopt;
}
