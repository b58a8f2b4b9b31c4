#pragma once

#include <QStringList>

class QTextStream;

/// `explain LOG`: names the troubles that a user's log shows. @p arguments begin with "explain";
/// returns an ExitStatus.
int runExplain(const QStringList& arguments, QTextStream& out, QTextStream& err);
