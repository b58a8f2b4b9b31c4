#include "cases.h"
#include "child.h"
#include "console.h"
#include "samplehome.h"
#include "sampledata.h"
#include "webserver.h"

#include <QCoreApplication>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString catalogueFile = u"catalogue.csv"_s;

struct Organisation
{
    Organisation(int entries, int applications) : machine(applications, entries)
    {
        server.write(catalogueFile, sampleCatalogue(entries));
    }

    SampleHome home;
    WebServer server;
    BenchMachine machine;
};

Benchmark wholeOf(int entries, int applications)
{
    const auto organisation = std::make_shared<Organisation>(entries, applications);
    const auto ours = [organisation] {
        return outputOf(QCoreApplication::applicationDirPath() + "/quillmere_compare"_L1,
                        {organisation->server.url(), catalogueFile});
    };
    const auto reference = [organisation] {
        return outputOf(u"python3"_s,
                        {scriptPath(u"whole.py"_s), organisation->server.url() + catalogueFile});
    };
    Benchmark benchmark;
    benchmark.what =
        u"catalogue, scan, match and compare, %1 against %2 / the same in Python"_s.arg(entries)
            .arg(applications);
    benchmark.must = 0.3;
    benchmark.ours = [ours] { return secondsOf([&] { ours(); }); };
    benchmark.reference = [reference] { return secondsOf([&] { reference(); }); };
    benchmark.compare = [ours, reference, entries] {
        const QByteArray table = ours();
        if (table.count('\n') != entries || table != reference()) {
            fail(u"the two tables differ"_s);
        }
    };
    return benchmark;
}

Benchmark whole()
{
    Benchmark benchmark = wholeOf(1'000, 200);
    benchmark.aim = 0.12;
    return benchmark;
}

Benchmark wholeLarge()
{
    Benchmark benchmark = wholeOf(10'000, 2'000);
    benchmark.rounds = 5;
    benchmark.aim = 0.15;
    return benchmark;
}

} // namespace

QList<BenchmarkCase> wholeCases()
{
    return {{u"whole"_s, whole}, {u"whole-large"_s, wholeLarge}};
}
