#include "companion/log/explain.h"

#include "companion/log/anonymizer.h"
#include "companion/log/clientlog.h"
#include "companion/log/troubles.h"
#include "companion/report/commandline.h"
#include "companion/report/source.h"
#include "companion/report/texttable.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

using Wording = std::function<QString(const QString&)>;

void writeTrouble(const Trouble& trouble, const Wording& worded, QTextStream& out)
{
    out << QString(trouble.time).replace(u'T', u' ') << ' ' << severityName(trouble.severity)
        << ": " << worded(trouble.problem) << " [" << trouble.kind << "]\n";
    if (trouble.count > 1) {
        out << "    Seen " << trouble.count << " times, last in line " << trouble.line << ".\n";
    } else {
        out << "    Seen in line " << trouble.line << ".\n";
    }
    out << "    Why: " << worded(trouble.cause) << '\n'
        << "    What to do: " << worded(trouble.remedy) << '\n';
}

QJsonObject toJson(const Trouble& trouble, const Wording& worded)
{
    return {{u"time"_s, trouble.time},           {u"severity"_s, severityName(trouble.severity)},
            {u"trouble"_s, trouble.kind},        {u"problem"_s, worded(trouble.problem)},
            {u"cause"_s, worded(trouble.cause)}, {u"remedy"_s, worded(trouble.remedy)},
            {u"line"_s, trouble.line},           {u"count"_s, trouble.count}};
}

void writeAsJson(const QList<Trouble>& troubles, const Wording& worded, QTextStream& out)
{
    QJsonArray array;
    for (const Trouble& trouble : troubles) {
        array.append(toJson(trouble, worded));
    }
    const QJsonObject summary{{u"troubles"_s, troubles.size()}};
    out << printableJson(
        QJsonDocument(
            QJsonObject{{u"version"_s, 1}, {u"troubles"_s, array}, {u"summary"_s, summary}})
            .toJson());
}

} // namespace

int runExplain(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    const QString anonymous = u"anonymous"_s;
    CommandLine line(
        u"explain"_s,
        u"Names in plain words the troubles that a user's quillmere.log shows, the newest first,\n"
        "with what they usually come from and what to do."_s);
    line.addArgument(u"LOG"_s, u"The user's quillmere.log."_s);
    line.addSwitch(anonymous, u"Replace home folders and user names in what is printed."_s);
    line.addShared(CommandLine::Json);
    if (const auto status = line.read(arguments, out, err)) {
        return *status;
    }
    const QString place = line.arguments().constFirst();
    const Source log = readSource(place);
    if (!log.error.isEmpty()) {
        return line.fail(log.error, err);
    }
    const QList<LogEntry> entries = readClientLog(log.bytes);
    if (entries.isEmpty()) {
        return line.fail(place + ": no log of the client"_L1, err);
    }

    const Anonymizer anonymizer(log.bytes);
    const bool isAnonymous = line.isSet(anonymous);
    const Wording worded = [&anonymizer, isAnonymous](const QString& text) {
        return printable(isAnonymous ? anonymizer.anonymous(text) : text);
    };
    const QList<Trouble> troubles = logTroubles(entries);
    if (line.isJson()) {
        writeAsJson(troubles, worded, out);
        return NothingFound;
    }
    for (const Trouble& trouble : troubles) {
        writeTrouble(trouble, worded, out);
    }
    if (troubles.isEmpty()) {
        out << "The log shows no trouble.\n";
    }
    return NothingFound;
}
