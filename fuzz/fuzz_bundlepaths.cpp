// The path lists of `find` and `mdfind`. A second reading of the rules, by positions in the decoded
// text, must yield the same applications, and the queries on a scan of it must agree with it. So:
// no bundle inside another one is listed, no name is empty or holds "/", each location is a whole
// line that ends in its name but for ".app", and of several locations of one name the last one
// under "/Applications/" is kept, else the first.

#include "fuzzing.h"
#include "scan.h"

using namespace Qt::Literals::StringLiterals;

namespace {

QString nameIn(const QString& line)
{
    QString name;
    for (qsizetype at = 0; at < line.size();) {
        if (line[at] == u'/') {
            name.clear();
            ++at;
        } else if (line.mid(at, 4) == ".app"_L1) {
            at += 4;
        } else {
            name += line[at++];
        }
    }
    return name;
}

QHash<QString, QStringList> locationsByName(const QByteArray& output)
{
    QHash<QString, QStringList> locations;
    for (const QString& line : linesOf(output)) {
        if (const QString name = nameIn(line);
            !name.isEmpty() && !line.contains(".app/Contents/"_L1)) {
            locations[name].append(line);
        }
    }
    return locations;
}

QString keptLocation(const QStringList& locations)
{
    QString kept = locations.constFirst();
    for (const QString& location : locations) {
        if (location.startsWith("/Applications/"_L1)) {
            kept = location;
        }
    }
    return kept;
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const auto prefixSize = input.ConsumeIntegralInRange<qsizetype>(0, 3);
    const auto engine = input.ConsumeBool() ? SysProfiler::MDFIND : SysProfiler::FIND;
    const QByteArray output = rest(input);

    PropertyMap expected;
    const QHash<QString, QStringList> locations = locationsByName(output);
    for (auto entry = locations.cbegin(); entry != locations.cend(); ++entry) {
        expected.insert(entry.key(), {{u"Location"_s, keptLocation(entry.value())}});
    }
    requireEqual("the applications are those of the list", parseBundlePaths(output), expected);

    const QString someName = expected.isEmpty() ? QString() : expected.cbegin().key();
    requireScanResult(engine, output, someName.left(prefixSize), expected);
    return 0;
}
