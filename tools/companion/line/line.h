#pragma once

#include <QStringList>
class QTextStream;

/// Writes catalogue lines for installers: the command `line`.
int runLine(const QStringList& arguments, QTextStream& out, QTextStream& err);
