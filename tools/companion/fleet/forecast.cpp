#include "companion/fleet/forecast.h"

#include "companion/archive/interruption.h"
#include "companion/fleet/forecastjson.h"
#include "companion/fleet/forecastoptions.h"
#include "companion/fleet/forecastpage.h"
#include "companion/fleet/forecastreport.h"
#include "companion/fleet/forecastwords.h"
#include "companion/fleet/forecastprogress.h"
#include "companion/fleet/orderedoutput.h"
#include "companion/report/commandline.h"
#include "companion/report/progress.h"
#include "companion/report/source.h"
#include "companion/report/texttable.h"
#include "companion/report/workahead.h"

#include <QJsonDocument>
#include <QSaveFile>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

QString jsonLine(const QJsonObject& object)
{
    return printableJson(QJsonDocument(object).toJson(QJsonDocument::Compact)) + u'\n';
}

/// "mac: up to date -> update available (Synth: application 'Synth', installed 1.0)"
QString listedLine(const QString& machine, const QString& entry, Grade grade,
                   const RowForecast& row)
{
    QString line = u"%1: %2 -> %3 (%4"_s.arg(machine, rowStateText(row.before),
                                             rowStateText(row.after), entry);
    if (!row.applications.isEmpty()) {
        line += u": application '%1', installed %2"_s.arg(row.applications.join("' or '"_L1),
                                                          row.version.value_or(u"unknown"_s));
    }
    if (grade == Grade::Assumed) {
        line += ", assumed"_L1;
    }
    return printable(line) + ")\n"_L1;
}

/// Counts one thread's machines, and says of each what is asked for.
class Counter : public InventoryVisitor
{
public:
    Counter(const CatalogueChange& change, const ForecastOptions& options, OrderedOutput& output,
            FleetForecast& part)
        : m_change(change)
        , m_options(options)
        , m_output(output)
        , m_part(part)
    {}

    void takeMachine(const MachineRecord& record) override
    {
        const QList<RowForecast> rows = forecastMachine(m_change, record.installed);
        m_part.tally.count(record.grade, rows);
        m_part.aftermath.count(m_change, m_part.files, record.installed, rows);
        if (m_options.output == ForecastOptions::Json) {
            m_out += jsonLine(machineJson(m_options.alias.of(record.machine), record.grade,
                                          m_change.entries, rows));
        } else if (!m_options.listed.isEmpty()) {
            list(record, rows);
        }
    }

    void takeRefusal(const QString& machine, Refusal reason) override
    {
        ++m_part.tally.refusals[static_cast<size_t>(reason)];
        const QString name = m_options.alias.of(machine);
        if (m_options.output == ForecastOptions::Json) {
            m_out += jsonLine(refusalJson(name, reason));
        }
        m_err += printable(name) + ": "_L1 + refusalText(reason) + u'\n';
    }

    void endPiece(qint64 piece) override
    {
        m_output.finish(piece, std::exchange(m_out, {}), std::exchange(m_err, {}));
    }

private:
    void list(const MachineRecord& record, const QList<RowForecast>& rows)
    {
        for (qsizetype i = 0; i < rows.size(); ++i) {
            const QString& entry = m_change.entries[i].name;
            if (rows[i].isTouched() && m_options.listed.contains(entry)) {
                m_out +=
                    listedLine(m_options.alias.of(record.machine), entry, record.grade, rows[i]);
            }
        }
    }

    const CatalogueChange& m_change;
    const ForecastOptions& m_options;
    OrderedOutput& m_output;
    FleetForecast& m_part;
    QString m_out;
    QString m_err;
};

/// Why a file is refused. It is named as machines are, as it is often named for one.
QString fileProblem(const RefusedFile& file, const MachineAlias& alias)
{
    return (file.path == "-"_L1 ? file.path : alias.of(file.path)) + ": "_L1 + file.reason;
}

/// Reads one of the two catalogues; nothing, with the reason told, when that fails or it offers
/// nothing.
std::optional<Offer> readCatalogue(const QString& place, const CommandLine& line, QTextStream& err)
{
    const Source source = readSource(place);
    if (!source.error.isEmpty()) {
        line.fail(source.error, err);
        return std::nullopt;
    }
    const Offer offer = readOffer(source.bytes, line.separator());
    if (offer.names.isEmpty()) {
        line.fail(place + ": no entry is offered"_L1, err);
        return std::nullopt;
    }
    return offer;
}

/// Reads what the new entries' files bring; the rest is empty once @p isStopped.
QList<EntryFile> readFiles(const CatalogueChange& change, const ForecastOptions& options,
                           const std::atomic<bool>& isStopped, QTextStream& err)
{
    const QList<EntryChange>& entries = change.entries;
    WorkAhead<EntryFile> reading(entries.size(), options.threads, [&](qsizetype i) {
        const std::optional<OfferedEntry>& after = entries[i].after;
        return after && !isStopped ? readEntryFile(options.files, after->file, entries[i].name,
                                                   [&isStopped] { return !isStopped; })
                                   : EntryFile();
    });
    Progress progress(err, Progress::isOnTerminal());
    QList<EntryFile> files;
    while (files.size() < entries.size()) {
        files.append(reading.next([&] {
            progress.tell(u"%1 of %2 files read"_s.arg(files.size()).arg(entries.size()));
        }));
    }
    return files;
}

void add(const FleetForecast& part, FleetForecast& sum)
{
    sum.tally.add(part.tally);
    sum.aftermath.add(part.aftermath);
}

