#pragma once

#include <QStringList>

class QTextStream;

/// Runs the command that @p arguments name first, with the rest as its arguments; returns its
/// ExitStatus. What the command found goes to @p out, progress and what went wrong to @p err.
int runCommand(const QStringList& arguments, QTextStream& out, QTextStream& err);
