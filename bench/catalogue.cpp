#include "cases.h"
#include "child.h"
#include "console.h"
#include "largecatalogue.h"
#include "sampledata.h"

#include <QCryptographicHash>
#include <QTemporaryFile>
#include <QTextStream>

#include <memory>

#ifdef __GLIBC__
#include <malloc.h>
#if __GLIBC_PREREQ(2, 33)
#define QUILLMERE_HAS_MALLINFO2
#endif
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

/// The catalogue's content in one short text, as the script prints it.
QByteArray digest(const WebProfiler& catalogue)
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    const QStringList titles = {u"Version"_s, u"Release date"_s, u"Filename"_s,
                                u"Ignored"_s, u"Vendor"_s,       u"Remark"_s};
    for (const QString& name : catalogue.getAppList()) {
        hash.addData(name.toUtf8());
        for (const QString& title : titles) {
            hash.addData((u'\t' + catalogue.getValue(name, title)).toUtf8());
        }
        hash.addData("\n");
    }
    return hash.result().toHex();
}

/// The script's answer on the file: the seconds it took, and its digest.
QList<QByteArray> parsedByPython(const QString& path)
{
    const QList<QByteArray> answer =
        outputOf(u"python3"_s, {scriptPath(u"parse_catalogue.py"_s), path}).trimmed().split(' ');
    if (answer.size() != 2) {
        fail(u"parse_catalogue.py said neither its time nor its digest"_s);
    }
    return answer;
}

Benchmark catalogueParse()
{
    const QByteArray body = sampleCatalogue(lineCount);
    const auto file = std::make_shared<QTemporaryFile>();
    if (!file->open() || file->write(body) != body.size() || !file->flush()) {
        fail(u"cannot write the catalogue"_s);
    }
    Benchmark benchmark;
    benchmark.what = u"updateData of 100,000 lines / Python's csv module"_s;
    benchmark.must = 0.75;
    benchmark.aim = 0.3;
    benchmark.ours = [body] { return parseSeconds(body); };
    benchmark.reference = [file] {
        return parsedByPython(file->fileName()).constFirst().toDouble();
    };
    benchmark.compare = [body, file] {
        WebProfiler catalogue = newCatalogue();
        catalogue.updateData(body);
        if (digest(catalogue) != parsedByPython(file->fileName()).constLast()) {
            fail(u"the two parsers differ"_s);
        }
    };
    return benchmark;
}

/// The bytes that are allocated; where the C library does not tell, those of the whole process.
double heapBytes()
{
#ifdef QUILLMERE_HAS_MALLINFO2
    const struct mallinfo2 info = mallinfo2();
    return double(info.uordblks + info.hblkhd);
#else
    return processBytes("VmRSS");
#endif
}

Benchmark catalogueMemory()
{
    Benchmark benchmark;
    benchmark.what = u"heap growth by updateData of 100,000 lines / size of the body"_s;
    benchmark.rounds = 5;
    benchmark.must = 30;
    benchmark.aim = 7;
    benchmark.ours = [] { return outputOfChild({u"--catalogue-memory"_s}).trimmed().toDouble(); };
    benchmark.reference = [] { return double(sampleCatalogue(lineCount).size()); };
    return benchmark;
}

} // namespace

void measureCatalogueMemory()
{
    const QByteArray body = sampleCatalogue(lineCount);
    WebProfiler catalogue = newCatalogue();
    const double before = heapBytes();
    catalogue.updateData(body);
    QTextStream(stdout) << QString::number(heapBytes() - before, 'f', 0) << Qt::endl;
}

QList<BenchmarkCase> catalogueCases()
{
    return {{u"catalogue"_s, catalogueParse}, {u"catalogue-memory"_s, catalogueMemory}};
}

QList<Workload> catalogueWorkloads()
{
    const auto parse = [](int lines) -> std::function<void()> {
        const auto catalogue = std::make_shared<WebProfiler>(u"https://example.org/"_s, u"c.csv"_s,
                                                             u","_s, u"data/"_s);
        return [body = sampleCatalogue(lines), catalogue] { catalogue->updateData(body); };
    };
    return {{u"catalogue"_s, u"line"_s, parse}};
}
