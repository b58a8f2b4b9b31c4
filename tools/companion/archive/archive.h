#pragma once

#include <QStringList>

class QTextStream;

/// `archive FILE.zip...`: tells which item of each archive the client would open, and what would
/// keep it from that. @p arguments begin with "archive"; returns an ExitStatus.
int runArchive(const QStringList& arguments, QTextStream& out, QTextStream& err);
