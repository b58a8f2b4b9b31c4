#pragma once

#include "support/privatehome.h"
#include "support/standin.h"

#include <QList>
#include <QStringList>

/// A machine with a clean HOME and an empty log, on which exactly those applications are installed
/// that the test says: real bundles below HOME, listed by a stand-in `find`. Its commands print
/// what the test says and record how they were called.
class SampleMachine
{
public:
    SampleMachine();

    /// Installs @p name behind the applications there are; one that is there gets the version. A
    /// null @p version leaves the bundle without an Info.plist.
    void install(const QString& name, const QString& version);
    void uninstall(const QString& name);
    /// Makes the bundle @p name with @p infoPlist, which `find` does not list for that; its path.
    QString putBundle(const QString& name, const QByteArray& infoPlist) const;
    /// The path that the bundle @p name has or would have.
    [[nodiscard]] QString location(const QString& name) const;

    /// @p command records its arguments, waits while it is held, prints @p output and ends. The
    /// output lies in "COMMAND.out" below HOME.
    void answer(const QString& command, const QByteArray& output) const;
    /// `find` lists @p paths, one a line.
    void list(const QStringList& paths) const;
    /// `find` is the real one, with the folder @p applications below HOME for "/Applications".
    void findIn(const QString& applications) const;
    /// No command at all can be started from now on.
    void withdrawCommands() const;
    /// Each call's arguments, in the order of the calls.
    [[nodiscard]] QList<QStringList> calls(const QString& command) const;

    /// Scans begun from now on end only after releaseScans().
    void holdScans();
    void releaseScans() const;
    /// How many scans have begun since holdScans().
    [[nodiscard]] qsizetype heldScans() const;

    /// The log's lines since the last call, each without its time.
    QStringList takeLog();
    /// Those of them that hold @p part.
    QStringList takeLog(const QString& part);
    [[nodiscard]] const PrivateHome& home() const { return m_home; }
    [[nodiscard]] const StandIns& standIns() const { return m_standIns; }

private:
    void listInstalled() const;

    PrivateHome m_home;
    StandIns m_standIns;
    QStringList m_installed; ///< in the order in which `find` prints them
    qsizetype m_linesTaken = 0;
    qsizetype m_scansBeforeHold = 0;
};

/// Keeps the calls of one command from ending, until release() or the end of its own life.
class HeldCommand
{
public:
    HeldCommand(const SampleMachine& machine, const QString& command);
    ~HeldCommand();
    Q_DISABLE_COPY_MOVE(HeldCommand)

    void release() const;

private:
    QString m_marker;
};
