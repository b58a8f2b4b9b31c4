#pragma once

#include "companion/fleet/csvinventory.h"
#include "companion/fleet/inventoryformat.h"

#include <QStringList>

class QFile;

/// A file of recorded inventories.
struct FleetFile
{
    QString path; ///< "-" for standard input
    InventoryFormat format = InventoryFormat::OsqueryLines;
    qint64 time = 0; ///< of its last change, in seconds since 1970
    qint64 size = 0; ///< 0 for standard input

    [[nodiscard]] bool isStandardInput() const;
    /// The machine that a file of one machine is about: the file's name without its ending, or its
    /// folder's where the program that writes the file always gives it the same name.
    [[nodiscard]] QString machine() const;
    /// Opens it; false when that fails.
    [[nodiscard]] bool open(QFile& file) const;
};

/// A file that cannot be read, or is no inventory.
struct RefusedFile
{
    QString path;
    QString reason; ///< empty when all is well
};

/// The files that a forecast reads.
struct FleetFiles
{
    QList<FleetFile> files;
    QList<RefusedFile> refused; ///< that lay in a folder
    RefusedFile error;          ///< why nothing can be read
};

/// Looks for inventories at @p places: files, folders with all that is below them but hidden ones,
/// or "-". What is named itself must be one; what lies in a folder may not. @p format overrules
/// what the files' content tells; a file with all of @p columns, if they are usable, is a table.
[[nodiscard]] FleetFiles findFleetFiles(const QStringList& places,
                                        std::optional<InventoryFormat> format,
                                        const CsvColumns& columns);
