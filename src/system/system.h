#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

/// The platform: its processor, its commands. Static, without state, callable from any thread.
class System
{
public:
    /// "arm64" or "x86_64"; whatever is not the former counts as the latter.
    [[nodiscard]] static QString cpuArchitecture();

    /// Runs a program, element 0 of @p command, with the other elements as its arguments; no shell.
    /// Returns what it wrote to standard output and to standard error. Blocks for 30 s at most and
    /// then ends the program. A program that cannot be started yields two empty texts; how one
    /// ended is not told. @p command must not be empty.
    static QList<QByteArray> execute(const QList<QString>& command);

    /// The elements, each followed by @p separator, less the last two characters, and a line feed.
    [[nodiscard]] static QString qVectorToString(const QList<QString>& list, QString separator);
    /// "(key = value) " for each entry, in key order.
    [[nodiscard]] static QString qMapToString(const QMap<QString, QString>& map);
};
