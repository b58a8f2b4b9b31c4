#pragma once

#include <QStringList>

class QTextStream;

/// `preview CATALOGUE`: prints the table that a user's window would show. @p arguments begin with
/// "preview"; returns an ExitStatus.
int runPreview(const QStringList& arguments, QTextStream& out, QTextStream& err);
