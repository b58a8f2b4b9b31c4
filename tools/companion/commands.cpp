#include "companion/commands.h"

#include "app/buildinfo.h"
#include "companion/archive/archive.h"
#include "companion/catalogue/check.h"
#include "companion/fleet/forecast.h"
#include "companion/line/line.h"
#include "companion/log/explain.h"
#include "companion/manual.h"
#include "companion/preview/preview.h"
#include "companion/report/commandline.h"
#include "companion/report/texttable.h"

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
        {u"forecast"_s, u"tell what a new catalogue will change on recorded machines"_s,
         runForecast},
        {u"archive"_s, u"tell what an installer brings, and what each client opens in an archive"_s,
         runArchive},
        {u"line"_s, u"write a catalogue's line for an installer"_s, runLine},
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
    return text + u"\n'%1 help COMMAND' tells a command's options.\n"_s.arg(companionName());
}

/// What each command says of itself.
QList<CommandHelp> helpTexts(QTextStream& err)
{
    QList<CommandHelp> texts;
    for (const Command& command : commands()) {
        QString text;
        QTextStream out(&text);
        command.run({command.name, u"--help"_s}, out, err);
        out.flush();
        texts.append({command.name, text});
    }
    return texts;
}

} // namespace

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
    if (name == "--manual"_L1) {
        out << manualPage(overview(), helpTexts(err));
        return NothingFound;
    }
    if (name == "--bash-completion"_L1) {
        out << bashCompletion(helpTexts(err));
        return NothingFound;
    }
    if (name == "--zsh-completion"_L1) {
        out << zshCompletion(helpTexts(err));
        return NothingFound;
    }
    if (name == "help"_L1) {
        return arguments.size() < 2 ? runCommand({u"--help"_s}, out, err)
                                    : runCommand({arguments[1], u"--help"_s}, out, err);
    }
    for (const Command& command : commands()) {
        if (command.name == name) {
            return command.run(arguments, out, err);
        }
    }
    err << companionName() << ": "
        << (name.isEmpty() ? u"a command is missing"_s : u"unknown command "_s + quoted(name))
        << " (try --help)\n";
    return Unusable;
}
