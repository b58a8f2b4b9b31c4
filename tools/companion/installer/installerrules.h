#pragma once

#include "companion/installer/installerfacts.h"
#include "companion/report/finding.h"

/// What a catalogue says of an installer.
struct CatalogueClaim
{
    QString name;
    QString version;
    QString fileName;
};

/// The application that an entry named @p name would stand for on a machine that has nothing but
/// what @p item brings, by the client's rule; nothing when there is none, or @p item is not known.
[[nodiscard]] const BundleFacts* matchedBundle(const InstallerItem& item, const QString& name);

/// What of the installer is damaged, so that it cannot be installed. What is not known for other
/// reasons is no finding.
[[nodiscard]] QList<Finding> damageFindings(const InstallerFacts& facts);

/// The same, and where what the installer brings cannot be started or is not what the catalogue
/// says. What is not known is no finding, but for the version of an application that is there.
[[nodiscard]] QList<Finding> installerFindings(const InstallerFacts& facts,
                                               const CatalogueClaim& claim);

/// Whether an entry named @p name stands for applications of two identifiers: of what @p facts
/// tells and of what the installer before, @p former, did.
[[nodiscard]] QList<Finding> identifierFindings(const InstallerFacts& facts,
                                                const InstallerFacts& former, const QString& name);
