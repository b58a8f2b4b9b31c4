#pragma once

#include <QStringList>

class QProcess;

/// Starts "/usr/bin/unzip" with @p arguments as @p process, which is not running. Nobody answers
/// what it asks: it has neither a terminal nor an input. When and how it ends, @p process tells.
void startUnzip(QProcess& process, const QStringList& arguments);
