#pragma once

#include <QStringList>

#include <optional>

class QCommandLineParser;
class QTextStream;

/// How a command ends, as the shell sees it.
enum ExitStatus
{
    NothingFound = 0,
    SomethingFound = 1,
    Unusable = 2 ///< wrong usage, or nothing that could be read
};

/// The companion's name, for example "quillmere-catalogue".
[[nodiscard]] QString companionName();

/// Runs the command that @p arguments name first, with the rest as its arguments; returns its
/// ExitStatus. What the command found goes to @p out, progress and what went wrong to @p err.
int runCommand(const QStringList& arguments, QTextStream& out, QTextStream& err);

/// Reads a command's @p arguments, its name first. Where they ask for help or are wrong, that is
/// answered on @p out or, in one line, on @p err, and the command ends with the ExitStatus
/// returned. Of the arguments that are no options there must be @p least or more, and no more than
/// @p most.
[[nodiscard]] std::optional<int> readArguments(QCommandLineParser& parser,
                                               const QStringList& arguments, qsizetype least,
                                               qsizetype most, QTextStream& out, QTextStream& err);

/// Says on @p err in one line why the command @p name cannot do its work; returns Unusable.
int failCommand(const QString& name, const QString& reason, QTextStream& err);
