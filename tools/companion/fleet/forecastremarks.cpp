#include "companion/fleet/forecastremarks.h"

#include "companion/fleet/fleetforecast.h"
#include "companion/fleet/forecastwords.h"
#include "companion/report/texttable.h"

using namespace Qt::Literals::StringLiterals;

namespace {

/// "1 machine", "2 machines"
QString countText(quint64 count, const QString& what)
{
    return grouped(count) + u' ' + what + (count == 1 ? QString() : u"s"_s);
}

/// What follows for one entry's row, a line for each finding.
QStringList aftermathRemarks(const EntryChange& entry, const EntryFile& file,
                             const EntryAftermath& aftermath, quint64 machines)
{
    QStringList remarks;
    const QString name = printable(entry.name);
    const auto remark = [&](quint64 count, const QString& what) {
        if (count > 0) {
            remarks.append(
                u"%1: %2 on %3 of %4"_s.arg(name, what, grouped(count), machinesText(machines)));
        }
    };
    const QString bundle = file.bundle ? printable(file.bundle->name) : QString();
    const QString versions = file.bundle && entry.after
                                 ? u" (catalogue %1, installer's bundle %2)"_s.arg(
                                       printable(entry.after->version),
                                       printable(file.bundle->version.value_or(QString())))
                                 : QString();
    remark(aftermath.staysOlder, u"never up to date, older after each update"_s + versions);
    remark(aftermath.turnsNewer, u"newer than the catalogue after the update"_s + versions);
    remark(aftermath.matchesOther,
           u"stands for another application than the installer's '%1'"_s.arg(bundle));
    remark(aftermath.unknownSettling,
           u"unknown whether the update settles it, as the installer does not tell its version"_s);
    remark(aftermath.otherIdentity,
           u"stands for an application with another identifier than the installer's"_s);
    if (aftermath.identifiers.size() > 1) {
        QStringList counts;
        for (auto found = aftermath.identifiers.cbegin(); found != aftermath.identifiers.cend();
             ++found) {
            counts.append(u"%1 (%2)"_s.arg(printable(found.key()), grouped(found.value())));
        }
        remarks.append(name + ": stands for several identifiers: "_L1 + counts.join(", "_L1));
    }
    return remarks;
}

/// What would follow from publishing the former catalogue again.
QStringList returnRemarks(const Aftermath& aftermath)
{
    quint64 rows = 0;
    for (const EntryAftermath& entry : aftermath.entries) {
        rows += entry.newerAfterReturn;
    }
    return rows == 0
               ? QStringList()
               : QStringList(u"Going back: once users have updated, publishing the old "
                             "catalogue again turns %1 newer"_s.arg(countText(rows, u"row"_s)));
}

/// What is downloaded if each row with an update is pressed once.
QStringList trafficRemarks(const FleetForecast& forecast)
{
    quint64 downloads = 0;
    quint64 unknown = 0;
    quint64 bytes = 0;
    for (qsizetype i = 0; i < forecast.tally.entries.size(); ++i) {
        const quint64 rows = forecast.tally.entries[i].after(RowState::Older);
        const std::optional<qint64> size = forecast.files.value(i).size;
        downloads += rows;
        unknown += size ? 0 : rows;
        bytes += rows * quint64(size.value_or(0));
    }
    if (downloads == 0) {
        return {};
    }
    QString remark = "Traffic: at most "_L1 + countText(downloads, u"download"_s);
    if (!forecast.files.isEmpty()) {
        remark += u", %1 bytes"_s.arg(grouped(bytes));
        if (unknown > 0) {
            remark += u", but %1 of files that are missing"_s.arg(grouped(unknown));
        }
    }
    return {remark};
}

QStringList gradeRemarks(const Tally& tally)
{
    QStringList remarks;
    for (int grade = 0; grade < gradeCount; ++grade) {
        const QString text = gradeText(static_cast<Grade>(grade));
        const quint64 machines = tally.grades[static_cast<size_t>(grade)];
        if (machines > 0 && !text.isEmpty()) {
            remarks.append(
                u"%1 on %2 of %3 machines"_s.arg(text, grouped(machines), grouped(tally.machines)));
        }
    }
    return remarks;
}

QStringList unknownRemarks(const Tally& tally)
{
    QStringList remarks;
    for (int reason = 0; reason < refusalCount; ++reason) {
        if (const quint64 machines = tally.refusals[static_cast<size_t>(reason)]; machines > 0) {
            remarks.append(u"Unknown: %1 of %2 machines, %3"_s.arg(
                grouped(machines), grouped(tally.machines + tally.refused()),
                refusalText(static_cast<Refusal>(reason))));
        }
    }
    quint64 rows = 0;
    for (const EntryTally& entry : tally.entries) {
        rows += tally.machines - entry.after(RowState::Absent);
    }
    for (int gap = 0; gap < gapCount; ++gap) {
        if (const quint64 unknown = tally.gaps[static_cast<size_t>(gap)]; unknown > 0) {
            remarks.append(u"Unknown: %1 of %2 rows, %3"_s.arg(grouped(unknown), grouped(rows),
                                                               gapText(static_cast<Gap>(gap))));
        }
    }
    return remarks;
}

} // namespace

QStringList forecastRemarks(const FleetForecast& forecast)
{
    const QList<EntryAftermath>& aftermath = forecast.aftermath.entries;
    QStringList remarks;
    for (qsizetype i = 0; i < aftermath.size(); ++i) {
        remarks += aftermathRemarks(forecast.entries[i], forecast.files.value(i), aftermath[i],
                                    forecast.tally.machines);
    }
    return remarks + returnRemarks(forecast.aftermath) + trafficRemarks(forecast) +
           gradeRemarks(forecast.tally) + unknownRemarks(forecast.tally);
}
