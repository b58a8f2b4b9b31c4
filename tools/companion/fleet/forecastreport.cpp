#include "companion/fleet/forecastreport.h"

#include "companion/report/texttable.h"

#include <QLocale>
#include <QRegularExpression>
#include <QTextStream>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

const QList<RowState> allStates = {RowState::Absent, RowState::NotInstalled, RowState::Older,
                                   RowState::Equal,  RowState::Newer,        RowState::Unknown};

/// @p text as a field of a table that is separated by commas.
QString csvField(const QString& text)
{
    static const QRegularExpression special(u"[\",\r\n]"_s);
    return text.contains(special) ? u'"' + QString(text).replace(u'"', "\"\""_L1) + u'"' : text;
}

/// The lines of one entry: a line for each pair of different states.
void appendTurns(const QString& name, const EntryTally& tally, QList<QStringList>& table)
{
    for (const RowState before : allStates) {
        for (const RowState after : allStates) {
            const quint64 machines = tally.turned(before, after);
            if (before != after && machines > 0) {
                table.append({name, rowStateText(before), rowStateText(after), grouped(machines)});
            }
        }
    }
    if (tally.changedRows > 0) {
        table.append(
            {name, u"application in one row"_s, u"in another row"_s, grouped(tally.changedRows)});
    }
}

void writeTurns(const QList<EntryChange>& entries, const Tally& tally, QTextStream& out)
{
    QList<QStringList> table = {{u"Entry"_s, u"Before"_s, u"After"_s, u"Machines"_s}};
    for (qsizetype i = 0; i < tally.entries.size(); ++i) {
        appendTurns(entries[i].name, tally.entries[i], table);
    }
    if (table.size() == 1) {
        out << "No row changes on any machine.\n";
        return;
    }
    appendTurns(u"All entries"_s, tally.sum(), table);
    writeTable(table, out);
}

/// What follows for one entry's row, a line for each finding.
void writeAftermath(const EntryChange& entry, const EntryFile& file,
                    const EntryAftermath& aftermath, quint64 machines, QTextStream& out)
{
    const QString name = printable(entry.name);
    const auto write = [&](quint64 count, const QString& what) {
        if (count > 0) {
            out << name << ": " << what << " on " << grouped(count) << " of " << grouped(machines)
                << (machines == 1 ? " machine" : " machines") << '\n';
        }
    };
    const QString bundle = file.bundle ? printable(file.bundle->name) : QString();
    const QString versions = file.bundle && entry.after
                                 ? u" (catalogue %1, installer's bundle %2)"_s.arg(
                                       printable(entry.after->version),
                                       printable(file.bundle->version.value_or(QString())))
                                 : QString();
    write(aftermath.staysOlder, u"never up to date, older after each update"_s + versions);
    write(aftermath.turnsNewer, u"newer than the catalogue after the update"_s + versions);
    write(aftermath.matchesOther,
          u"stands for another application than the installer's '%1'"_s.arg(bundle));
    write(aftermath.unknownSettling,
          u"unknown whether the update settles it, as the installer does not tell its version"_s);
    write(aftermath.otherIdentity,
          u"stands for an application with another identifier than the installer's"_s);
    if (aftermath.identifiers.size() > 1) {
        QStringList counts;
        for (auto found = aftermath.identifiers.cbegin(); found != aftermath.identifiers.cend();
             ++found) {
            counts.append(u"%1 (%2)"_s.arg(printable(found.key()), grouped(found.value())));
        }
        out << name << ": stands for several identifiers: " << counts.join(", "_L1) << '\n';
    }
}

/// What would follow from publishing the former catalogue again.
void writeReturn(const Aftermath& aftermath, QTextStream& out)
{
    quint64 rows = 0;
    for (const EntryAftermath& entry : aftermath.entries) {
        rows += entry.newerAfterReturn;
    }
    if (rows > 0) {
        out << "Going back: once users have updated, publishing the old catalogue again turns "
            << grouped(rows) << (rows == 1 ? " row newer\n" : " rows newer\n");
    }
}

/// What is downloaded if each row with an update is pressed once.
void writeTraffic(const FleetForecast& forecast, QTextStream& out)
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
        return;
    }
    out << "Traffic: at most " << grouped(downloads)
        << (downloads == 1 ? " download" : " downloads");
    if (!forecast.files.isEmpty()) {
        out << ", " << grouped(bytes) << " bytes";
        if (unknown > 0) {
            out << ", but " << grouped(unknown) << " of files that are missing";
        }
    }
    out << '\n';
}

