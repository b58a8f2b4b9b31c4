#include "companion/manual.h"

#include "app/buildinfo.h"
#include "companion/report/commandline.h"

#include <QRegularExpression>
#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace {

/// @p text for troff: its lines as they stand.
QString asItStands(const QString& text)
{
    QString shown = text.trimmed();
    shown.replace(u'\\', "\\e"_L1).replace(u'-', "\\-"_L1);
    static const QRegularExpression control(u"^(?=[.'])"_s, QRegularExpression::MultilineOption);
    shown.replace(control, u"\\&"_s); // else a line's first dot begins a request
    return ".nf\n"_L1 + shown + "\n.fi\n"_L1;
}

/// The options that @p help explains, each with what stands before it in the help: "--json".
QStringList optionsIn(const QString& help)
{
    static const QRegularExpression option(u"^  (?:-\\w, )?(--[a-z-]+)"_s,
                                           QRegularExpression::MultilineOption);
    QStringList options;
    for (const QRegularExpressionMatch& match : option.globalMatch(help)) {
        options.append(match.captured(1));
    }
    return options;
}

QStringList namesOf(const QList<CommandHelp>& commands)
{
    QStringList names;
    for (const CommandHelp& command : commands) {
        names.append(command.name);
    }
    return names;
}

} // namespace

QString manualPage(const QString& overview, const QList<CommandHelp>& commands)
{
    QString page = u".TH %1 1 \"\" \"%2 %3\"\n.SH NAME\n%4 \\- check a catalogue and its "
                   "installers by the client's own rules\n.SH SYNOPSIS\n"_s.arg(
                       companionName().toUpper(), companionName(), BuildInfo::productVersion(),
                       companionName());
    page += asItStands(overview);
    for (const CommandHelp& command : commands) {
        page += ".SH "_L1 + command.name.toUpper() + u'\n' + asItStands(command.text);
    }
    return page + u".SH EXIT STATUS\n0 when nothing was found, 1 when something was, 2 when the "
                  "command line was wrong,\nor something could not be read or written.\n"_s;
}

QString bashCompletion(const QList<CommandHelp>& commands)
{
    const QString function = u'_' + companionName().replace(u'-', u'_');
    QString text = function + u"() {\n    local word=${COMP_WORDS[COMP_CWORD]} words=\n"
                              "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n        words='%1 help'\n"
                              "    else\n        case ${COMP_WORDS[1]} in\n"_s.arg(
                                  namesOf(commands).join(u' '));
    for (const CommandHelp& command : commands) {
        text +=
            u"        %1) words='%2' ;;\n"_s.arg(command.name, optionsIn(command.text).join(u' '));
    }
    text +=
        u"        help) words='%1' ;;\n        esac\n    fi\n"
        "    case $word in\n    -*) ;;\n    *) [ \"$COMP_CWORD\" -eq 1 ] || [ \"${COMP_WORDS[1]}\" "
        "= help ] || words= ;;\n    esac\n"
        "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n}\n"
        "complete -o default -F %2 %3\n"_s.arg(namesOf(commands).join(u' '), function,
                                               companionName());
    return text;
}

QString zshCompletion(const QList<CommandHelp>& commands)
{
    QString text = u"#compdef %1\nif (( CURRENT == 2 )); then\n    compadd -- %2 help\n    return\n"
                   "fi\ncase $words[2] in\n"_s.arg(companionName(), namesOf(commands).join(u' '));
    for (const CommandHelp& command : commands) {
        text += u"%1) [[ $PREFIX == -* ]] && compadd -- %2 || _files ;;\n"_s.arg(
            command.name, optionsIn(command.text).join(u' '));
    }
    return text + u"help) compadd -- %1 ;;\nesac\n"_s.arg(namesOf(commands).join(u' '));
}
