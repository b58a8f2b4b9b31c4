#pragma once

#include <QCommandLineParser>
#include <QFlags>
#include <QStringList>

#include <optional>

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

/// One command's line: its arguments, the options of its own, and those that several commands have,
/// which mean the same in each and are read here alone. Every command has `--help`.
///
/// Arguments and options are added first, then read() is called; the questions are for after it.
class CommandLine
{
public:
    /// Options that several commands have.
    enum SharedOption
    {
        Separator = 1, ///< --separator S
        Published = 2, ///< --published OLD
        Strict = 4,    ///< --strict
        Json = 8,      ///< --json
        Short = 16     ///< --short
    };
    Q_DECLARE_FLAGS(SharedOptions, SharedOption)

    /// The command @p name, which @p description explains.
    CommandLine(const QString& name, const QString& description);

    /// An argument that must be there once, or once and more. A command has no more than one.
    void addArgument(const QString& name, const QString& description, bool isRepeated = false);
    void addShared(SharedOptions options);
    /// An option that is on or off.
    void addSwitch(const QString& name, const QString& description);
    /// A switch that, as `--help`, needs no argument beside it.
    void addEnd(const QString& name, const QString& description);
    /// An option with a value, called @p value in the help, that is not empty.
    void addValue(const QString& name, const QString& description, const QString& value);
    /// The same, where the value names a file or a folder.
    void addPlace(const QString& name, const QString& description, const QString& value);
    /// An option with a number that is not negative, called @p value in the help.
    void addNumber(const QString& name, const QString& description, const QString& value);

    /// Reads @p arguments, the command's name first. Where they ask for help or are wrong, that is
    /// answered on @p out or, in one line, on @p err, and the command ends with the ExitStatus
    /// returned.
    [[nodiscard]] std::optional<int> read(const QStringList& arguments, QTextStream& out,
                                          QTextStream& err);
    /// Says on @p err in one line why the command cannot do its work; returns Unusable.
    int fail(const QString& reason, QTextStream& err) const;

    [[nodiscard]] QStringList arguments() const { return m_parser.positionalArguments(); }
    [[nodiscard]] bool isSet(const QString& option) const { return m_parser.isSet(option); }
    /// The value of an option; empty, as it cannot be where the option is given, where it is not.
    [[nodiscard]] QString value(const QString& option) const { return m_parser.value(option); }
    /// The values of an option that may be given several times.
    [[nodiscard]] QStringList values(const QString& option) const
    {
        return m_parser.values(option);
    }
    /// The number of an option of addNumber(); 0 where it is not given.
    [[nodiscard]] qsizetype number(const QString& option) const;

    /// What stands between a catalogue's fields; never empty.
    [[nodiscard]] QString separator() const;
    /// The catalogue that users have now; empty when none is to be compared with.
    [[nodiscard]] QString published() const;
    [[nodiscard]] bool isStrict() const;
    [[nodiscard]] bool isShort() const;
    [[nodiscard]] bool isJson() const;

private:
    void add(const QCommandLineOption& option) { m_parser.addOption(option); }
    [[nodiscard]] QString helpText() const;
    /// What is wrong with the number of arguments or with an option's value; empty when nothing is.
    [[nodiscard]] QString problem() const;
    [[nodiscard]] bool isEndAsked() const;

    QString m_name;
    QCommandLineParser m_parser;
    QStringList m_ends;    ///< the options of addEnd()
    QStringList m_valued;  ///< the options whose value must not be empty
    QStringList m_numbers; ///< the options of addNumber()
    bool m_isRepeated = false;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(CommandLine::SharedOptions)
