// Recorded inventories, as the publisher's companion reads them: the first byte chooses the format.
// Each machine is judged once; what is read of it was asked for; a second reading tells the same;
// what a line's head says is what the whole line says; a text that is JSON is read as JSON.

#include "fuzzing.h"

#include "companion/fleet/fleetreader.h"
#include "companion/fleet/inventoryformat.h"
#include "companion/fleet/jsonreader.h"
#include "companion/fleet/machineforecast.h"
#include "companion/fleet/osqueryrecord.h"

#include <QJsonDocument>
#include <QSet>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Keeps what is read.
class Keeper : public InventoryVisitor
{
public:
    Keeper(const CatalogueChange& change, QStringList& told) : m_change(change), m_told(told) {}

    void takeMachine(const MachineRecord& record) override
    {
        require("a machine is judged once", !m_machines.contains(record.machine));
        m_machines.insert(record.machine);
        QString text = record.machine;
        for (auto found = record.installed.cbegin(); found != record.installed.cend(); ++found) {
            require("what is read was asked for", m_change.filter.admits(found.key()));
            text += u'|' + found.key() + u'=' + found->version.value_or(u"?"_s);
        }
        const QList<RowForecast> rows = forecastMachine(m_change, record.installed);
        requireEqual("each entry has its row", rows.size(), m_change.entries.size());
        for (const RowForecast& row : rows) {
            const bool isUnknown =
                row.before == RowState::Unknown || row.after == RowState::Unknown;
            require("what is unknown has its reason", !isUnknown || row.gap != Gap::None);
            text += u'|' + rowStateText(row.after);
        }
        m_told.append(text);
    }
    void takeRefusal(const QString& machine, Refusal /*reason*/) override
    {
        require("what is refused is named", !machine.isEmpty());
        m_told.append(machine);
    }
    void endPiece(qint64 /*piece*/) override {}

private:
    const CatalogueChange& m_change;
    QStringList& m_told;
    QSet<QString> m_machines;
};

/// What the file tells, in the order of its reading, or why it is useless.
QStringList readFleet(const FleetFile& file, const CatalogueChange& change)
{
    const CsvColumns columns{u"m"_s, u"p"_s, {}, u"v"_s, u"i"_s, {}};
    FleetReader reader({file}, columns, 1);
    QStringList told;
    if (!reader.index() ||
        !reader.read(change.filter, [&] { return std::make_unique<Keeper>(change, told); })) {
        require("a failure has its reason", !reader.error().reason.isEmpty());
        return {reader.error().reason};
    }
    return told;
}

void requireHeads(const QByteArray& text, const NameFilter& filter)
{
    for (const QByteArray& part : text.split('\n')) {
        const auto line = readOsqueryLine(part, filter);
        const auto head = readOsqueryHead(part);
        require("a line that is whole has a head", !line || head);
        if (line) {
            requireEqual("the head has the line's kind", head->kind, line->kind);
            requireEqual("the head has the line's machine", head->machine, line->machine);
            requireEqual("the head has the line's time", head->time, line->time);
        }
    }
}

void requireJson(const QByteArray& text)
{
    JsonReader reader(text);
    reader.skip();
    require("what is JSON is read as JSON",
            QJsonDocument::fromJson(text).isNull() || reader.isAtEnd());
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const CatalogueChange change(
        readOffer("Name,Version,Release date,Filename,Ignored\nS,1,,,0\nGo,2,,,0\n", u","_s),
        readOffer("Name,Version,Release date,Filename,Ignored\nS,2,,,0\nS 2,1,,,0\n", u","_s),
        false);
    static const QString path = privateFolder() + "mac"_L1;
    if (size == 0) {
        return 0;
    }
    const auto format = static_cast<InventoryFormat>(data[0] % formatNames().size());
    const QByteArray text(reinterpret_cast<const char*>(data) + 1, qsizetype(size) - 1);
    (void)recognisedFormat(text);
    requireJson(text);
    requireHeads(text, change.filter);

    writeFile(path, text);
    const FleetFile file{path, format, 0, text.size()};
    requireEqual("a second reading tells the same", readFleet(file, change),
                 readFleet(file, change));
    return 0;
}
