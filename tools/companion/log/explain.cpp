#include "companion/log/explain.h"

#include "companion/command.h"
#include "companion/log/anonymizer.h"
#include "companion/log/clientlog.h"
#include "companion/log/troubles.h"
#include "companion/report/source.h"
#include "companion/report/texttable.h"

#include <QCommandLineParser>
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

} // namespace

int runExplain(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    const QCommandLineOption anonymous(
        u"anonymous"_s, u"Replace home folders and user names in what is printed."_s);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Names in plain words the troubles that a user's quillmere.log shows, the newest first,\n"
        "with what they usually come from and what to do."_s);
    parser.addPositionalArgument(u"LOG"_s, u"The user's quillmere.log."_s);
    parser.addOption(anonymous);
    if (const auto status = readArguments(parser, arguments, 1, 1, out, err)) {
        return *status;
    }
    const QString place = parser.positionalArguments().constFirst();
    const Source log = readSource(place);
    if (!log.error.isEmpty()) {
        return failCommand(u"explain"_s, place + ": "_L1 + log.error, err);
    }
    if (readClientLog(log.bytes).isEmpty()) {
        return failCommand(u"explain"_s, place + ": no log of the client"_L1, err);
    }

    const Anonymizer anonymizer(log.bytes);
    const bool isAnonymous = parser.isSet(anonymous);
    const Wording worded = [&anonymizer, isAnonymous](const QString& text) {
        return printable(isAnonymous ? anonymizer.anonymous(text) : text);
    };
    const QList<Trouble> troubles = logTroubles(log.bytes);
    for (const Trouble& trouble : troubles) {
        writeTrouble(trouble, worded, out);
    }
    if (troubles.isEmpty()) {
        out << "The log shows no trouble.\n";
    }
    return NothingFound;
}
