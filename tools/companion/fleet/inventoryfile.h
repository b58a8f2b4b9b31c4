#pragma once

#include "companion/fleet/installed.h"
#include "companion/fleet/inventoryformat.h"

/// A machine's inventory as a file has it.
struct FiledInventory
{
    QString machine;            ///< empty where the file does not tell: it is about one machine
    std::optional<qint64> time; ///< in seconds since 1970, where the file tells
    Grade grade = Grade::Exact;
    InstalledApplications installed;
};

/// What a file that is read as a whole holds.
struct FiledInventories
{
    QList<FiledInventory> inventories;
    bool isWhole = false; ///< false when the file is damaged; the inventories are those before that
    QString damagedMachine; ///< that the damage lies in, where the file tells
};

/// Whether a file of @p format holds one machine and does not tell which.
[[nodiscard]] bool isOfOneMachine(InventoryFormat format);

/// Reads the inventories in @p bytes, a whole file of a @p format that is neither lines nor a
/// table. Applications that @p filter does not admit are left out.
[[nodiscard]] FiledInventories readInventories(InventoryFormat format, const QByteArray& bytes,
                                               const NameFilter& filter);
