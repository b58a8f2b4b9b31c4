#include "companion/command.h"

#include "app/buildinfo.h"
#include "companion/archive/archive.h"
#include "companion/catalogue/check.h"
#include "companion/log/explain.h"
#include "companion/preview/preview.h"

#include <QCommandLineParser>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

struct Command
{
    QString name;
    QString summary;
    int (*run)(const QStringList& arguments, QTextStream& out, QTextStream& err);
};

QList<Command> commands()
{
    return {
        {u"check"_s, u"find what is wrong with a catalogue, its installers and archives"_s,
         runCheck},
        {u"preview"_s, u"print the table that a user's window would show"_s, runPreview},
        {u"archive"_s, u"tell which item of an archive each processor's client would open"_s,
         runArchive},
        {u"explain"_s, u"name the troubles that a user's log shows"_s, runExplain},
    };
}

QString overview()
{
    QString text = u"Usage: %1 COMMAND [options] ARGUMENTS...\n\n"
                   "The publisher's companion of %2: its word on a catalogue is what every window "
                   "will show.\n\nCommands:\n"_s.arg(companionName(), BuildInfo::productName());
    for (const Command& command : commands()) {
        text += "  "_L1 + command.name.leftJustified(10) + command.summary + u'\n';
    }
    return text + u"\n'%1 COMMAND --help' tells a command's options.\n"_s.arg(companionName());
}

/// The parser's help, which would begin with the path that the companion was started by.
QString helpText(const QCommandLineParser& parser, const QString& command)
{
    const QString text = parser.helpText();
    const qsizetype syntax = text.indexOf(" [options]"_L1);
    return u"Usage: "_s + companionName() + u' ' + command + u' ' + text.sliced(syntax).trimmed() +
           u'\n';
}

QString countProblem(const QStringList& given, qsizetype most)
{
    return given.size() > most ? u"unexpected argument '%1'"_s.arg(given[most])
                               : u"an argument is missing"_s;
}

} // namespace

QString companionName()
{
    return BuildInfo::productName().toLower() + "-catalogue"_L1;
}

int runCommand(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    const QString name = arguments.value(0);
    if (name == "--help"_L1 || name == "-h"_L1) {
        out << overview();
        return NothingFound;
    }
    if (name == "--version"_L1 || name == "-v"_L1) {
        out << companionName() << ' ' << BuildInfo::productVersion() << '\n';
        return NothingFound;
    }
    for (const Command& command : commands()) {
        if (command.name == name) {
            return command.run(arguments, out, err);
        }
    }
    err << companionName() << ": "
        << (name.isEmpty() ? u"a command is missing"_s : u"unknown command '%1'"_s.arg(name))
        << " (try --help)\n";
    return Unusable;
}

std::optional<int> readArguments(QCommandLineParser& parser, const QStringList& arguments,
                                 qsizetype least, qsizetype most, QTextStream& out,
                                 QTextStream& err)
{
    const QString command = arguments.value(0);
    const QCommandLineOption help({u"h"_s, u"help"_s}, u"Explain the command and end."_s);
    parser.addOption(help);
    if (!parser.parse(arguments)) {
        QString reason = parser.errorText();
        reason.front() = reason.front().toLower();
        while (reason.endsWith(u'.')) {
            reason.chop(1);
        }
        return failCommand(command, reason + " (try --help)"_L1, err);
    }
    if (parser.isSet(help)) {
        out << helpText(parser, command);
        return NothingFound;
    }
    const QStringList given = parser.positionalArguments();
    if (given.size() < least || given.size() > most) {
        return failCommand(command, countProblem(given, most) + " (try --help)"_L1, err);
    }
    return std::nullopt;
}

int failCommand(const QString& name, const QString& reason, QTextStream& err)
{
    err << companionName() << ' ' << name << ": " << reason << '\n';
    return Unusable;
}
