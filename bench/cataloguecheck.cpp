#include "cataloguecheck.h"

#include "companion/catalogue/check.h"
#include "console.h"
#include "largecatalogue.h"
#include "sampledata.h"

#include <algorithm>
#include <random>

using namespace Qt::Literals::StringLiterals;

namespace {

double checkSeconds(const QByteArray& body)
{
    Report report(u"catalogue.csv"_s);
    CatalogueText text;
    return secondsOf([&] { text = checkCatalogue(body, u","_s, report); });
}

/// The lines in another order, below the header; always the same one.
QByteArray shuffled(const QByteArray& catalogue)
{
    QByteArrayList lines = catalogue.split('\n');
    std::shuffle(lines.begin() + 1, lines.end() - 1, std::mt19937(1));
    return lines.join('\n');
}

Benchmark checkOf(const QByteArray& body, const QString& what)
{
    Benchmark benchmark;
    benchmark.what = what;
    benchmark.must = 2;
    benchmark.aim = 1.5;
    benchmark.ours = [body] { return checkSeconds(body); };
    benchmark.reference = [body] { return parseSeconds(body); };
    benchmark.compare = [body] {
        WebProfiler catalogue = newCatalogue();
        catalogue.updateData(body);
        Report report(u"catalogue.csv"_s);
        const CatalogueText text = checkCatalogue(body, u","_s, report);
        if (text.entries.size() != catalogue.size() || !report.takeFindings().isEmpty()) {
            fail(u"the check reads another catalogue than the client"_s);
        }
    };
    return benchmark;
}

} // namespace

Benchmark catalogueCheck()
{
    return checkOf(sampleCatalogue(lineCount),
                   u"check of 100,000 entries / the client's updateData"_s);
}

Benchmark shuffledCatalogueCheck()
{
    return checkOf(shuffled(sampleCatalogue(lineCount)),
                   u"check of 100,000 entries in no order / the client's updateData"_s);
}
