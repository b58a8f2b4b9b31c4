#pragma once

/// The columns of the table of applications, from the left.
enum TableColumn
{
    NameColumn,         ///< the application's name in the catalogue
    LocalVersionColumn, ///< the installed version
    CatalogueColumn,    ///< the catalogue's version, under a CatalogueCell
    TableColumns        ///< how many there are
};
