// The client's log, as the publisher's companion reads it. Its events lie in its lines, in their
// order; each trouble is of a line that is there, has its words, and was seen at least once; what
// is told anonymously stays as it is when that is asked for again.

#include "fuzzing.h"

#include "companion/log/anonymizer.h"
#include "companion/log/clientlog.h"
#include "companion/log/troubles.h"

using namespace Qt::Literals::StringLiterals;

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const QByteArray log = rest(input);
    const qsizetype lines = log.count('\n') + 1;

    const QList<LogEntry> entries = readClientLog(log);
    qsizetype last = 0;
    for (const LogEntry& entry : entries) {
        require("events come in the order of their lines", entry.line >= last);
        require("an event has its line", entry.line >= 1 && entry.line <= lines);
        last = entry.line;
    }
    const Anonymizer anonymizer(log);
    for (const Trouble& trouble : logTroubles(entries)) {
        require("a trouble has its line", trouble.line >= 1 && trouble.line <= lines);
        require("a trouble was seen", trouble.count >= 1);
        require("a trouble has its words", !trouble.kind.isEmpty() && !trouble.problem.isEmpty() &&
                                               !trouble.cause.isEmpty() &&
                                               !trouble.remedy.isEmpty());
        const QString told = anonymizer.anonymous(trouble.problem);
        requireEqual("what is anonymous stays so", anonymizer.anonymous(told), told);
    }
    return 0;
}
