#pragma once

#include "companion/installer/installerfacts.h"

/// What a catalogue's line says of an installer.
struct ProposedLine
{
    QString name;
    QString version;
    QString date; ///< as YYYY-MM-DD; empty when it is not known
    QString fileName;
    QString dateSource; ///< where the date comes from, or why there is none
};

/// The line for the file named @p fileName, which brings what @p facts tells; not known where that
/// is not one application with one version.
[[nodiscard]] Known<ProposedLine> proposedLine(const InstallerFacts& facts,
                                               const QString& fileName);
