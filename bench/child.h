#pragma once

#include <QByteArray>
#include <QStringList>

/// What @p program writes to standard output until it ends; ends this program when it fails.
QByteArray outputOf(const QString& program, const QStringList& arguments);

/// The same of this very program, where something must be measured in a process of its own.
QByteArray outputOfChild(const QStringList& arguments);

/// The folder of the benchmarks' scripts, as outputOf() takes their paths.
[[nodiscard]] QString scriptPath(const QString& name);

/// A line of /proc/self/status, in bytes; 0 where there is none.
[[nodiscard]] double processBytes(const QByteArray& field);
