#pragma once

#include <QStringList>

#include <optional>

/// The ways in which machines' applications are recorded.
enum class InventoryFormat
{
    OsqueryLines,             ///< osquery's results log: one machine a line, or its changes
    OsqueryRows,              ///< `osqueryi --json`
    ClientLog,                ///< the client's own log
    Csv,                      ///< any table whose columns are told
    SystemProfilerJson,       ///< `system_profiler -json SPApplicationsDataType`
    SystemProfilerXml,        ///< `system_profiler -xml SPApplicationsDataType`
    Munki,                    ///< ApplicationInventory.plist
    Jamf,                     ///< pages of Jamf Pro's computers-inventory
    Fleet,                    ///< the software of one of Fleet's hosts
    IntuneCsv,                ///< Intune's AppInvRawData
    InstalledApplicationList, ///< a Mac's answer to Apple's management command of this name
};

/// The names by which formats are asked for, in the order of InventoryFormat.
[[nodiscard]] QStringList formatNames();
[[nodiscard]] std::optional<InventoryFormat> formatNamed(const QString& name);

/// The format of a file that begins with @p head, as its content tells; nothing when it is none of
/// these. A table is never recognised, except Intune's.
[[nodiscard]] std::optional<InventoryFormat> recognisedFormat(QByteArrayView head);
