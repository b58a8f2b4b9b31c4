#include "companion/log/clientlog.h"

#include "app/debug.h"

#include <QIODevice>
#include <QRegularExpression>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Whether @p line is the one that a log begins with: "=== Quillmere 26.3.0 — ... ===".
bool isHeader(const QString& line)
{
    return line.startsWith("=== "_L1) && line.endsWith(" ==="_L1);
}

} // namespace

QList<LogEntry> readClientLog(const QByteArray& log)
{
    static const QRegularExpression pattern(
        uR"(^(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d) \[(%1)\] (.*)$)"_s.arg(Debug::LEVEL.join(u'|')),
        QRegularExpression::DotMatchesEverythingOption);
    QList<LogEntry> entries;
    QTextStream lines(log, QIODevice::ReadOnly);
    QString line;
    bool isContinued = false;
    for (qsizetype number = 1; lines.readLineInto(&line); ++number) {
        if (const auto match = pattern.match(line); match.hasMatch()) {
            entries.append({number, match.captured(1), match.captured(2), match.captured(3)});
            isContinued = true;
        } else if (isHeader(line)) {
            isContinued = false;
        } else if (isContinued) {
            entries.last().text += u'\n' + line;
        }
    }
    return entries;
}
