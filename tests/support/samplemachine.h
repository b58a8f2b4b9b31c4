#pragma once

#include "support/privatehome.h"
#include "support/standin.h"

#include <QStringList>

/// A machine with a clean HOME and an empty log, on which exactly those applications are installed
/// that the test says: real bundles below HOME, listed by a stand-in `find`.
class SampleMachine
{
public:
    SampleMachine();

    /// Installs @p name behind the applications there are; one that is there gets the version. A
    /// null @p version leaves the bundle without an Info.plist.
    void install(const QString& name, const QString& version);
    void uninstall(const QString& name);
    /// The bundle's path.
    [[nodiscard]] QString location(const QString& name) const;

    /// Scans begun from now on end only after releaseScans().
    void holdScans() const;
    void releaseScans() const;
    /// How many scans have begun since holdScans().
    [[nodiscard]] qsizetype heldScans() const;

    /// The log's lines since the last call, each without its time.
    QStringList takeLog();
    [[nodiscard]] const PrivateHome& home() const { return m_home; }
    [[nodiscard]] const StandIns& standIns() const { return m_standIns; }

private:
    void listInstalled() const;

    PrivateHome m_home;
    StandIns m_standIns;
    QStringList m_installed; ///< in the order in which `find` prints them
    qsizetype m_linesTaken = 0;
};