void writeGrades(const Tally& tally, QTextStream& out)
{
    for (int grade = 0; grade < gradeCount; ++grade) {
        const QString text = gradeText(static_cast<Grade>(grade));
        const quint64 machines = tally.grades[static_cast<size_t>(grade)];
        if (machines > 0 && !text.isEmpty()) {
            out << text << " on " << grouped(machines) << " of " << grouped(tally.machines)
                << " machines\n";
        }
    }
}

void writeUnknown(const Tally& tally, QTextStream& out)
{
    for (int reason = 0; reason < refusalCount; ++reason) {
        if (const quint64 machines = tally.refusals[static_cast<size_t>(reason)]; machines > 0) {
            out << "Unknown: " << grouped(machines) << " of "
                << grouped(tally.machines + tally.refused()) << " machines, "
                << refusalText(static_cast<Refusal>(reason)) << '\n';
        }
    }
    quint64 rows = 0;
    for (const EntryTally& entry : tally.entries) {
        rows += tally.machines - entry.after(RowState::Absent);
    }
    for (int gap = 0; gap < gapCount; ++gap) {
        if (const quint64 unknown = tally.gaps[static_cast<size_t>(gap)]; unknown > 0) {
            out << "Unknown: " << grouped(unknown) << " of " << grouped(rows) << " rows, "
                << gapText(static_cast<Gap>(gap)) << '\n';
        }
    }
}

} // namespace

void writeForecastTable(const QList<EntryChange>& entries, const Tally& tally, QTextStream& out)
{
    out << "Entry,Before,After,Machines\n";
    for (qsizetype i = 0; i < tally.entries.size(); ++i) {
        for (const RowState before : allStates) {
            for (const RowState after : allStates) {
                if (const quint64 machines = tally.entries[i].turned(before, after); machines > 0) {
                    out << csvField(entries[i].name) << ',' << rowStateText(before) << ','
                        << rowStateText(after) << ',' << machines << '\n';
                }
            }
        }
    }
}

QString grouped(quint64 number)
{
    return QLocale(QLocale::English).toString(number);
}

QString refusalText(Refusal reason)
{
    switch (reason) {
    case Refusal::Damaged:
        return u"the record is damaged"_s;
    case Refusal::NoFullState:
        break;
    }
    return u"changes are recorded, but not what they change"_s;
}

QString gapText(Gap gap)
{
    switch (gap) {
    case Gap::TwoBundles:
        return u"two bundles have the name, with different versions"_s;
    case Gap::None:
    case Gap::NoVersion:
        break;
    }
    return u"the record has no version"_s;
}

QString gradeText(Grade grade)
{
    switch (grade) {
    case Grade::AsReported:
        return u"Versions as reported, which may be another of the bundle's,"_s;
    case Grade::Assumed:
        return u"Place and folder name assumed, as no path is recorded,"_s;
    case Grade::Exact:
        break;
    }
    return {};
}

void writeForecast(const FleetForecast& forecast, QTextStream& out)
{
    const QList<EntryChange>& entries = forecast.entries;
    const Tally& tally = forecast.tally;
    const auto differing =
        std::count_if(entries.cbegin(), entries.cend(),
                      [](const EntryChange& entry) { return entry.isDifferent(); });
    out << grouped(tally.machines) << (tally.machines == 1 ? " machine, " : " machines, ")
        << grouped(tally.touched) << " touched; " << grouped(quint64(differing))
        << (differing == 1 ? " entry differs\n\n" : " entries differ\n\n");
    writeTurns(entries, tally, out);
    out << '\n';
    for (qsizetype i = 0; i < forecast.aftermath.entries.size(); ++i) {
        writeAftermath(entries[i], forecast.files.value(i), forecast.aftermath.entries[i],
                       tally.machines, out);
    }
    writeReturn(forecast.aftermath, out);
    writeTraffic(forecast, out);
    writeGrades(tally, out);
    writeUnknown(tally, out);
}

bool hasUnsettledRows(const Aftermath& aftermath)
{
    return std::any_of(aftermath.entries.cbegin(), aftermath.entries.cend(),
                       [](const EntryAftermath& entry) { return entry.unsettled() > 0; });
}
