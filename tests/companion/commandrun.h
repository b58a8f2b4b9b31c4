#pragma once

#include <QString>
#include <QStringList>
#include <QTextStream>

/// What a command's function did.
struct CommandRun
{
    int status = -1;
    QString out;
    QString err;
};

/// Runs @p command with @p arguments, the command's name first.
[[nodiscard]] inline CommandRun run(int (*command)(const QStringList&, QTextStream&, QTextStream&),
                                    const QStringList& arguments)
{
    CommandRun run;
    QTextStream out(&run.out);
    QTextStream err(&run.err);
    run.status = command(arguments, out, err);
    return run;
}
