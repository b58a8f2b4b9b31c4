#pragma once

#include "support/privatehome.h"
#include "support/standin.h"

#include <QList>
#include <QStringList>

/// A machine with a clean HOME and an empty log, whose commands print what the test says and
/// record how they were called.
class ScanMachine
{
public:
    ScanMachine();

    /// @p command records its arguments, waits while it is held, prints @p output and ends.
    void answer(const QString& command, const QByteArray& output) const;
    /// `find` lists @p paths, one a line.
    void list(const QStringList& paths) const;
    /// `find` is the real one, with the folder @p applications below HOME for "/Applications".
    void findIn(const QString& applications) const;
    /// No command at all can be started from now on.
    void withdrawCommands() const;

    /// Each call's arguments, in the order of the calls.
    [[nodiscard]] QList<QStringList> calls(const QString& command) const;

    /// The path of the bundle @p name, which holds @p infoPlist.
    QString install(const QString& name, const QByteArray& infoPlist) const;
    /// The path that the bundle @p name has or would have.
    [[nodiscard]] QString location(const QString& name) const;

    /// The log's lines since the last call, each without its time.
    QStringList takeLog();
    /// Those of them that hold @p part.
    QStringList takeLog(const QString& part);
    [[nodiscard]] const PrivateHome& home() const { return m_home; }
    [[nodiscard]] const StandIns& standIns() const { return m_standIns; }

private:
    PrivateHome m_home;
    StandIns m_standIns;
    qsizetype m_linesTaken = 0;
};

/// Keeps the calls of one command from ending, until release() or the end of its own life.
class HeldCommand
{
public:
    HeldCommand(const ScanMachine& machine, const QString& command);
    ~HeldCommand();
    Q_DISABLE_COPY_MOVE(HeldCommand)

    void release() const;

private:
    QString m_marker;
};

/// An XML property list of a dictionary with the elements @p content.
[[nodiscard]] QByteArray xmlPlist(const QByteArray& content);
/// An XML property list with the value of "CFBundleShortVersionString".
[[nodiscard]] QByteArray versionPlist(const QByteArray& version);
/// A binary property list of a dictionary with one text value; both texts are short and ASCII.
[[nodiscard]] QByteArray binaryPlist(const QByteArray& key, const QByteArray& value);
