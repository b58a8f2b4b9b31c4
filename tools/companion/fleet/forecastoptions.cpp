#include "companion/fleet/forecastoptions.h"

#include "companion/report/commandline.h"
#include "companion/report/source.h"
#include "companion/report/texttable.h"

#include <QThread>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString machinesName = u"machines"_s;
const QString filesName = u"files"_s;
const QString formatName = u"format"_s;
const QString columnsName = u"columns"_s;
const QString listName = u"list"_s;
const QString csvName = u"csv"_s;
const QString htmlName = u"html"_s;
const QString anonymousName = u"anonymous"_s;
const QString keyName = u"key"_s;
const QString maxOlderName = u"max-older"_s;
const QString maxNewerName = u"max-newer"_s;
const QString maxUnknownName = u"max-unknown"_s;
const QString removesName = u"removes"_s;
const QString sumName = u"sum"_s;
const QString allName = u"all"_s;
const QString threadsName = u"threads"_s;

/// Reads the options' values; the first that is wrong is kept as an error.
class ValueReader
{
public:
    explicit ValueReader(const CommandLine& line) : m_line(line) {}

    QString error;

    [[nodiscard]] std::optional<Limit> limit(const QString& option)
    {
        const std::optional<Limit> limit = readLimit(m_line.value(option));
        require(limit.has_value(), option, u"is neither a number nor a share like 5%"_s);
        return limit;
    }

    [[nodiscard]] std::optional<InventoryFormat> format()
    {
        const std::optional<InventoryFormat> format = formatNamed(m_line.value(formatName));
        require(format.has_value(), formatName, u"is unknown (try --help)"_s);
        return format;
    }

    [[nodiscard]] CsvColumns columns()
    {
        const std::optional<CsvColumns> read = readCsvColumns(m_line.value(columnsName));
        require(read.has_value(), columnsName,
                u"does not name machine, path or name, and version"_s);
        return read.value_or(CsvColumns());
    }

    [[nodiscard]] int threads()
    {
        if (!m_line.isSet(threadsName)) {
            return QThread::idealThreadCount();
        }
        const int threads = m_line.value(threadsName).toInt();
        require(threads >= 1 && threads <= 1'024, threadsName, u"is no number of threads"_s);
        return threads;
    }

    [[nodiscard]] MachineAlias alias()
    {
        if (!m_line.isSet(anonymousName)) {
            return {};
        }
        QByteArray key = MachineAlias::randomKey();
        if (m_line.isSet(keyName)) {
            key = readSource(m_line.value(keyName)).bytes;
            require(!key.isEmpty(), keyName, u"is empty or cannot be read"_s);
        }
        return MachineAlias(key);
    }

private:
    void require(bool isRight, const QString& option, const QString& problem)
    {
        if (m_line.isSet(option) && !isRight && error.isEmpty()) {
            error = u"--%1 %2 %3"_s.arg(option, quoted(m_line.value(option)), problem);
        }
    }

    const CommandLine& m_line;
};

ForecastOptions::Output outputOf(const CommandLine& line)
{
    if (line.isJson()) {
        return ForecastOptions::Json;
    }
    return line.isSet(csvName) ? ForecastOptions::Csv : ForecastOptions::Text;
}

QString missing(const ForecastOptions& options)
{
    if (!options.parts.isEmpty()) {
        return {};
    }
    if (!options.listed.isEmpty() && options.output != ForecastOptions::Text) {
        return u"--list goes with neither --json nor --csv (try --help)"_s;
    }
    if (options.published.isEmpty()) {
        return u"--published is missing (try --help)"_s;
    }
    return options.places.isEmpty() ? u"--machines is missing (try --help)"_s : QString();
}

} // namespace

void describeForecast(CommandLine& line)
{
    line.addArgument(
        u"NEW"_s,
        u"The new catalogue, a file or an http(s) address; then further places of inventories. "
        "With --sum, the parts."_s,
        true);
    line.addShared(CommandLine::Separator | CommandLine::Published | CommandLine::Json);
    line.addPlace(machinesName,
                  u"Read the inventories in <PLACE>: a file, a folder, or - for standard input."_s,
                  u"PLACE"_s);
    line.addPlace(filesName,
                  u"Look into the installers in <FOLDER>: whether their rows ever settle, and how "
                  "much is downloaded."_s,
                  u"FOLDER"_s);
    line.addValue(formatName,
                  u"Take the inventories for <FORMAT>, whatever their content tells: %1."_s.arg(
                      formatNames().join(", "_L1)),
                  u"FORMAT"_s);
    line.addValue(columnsName,
                  u"Read tables whose columns have these titles: "
                  "machine=TITLE,path=TITLE,version=TITLE[,id=TITLE], or name= in the place of "
                  "path=."_s,
                  u"TITLES"_s);
    line.addValue(listName, u"Name the machines that the row <ENTRY> changes on."_s, u"ENTRY"_s);
    line.addSwitch(csvName, u"Write CSV."_s);
    line.addPlace(htmlName, u"Write also a page to look at into <FILE>."_s, u"FILE"_s);
    line.addSwitch(anonymousName, u"Replace the machines' names by hashes."_s);
    line.addPlace(keyName, u"The hashes' key: the same <FILE> gives the same hashes again."_s,
                  u"FILE"_s);
    const QString limit = u"LIMIT"_s;
    line.addValue(maxOlderName,
                  u"End with 1 if more machines get a row with an update: 5% or 12."_s, limit);
    line.addValue(maxNewerName,
                  u"End with 1 if more machines get a row that is newer than the catalogue."_s,
                  limit);
    line.addValue(maxUnknownName, u"End with 1 if more machines are not or not wholly known."_s,
                  limit);
    line.addValue(removesName, u"End with 1 if more entries go."_s, limit);
    line.addSwitch(sumName, u"Add up the summaries that --json has written."_s);
    line.addSwitch(allName, u"Judge also the entries that do not differ."_s);
    line.addValue(threadsName, u"Read in <N> threads; as many as there are cores by default."_s,
                  u"N"_s);
}

std::optional<ForecastOptions> readForecastOptions(const CommandLine& line, QTextStream& err)
{
    ForecastOptions options;
    const QStringList given = line.arguments();
    if (line.isSet(sumName)) {
        options.parts = given;
    } else {
        options.catalogue = given.constFirst();
        options.places = line.values(machinesName) + given.sliced(1);
    }
    options.files = line.value(filesName);
    options.published = line.published();
    options.separator = line.separator();
    options.judgesAll = line.isSet(allName);
    options.listed = line.values(listName);
    options.output = outputOf(line);
    options.page = line.value(htmlName);
    ValueReader values(line);
    options.format = values.format();
    options.columns = values.columns();
    options.threads = values.threads();
    options.alias = values.alias();
    options.limits = {values.limit(maxOlderName), values.limit(maxNewerName),
                      values.limit(maxUnknownName), values.limit(removesName)};
    const QString error = values.error.isEmpty() ? missing(options) : values.error;
    if (!error.isEmpty()) {
        line.fail(error, err);
        return std::nullopt;
    }
    return options;
}
