#pragma once

#include <QString>

/// What each command's `--help` says, by its name in the order of the overview.
struct CommandHelp
{
    QString name;
    QString text;
};

/// The manual's page for `man`, made of the @p overview that `--help` writes and of each command's
/// help.
[[nodiscard]] QString manualPage(const QString& overview, const QList<CommandHelp>& commands);

/// What makes bash complete the companion's commands, options and file names.
[[nodiscard]] QString bashCompletion(const QList<CommandHelp>& commands);
/// The same for zsh.
[[nodiscard]] QString zshCompletion(const QList<CommandHelp>& commands);
