// The report of `system_profiler`. A second reading of it, over the list of its lines, must yield
// the same applications, and the queries on a scan of it must agree with it. So: an application
// has every property of its own block and, where its block lacks a key, the last earlier value of
// that key; no block reaches beyond an empty line; the line under a name is never read.

#include "fuzzing.h"
#include "scan.h"

using namespace Qt::Literals::StringLiterals;

namespace {

/// A line with a colon at its end, by place.
bool isNameLine(const QStringList& lines, qsizetype at)
{
    return lines[at].endsWith(u':');
}

PropertyMap applicationsIn(const QStringList& lines)
{
    PropertyMap applications;
    QHash<QString, QString> latest; // of every key so far
    qsizetype at = 1;
    while (at < lines.size()) {
        if (!isNameLine(lines, at)) {
            ++at;
            continue;
        }
        const QString name = lines[at].chopped(1);
        at += 2;
        while (at < lines.size() && !lines[at].isEmpty()) {
            const QStringList parts = lines[at].split(u": "_s);
            if (parts.size() > 1) {
                latest[parts.constFirst()] = parts.mid(1).join(": "_L1);
            }
            ++at;
        }
        ++at;
        if (!latest.isEmpty()) {
            applications[name] = latest;
        }
    }
    return applications;
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const auto prefixSize = input.ConsumeIntegralInRange<qsizetype>(0, 3);
    const QByteArray output = rest(input);

    QStringList lines = linesOf(output);
    for (QString& line : lines) {
        line = line.trimmed();
    }
    const PropertyMap expected = applicationsIn(lines);
    requireEqual("the applications are those of the report", parseSystemProfilerReport(output),
                 expected);

    const QString someName = expected.isEmpty() ? QString() : expected.cbegin().key();
    requireScanResult(SysProfiler::SYSTEM_PROFILER, output, someName.left(prefixSize), expected);
    return 0;
}
