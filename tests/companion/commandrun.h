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

    [[nodiscard]] bool operator==(const CommandRun&) const = default;
};

/// So that a comparison that fails tells all of both.
[[nodiscard]] inline char* toString(const CommandRun& run)
{
    return qstrdup(qPrintable(
        QStringLiteral("ends with %1\nout: %2\nerr: %3").arg(run.status).arg(run.out, run.err)));
}

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

/// What a command does that refuses its work for @p reason.
[[nodiscard]] inline CommandRun refusal(const QString& command, const QString& reason)
{
    return {2, {}, QStringLiteral("quillmere-catalogue %1: %2\n").arg(command, reason)};
}

/// The options that a command's help explains, in its order: "-h, --help".
[[nodiscard]] inline QStringList optionsIn(const QString& help)
{
    QStringList options;
    for (const QString& line : help.split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1StringView("  -"))) {
            options.append(line.section(QStringLiteral("  "), 1, 1));
        }
    }
    return options;
}
