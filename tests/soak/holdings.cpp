#include "soak/holdings.h"
#include "support/sanitizer.h"

#include <QDir>
#include <QFile>

#include <numeric>

#include <malloc.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

qsizetype entries(const QString& folder)
{
    // The descriptor by which the folder is read counts too: one more each time.
    return QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}

double mean(const QList<double>& values)
{
    return std::accumulate(values.cbegin(), values.cend(), 0.0) / double(values.size());
}

} // namespace

Holdings currentHoldings()
{
    QFile statm(u"/proc/self/statm"_s);
    if (!statm.open(QIODevice::ReadOnly)) {
        qFatal("cannot read /proc/self/statm");
    }
    const double pages = statm.readAll().split(' ').value(1).toDouble();
    statm.close();
    Holdings holdings;
    holdings.residentKiB = pages * double(sysconf(_SC_PAGESIZE)) / 1024.0;
    const auto heap = mallinfo2();
    holdings.allocatedKiB = double(heap.uordblks + heap.hblkhd) / 1024.0;
    holdings.files = entries(u"/proc/self/fd"_s);
    holdings.threads = entries(u"/proc/self/task"_s);
    return holdings;
}

QString asText(const Holdings& holdings)
{
    return u"%1 KiB resident, %2 KiB allocated, %3 files, %4 threads"_s
        .arg(holdings.residentKiB, 0, 'f', 0)
        .arg(holdings.allocatedKiB, 0, 'f', 0)
        .arg(holdings.files)
        .arg(holdings.threads);
}

bool isMemoryMeasurable()
{
    return !isSanitized;
}

double growth(const QList<double>& values)
{
    const qsizetype quarter = values.size() / 4;
    const double before = mean(values.first(quarter));
    return (mean(values.last(quarter)) - before) / before;
}
