#pragma once

#include <QStringList>

#include <functional>
#include <optional>

class QByteArray;

/// The applications that are installed on one machine, as far as that is known.
struct Inventory
{
    QStringList names; ///< ascending
    /// An application's version, empty where its bundle tells none; nothing when it is not known.
    std::function<std::optional<QString>(const QString& name)> version;
    bool isWhole = true; ///< false when a log ends within its scan's list
};

/// The applications of no machine.
[[nodiscard]] Inventory noInventory();

/// The applications of this machine, by the client's own scan. Versions are read when they are
/// asked for.
[[nodiscard]] Inventory scannedInventory();

/// The applications that the client's log @p log lists as those of its last scan, with the versions
/// that the client has read since; nothing when the log shows no scan.
[[nodiscard]] std::optional<Inventory> loggedInventory(const QByteArray& log);
