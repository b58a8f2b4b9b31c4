#pragma once

#include "companion/report/finding.h"

#include <QByteArray>
#include <QStringList>

/// One entry that the client offers to its user.
struct CatalogueEntry
{
    qsizetype line = 0; ///< from 1
    QString name;
    QString version;
    QString fileName;
};

/// A catalogue as the client reads it.
struct CatalogueText
{
    QList<CatalogueEntry> entries; ///< in file order; a name listed twice stays twice
    QStringList hiddenNames;       ///< those of lines whose "Ignored" is 1
    QStringList hiddenFiles;       ///< their files
};

/// Reads a catalogue as the client does, and reports the lines that it drops.
[[nodiscard]] CatalogueText readCatalogue(const QByteArray& bytes, const QString& separator,
                                          Report& report);
