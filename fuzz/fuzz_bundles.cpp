// The companion's collecting of bundles, from the files of an installer and from a listing of
// 7-Zip. The applications are those that the client's scan would list, told by that scan's own
// reader; each is told once, in order; only what was asked for is taken; and reading stays within
// its limits. A listing has an entry for each of its paths.

#include "fuzzing.h"

#include "companion/installer/bundlecollector.h"
#include "companion/installer/sevenzip.h"
#include "system/scanparser.h"

#include <QSet>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

QString path(FuzzedDataProvider& input)
{
    static const std::array<QString, 16> steps{
        u"Synth.app"_s,  u"A.app"_s,       u"Contents"_s,  u"MacOS"_s,
        u"Info.plist"_s, u"info.plist"_s,  u"Synth"_s,     u"Wrapper"_s,
        u"Frameworks"_s, u"F.framework"_s, u"Versions"_s,  u"Current"_s,
        u".app"_s,       u"x"_s,           u"a.app.app"_s, u"é.app"_s};
    QString path = input.ConsumeBool() ? u"/Applications"_s : u"/Library"_s;
    for (auto left = input.ConsumeIntegralInRange<int>(0, 7); left > 0; --left) {
        path += u'/' + input.PickValueInArray(steps);
    }
    return path;
}

void requireBundles(FuzzedDataProvider& input)
{
    BundleCollector collector;
    QSet<QString> scanned; // by `find`, three levels down
    while (input.remaining_bytes() > 0) {
        BundleCollector::Entry entry;
        entry.path = path(input);
        entry.kind = static_cast<BundleCollector::Kind>(input.ConsumeIntegralInRange(0, 2));
        entry.isExecutable = input.ConsumeBool();
        entry.changed = input.ConsumeIntegral<qint32>();
        const qsizetype wanted = collector.add(entry);
        require("only files have content", wanted == 0 || entry.kind == BundleCollector::File);
        if (wanted > 0) {
            collector.setContent(entry.path,
                                 QByteArray::fromStdString(input.ConsumeRandomLengthString(60)));
        }
        if (entry.kind == BundleCollector::Folder && entry.path.startsWith("/Applications/"_L1) &&
            entry.path.endsWith(".app"_L1) && entry.path.count(u'/') <= 4 &&
            !parseBundlePaths(entry.path.toUtf8() + '\n').isEmpty()) {
            scanned.insert(entry.path);
        }
    }
    QString last;
    for (const BundleFacts& bundle : collector.bundles()) {
        require("bundles come in order, each once", last < bundle.location);
        last = bundle.location;
        scanned.remove(bundle.location);
        require("a bundle lies below /Applications",
                bundle.location.startsWith("/Applications/"_L1));
        require("a reason stands for a value",
                bundle.version.isKnown() || bundle.version.value.isEmpty());
    }
    require("what the scan lists is told", scanned.isEmpty());
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        requireBundles(input);
        return 0;
    }
    const QByteArray listing = rest(input);
    qsizetype paths = 0;
    for (const QByteArray& line : listing.split('\n')) {
        paths += line.startsWith("Path = ") ? 1 : 0;
    }
    requireEqual("each path has an entry", SevenZip::parseListing(listing).size(), paths);
    return 0;
}
