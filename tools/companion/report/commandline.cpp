#include "companion/report/commandline.h"

#include "app/buildinfo.h"
#include "companion/report/source.h"
#include "companion/report/texttable.h"

#include <QTextStream>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString separatorName = u"separator"_s;
const QString publishedName = u"published"_s;
const QString strictName = u"strict"_s;
const QString jsonName = u"json"_s;
const QString shortName = u"short"_s;
const QString helpName = u"help"_s;

} // namespace

QString companionName()
{
    return BuildInfo::productName().toLower() + "-catalogue"_L1;
}

CommandLine::CommandLine(const QString& name, const QString& description) : m_name(name)
{
    m_parser.setApplicationDescription(description);
    add({{u"h"_s, helpName}, u"Explain the command and end."_s});
}

void CommandLine::addArgument(const QString& name, const QString& description, bool isRepeated)
{
    m_parser.addPositionalArgument(name, description);
    m_isRepeated = isRepeated;
}

void CommandLine::addShared(SharedOptions options)
{
    if (options.testFlag(Separator)) {
        add({separatorName,
             u"Fields stand between <S>, a comma by default; \"\\t\" is a tabulator."_s, u"S"_s,
             u","_s});
        m_valued.append(separatorName);
    }
    if (options.testFlag(Published)) {
        addPlace(publishedName, u"Compare with <OLD>, the catalogue that users have now."_s,
                 u"OLD"_s);
    }
    if (options.testFlag(Strict)) {
        addSwitch(strictName, u"Let warnings count: end with 1 for them too."_s);
    }
    if (options.testFlag(Short)) {
        addSwitch(shortName, u"Write no effects and remedies."_s);
    }
    if (options.testFlag(Json)) {
        addSwitch(jsonName, u"Write JSON."_s);
    }
}

void CommandLine::addSwitch(const QString& name, const QString& description)
{
    add({name, description});
}

void CommandLine::addEnd(const QString& name, const QString& description)
{
    addSwitch(name, description);
    m_ends.append(name);
}

void CommandLine::addValue(const QString& name, const QString& description, const QString& value)
{
    add({name, description, value});
    m_valued.append(name);
}

void CommandLine::addPlace(const QString& name, const QString& description, const QString& value)
{
    addValue(name, description, value);
}

void CommandLine::addNumber(const QString& name, const QString& description, const QString& value)
{
    addValue(name, description, value);
    m_numbers.append(name);
}

std::optional<int> CommandLine::read(const QStringList& arguments, QTextStream& out,
                                     QTextStream& err)
{
    const QString hint = u" (try --help)"_s;
    if (!m_parser.parse(arguments)) {
        QString reason = m_parser.errorText();
        reason.front() = reason.front().toLower();
        while (reason.endsWith(u'.')) {
            reason.chop(1);
        }
        return fail(reason + hint, err);
    }
    if (isSet(helpName)) {
        out << helpText();
        return NothingFound;
    }
    if (const QString wrong = problem(); !wrong.isEmpty()) {
        return fail(wrong + hint, err);
    }
    return std::nullopt;
}

int CommandLine::fail(const QString& reason, QTextStream& err) const
{
    err << companionName() << ' ' << m_name << ": " << printable(reason) << '\n';
    return Unusable;
}

QString CommandLine::problem() const
{
    const QStringList given = arguments();
    if (given.isEmpty() && !isEndAsked()) {
        return u"an argument is missing"_s;
    }
    if (given.contains(QString())) {
        return u"an argument is empty"_s;
    }
    if (given.size() > 1 && !m_isRepeated) {
        return u"unexpected argument '%1'"_s.arg(given[1]);
    }
    QStringList places = given;
    for (const QString& option : m_valued) {
        places.append(isSet(option) ? value(option) : QString());
    }
    if (std::count_if(places.cbegin(), places.cend(), isStandardInput) > 1) {
        return u"standard input can be read once only"_s;
    }
    for (const QString& option : m_valued) {
        if (values(option).contains(QString())) {
            return u"--%1 is empty"_s.arg(option);
        }
    }
    for (const QString& option : m_numbers) {
        bool isNumber = true;
        if (isSet(option)) {
            value(option).toUInt(&isNumber);
        }
        if (!isNumber) {
            return u"--%1 wants a number, not %2"_s.arg(option, quoted(value(option)));
        }
    }
    return {};
}

bool CommandLine::isEndAsked() const
{
    return std::any_of(m_ends.cbegin(), m_ends.cend(),
                       [this](const QString& option) { return isSet(option); });
}

/// The parser's help, which would begin with the path that the companion was started by.
QString CommandLine::helpText() const
{
    const QString text = m_parser.helpText();
    const qsizetype syntax = text.indexOf(" [options]"_L1);
    return u"Usage: "_s + companionName() + u' ' + m_name + u' ' + text.sliced(syntax).trimmed() +
           u'\n';
}

qsizetype CommandLine::number(const QString& option) const
{
    return qsizetype(value(option).toUInt());
}

QString CommandLine::separator() const
{
    const QString separator = value(separatorName);
    return separator == "\\t"_L1 ? u"\t"_s : separator;
}

QString CommandLine::published() const
{
    return value(publishedName);
}

bool CommandLine::isStrict() const
{
    return isSet(strictName);
}

bool CommandLine::isShort() const
{
    return isSet(shortName);
}

bool CommandLine::isJson() const
{
    return isSet(jsonName);
}
