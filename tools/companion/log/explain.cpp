#include "companion/log/explain.h"

#include "companion/log/anonymizer.h"
#include "companion/log/clientlog.h"
#include "companion/log/troubles.h"
#include "companion/report/commandline.h"
#include "companion/report/source.h"
#include "companion/report/texttable.h"

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
    const QString anonymous = u"anonymous"_s;
    CommandLine line(
        u"explain"_s,
        u"Names in plain words the troubles that a user's quillmere.log shows, the newest first,\n"
        "with what they usually come from and what to do."_s);
    line.addArgument(u"LOG"_s, u"The user's quillmere.log."_s);
    line.addSwitch(anonymous, u"Replace home folders and user names in what is printed."_s);
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
    for (const Trouble& trouble : troubles) {
        writeTrouble(trouble, worded, out);
    }
    if (troubles.isEmpty()) {
        out << "The log shows no trouble.\n";
    }
    return NothingFound;
}