/// Judges the fleet; nothing, with the reason told, when that fails.
std::optional<FleetForecast> judge(const FleetFiles& fleet, const CatalogueChange& change,
                                   const QList<EntryFile>& files, const ForecastOptions& options,
                                   const CommandLine& line, QTextStream& out, QTextStream& err)
{
    for (const RefusedFile& refused : fleet.refused) {
        err << printable(fileProblem(refused, options.alias)) << '\n';
    }
    FleetReader reader(fleet.files, options.columns, options.threads);
    OrderedOutput output(out, err);
    FleetForecast forecast{change.entries, files, {}, {}};
    forecast.tally.entries.resize(change.entries.size());
    forecast.tally.formerEntries = quint64(change.formerCount);
    std::vector<std::unique_ptr<FleetForecast>> parts;
    const auto makeCounter = [&]() -> std::unique_ptr<InventoryVisitor> {
        parts.push_back(std::make_unique<FleetForecast>());
        parts.back()->files = forecast.files;
        return std::make_unique<Counter>(change, options, output, *parts.back());
    };
    {
        const ForecastProgress progress(reader);
        if (!reader.index() || !reader.read(change.filter, makeCounter)) {
            line.fail(fileProblem(reader.error(), options.alias), err);
            return std::nullopt;
        }
    }
    for (const auto& part : parts) {
        add(*part, forecast);
    }
    return forecast;
}

/// Writes the page that was asked for; false, with the reason told, when that fails.
bool writePage(const FleetForecast& forecast, const QString& place, const CommandLine& line,
               QTextStream& err)
{
    QSaveFile file(place);
    if (file.open(QIODevice::WriteOnly)) {
        QTextStream out(&file);
        writeForecastPage(forecast, out);
        out.flush();
        if (file.commit()) {
            return true;
        }
    }
    line.fail(u"%1: cannot be written: %2"_s.arg(place, file.errorString()), err);
    return false;
}

/// Says what was found and returns the command's status.
int report(const FleetForecast& forecast, const ForecastOptions& options, const CommandLine& line,
           QTextStream& out, QTextStream& err)
{
    const Tally& tally = forecast.tally;
    if (tally.machines + tally.refused() == 0) {
        return line.fail(u"no machine was found"_s, err);
    }
    switch (options.output) {
    case ForecastOptions::Json:
        out << jsonLine(summaryJson(forecast));
        break;
    case ForecastOptions::Csv:
        writeForecastTable(forecast.entries, tally, out);
        break;
    case ForecastOptions::Text:
        writeForecast(forecast, out);
        break;
    }
    if (!options.page.isEmpty() && !writePage(forecast, options.page, line, err)) {
        return Unusable;
    }
    const QStringList passed = passedLimits(options.limits, forecast.entries, tally);
    for (const QString& limit : passed) {
        err << "Limit passed: " << limit << '\n';
    }
    return passed.isEmpty() && !hasUnsettledRows(forecast.aftermath) ? NothingFound
                                                                     : SomethingFound;
}

/// The summary that ends what --json has written.
std::optional<FleetForecast> readPart(const QByteArray& bytes)
{
    const QByteArray lines = bytes.trimmed();
    const QByteArray last = lines.sliced(lines.lastIndexOf('\n') + 1);
    return readSummary(QJsonDocument::fromJson(last).object());
}

int sumUp(const ForecastOptions& options, const CommandLine& line, QTextStream& out,
          QTextStream& err)
{
    std::optional<FleetForecast> sum;
    for (const QString& place : options.parts) {
        const Source source = readSource(place);
        if (!source.error.isEmpty()) {
            return line.fail(source.error, err);
        }
        const std::optional<FleetForecast> part = readPart(source.bytes);
        if (!part) {
            return line.fail(place + ": does not end with a forecast's summary"_L1, err);
        }
        if (sum && (sum->entries != part->entries || sum->files != part->files)) {
            return line.fail(place + ": is a forecast of other catalogues"_L1, err);
        }
        if (!sum) {
            sum = part;
        } else {
            add(*part, *sum);
        }
    }
    return report(*sum, options, line, out, err);
}

int forecast(const ForecastOptions& options, const CommandLine& line, QTextStream& out,
             QTextStream& err)
{
    const auto next = readCatalogue(options.catalogue, line, err);
    const auto published = next ? readCatalogue(options.published, line, err) : std::nullopt;
    if (!published) {
        return Unusable;
    }
    const CatalogueChange change(*published, *next, options.judgesAll);
    const FleetFiles fleet = findFleetFiles(options.places, options.format, options.columns);
    if (!fleet.error.reason.isEmpty()) {
        return line.fail(fileProblem(fleet.error, options.alias), err);
    }
    QList<EntryFile> files;
    if (!options.files.isEmpty()) {
        const Interruption interruption; // what an installer is unpacked into is to be removed
        files = readFiles(change, options, interruption.hasCome(), err);
        if (interruption.hasCome()) {
            err << "interrupted: no machine was looked at\n";
            return interruption.exitStatus();
        }
    }
    const std::optional<FleetForecast> found = judge(fleet, change, files, options, line, out, err);
    return found ? report(*found, options, line, out, err) : Unusable;
}

} // namespace

int runForecast(const QStringList& arguments, QTextStream& out, QTextStream& err)
{
    CommandLine line(
        u"forecast"_s,
        u"Tells what a new catalogue will change on recorded machines, before anybody sees it: on\n"
        "how many of them each row comes, goes or turns from one verdict to another. Needs\n"
        "--published and --machines."_s);
    describeForecast(line);
    if (const auto status = line.read(arguments, out, err)) {
        return *status;
    }
    const std::optional<ForecastOptions> options = readForecastOptions(line, err);
    if (!options) {
        return Unusable;
    }
    return options->parts.isEmpty() ? forecast(*options, line, out, err)
                                    : sumUp(*options, line, out, err);
}
