#pragma once

#include <QByteArray>
#include <QList>
#include <QStringList>

/// The external commands. A target that links this has System::execute() from here: no process is
/// started, and every command prints what the target says.
namespace Commands {

/// What each command prints to standard output from now on.
void print(const QByteArray& output);
/// The commands run since the last call, each with its arguments.
[[nodiscard]] QList<QStringList> takeCalls();

} // namespace Commands
