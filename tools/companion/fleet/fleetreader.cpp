#include "companion/fleet/fleetreader.h"

#include "companion/fleet/changehistory.h"
#include "companion/fleet/inventoryfile.h"
#include "companion/fleet/piecesource.h"

#include <QMutexLocker>

#include <algorithm>
#include <thread>
#include <utility>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

RefusedFile severalRecords()
{
    return {u"-"_s,
            u"several records of one machine; write them into a file, which can be read twice"_s};
}

using LineTaker = std::function<void(QByteArrayView line, qint64 offset)>;

void forEachLine(const Piece& piece, const LineTaker& take)
{
    const QByteArrayView lines(piece.lines);
    for (qsizetype begin = 0; begin < lines.size();) {
        const qsizetype newline = lines.indexOf('\n', begin);
        const qsizetype end = newline < 0 ? lines.size() : newline;
        const QByteArrayView line = lines.sliced(begin, end - begin);
        if (!line.trimmed().isEmpty()) {
            take(line, piece.offset + begin);
        }
        begin = end + 1;
    }
}

RefusedFile missingColumn(const FleetFile& file, const CsvInventory& table)
{
    return {file.path, u"no column '%1'"_s.arg(table.missingColumn())};
}

bool isTable(const FleetFile& file)
{
    return file.format == InventoryFormat::Csv || file.format == InventoryFormat::IntuneCsv;
}

/// What all threads of a reading share.
struct Shared
{
    const QList<FleetFile>& files;
    const CsvColumns& columns;
    RecordIndex& index;
    ChangeHistory history;
    RefusedFile error; ///< the first that makes the whole reading useless
    QMutex mutex;      ///< of all of these but the first two

    Shared(const QList<FleetFile>& fleetFiles, const CsvColumns& csvColumns,
           RecordIndex& recordIndex)
        : files(fleetFiles)
        , columns(csvColumns)
        , index(recordIndex)
    {}

    [[nodiscard]] CsvColumns columnsOf(const FleetFile& file) const
    {
        return file.format == InventoryFormat::IntuneCsv ? intuneColumns() : columns;
    }

    /// @p line with the machine that the file is about where the line names none.
    [[nodiscard]] static std::optional<OsqueryLine> named(std::optional<OsqueryLine> line,
                                                          const FleetFile& file)
    {
        if (line && line->machine.isEmpty()) {
            line->machine = file.machine();
        }
        return line;
    }

    void setError(const RefusedFile& first)
    {
        const QMutexLocker locker(&mutex);
        if (error.reason.isEmpty()) {
            error = first;
        }
    }
};

/// Notes where each machine's records lie.
class Indexer
{
public:
    explicit Indexer(Shared& shared) : m_shared(shared) {}

    void take(const Piece& piece)
    {
        const FleetFile& file = m_shared.files[piece.file];
        if (file.format == InventoryFormat::OsqueryLines) {
            forEachLine(piece, [&](QByteArrayView line, qint64 offset) {
                takeLine(line, {piece.file, offset});
            });
        } else if (isTable(file)) {
            takeTable(file, piece.file);
        } else if (isOfOneMachine(file.format)) {
            see(file.machine(), file.time, {piece.file, 0});
        } else {
            takeFile(file, piece.file);
        }
    }

private:
    void see(const QString& machine, qint64 time, RecordPlace place)
    {
        const QMutexLocker locker(&m_shared.mutex);
        m_shared.index.see(machine, time, place);
    }

    void takeLine(QByteArrayView text, RecordPlace place)
    {
        const std::optional<OsqueryLine> line =
            m_shared.named(readOsqueryHead(text), m_shared.files[place.file]);
        if (line && line->kind == OsqueryLine::Snapshot) {
            see(line->machine, line->time, place);
        } else if (line && line->kind == OsqueryLine::Change) {
            const QMutexLocker locker(&m_shared.mutex);
            m_shared.index.seeChange(line->machine, line->time);
        }
    }

    void takeFile(const FleetFile& file, int number)
    {
        QFile device;
        const QByteArray bytes = file.open(device) ? device.readAll() : QByteArray();
        const FiledInventories found = readInventories(file.format, bytes, NameFilter());
        for (qsizetype i = 0; i < found.inventories.size(); ++i) {
            const FiledInventory& inventory = found.inventories[i];
            see(inventory.machine, inventory.time.value_or(file.time), {number, i});
        }
    }

    void takeTable(const FleetFile& file, int number)
    {
        QFile device;
        if (!file.open(device)) {
            return; // the reading tells
        }
        CsvInventory table(device, m_shared.columnsOf(file));
        if (!table.missingColumn().isEmpty()) {
            m_shared.setError(missingColumn(file, table));
        }
        QString last;
        while (table.next()) {
            if (const QString machine = table.machine(); machine != last) {
                if (!machine.isEmpty()) {
                    see(machine, file.time, {number, 0});
                }
                last = machine;
            }
        }
    }

    Shared& m_shared;
};

/// Reads the records that count and hands them on.
class RecordReader
{
public:
    RecordReader(Shared& shared, const NameFilter& filter, InventoryVisitor& visitor)
        : m_shared(shared)
        , m_filter(filter)
        , m_visitor(visitor)
    {}

    void take(const Piece& piece)
    {
        const FleetFile& file = m_shared.files[piece.file];
        if (file.format == InventoryFormat::OsqueryLines) {
            forEachLine(piece, [&](QByteArrayView line, qint64 offset) {
                takeLine(file, line, {piece.file, offset});
            });
        } else if (isTable(file)) {
            takeTable(file, piece.file);
        } else {
            takeFile(file, piece.file);
        }
        m_visitor.endPiece(piece.number);
    }

private:
    /// How many blocks the record at @p place has when it is to be judged, else 0. What can be read
    /// once only is judged as it comes.
    int blocksToJudge(const FleetFile& file, const QString& machine, RecordPlace place)
    {
        QMutexLocker locker(&m_shared.mutex);
        const auto known = m_shared.index.sighting(machine);
        if (!file.isStandardInput()) {
            return m_shared.index.counts(machine, place) ? known->blocks : 0;
        }
        m_shared.index.see(machine, 0, place);
        if (known && known->blocks > 0) {
            locker.unlock();
            m_shared.setError(severalRecords());
        }
        return 1;
    }

    bool hasChanges(const FleetFile& file, const QString& machine)
    {
        const QMutexLocker locker(&m_shared.mutex);
        const auto known = m_shared.index.sighting(machine);
        return !file.isStandardInput() && known && known->changeTime;
    }

    void takeLine(const FleetFile& file, QByteArrayView text, RecordPlace place)
    {
        const std::optional<OsqueryLine> line =
            m_shared.named(readOsqueryLine(text, m_filter), file);
        if (!line) {
            m_visitor.takeRefusal(file.path + " at byte "_L1 + QString::number(place.offset),
                                  Refusal::Damaged);
        } else if (line->kind == OsqueryLine::Change ||
                   (line->kind == OsqueryLine::Snapshot && hasChanges(file, line->machine))) {
            const QMutexLocker locker(&m_shared.mutex);
            if (file.isStandardInput()) {
                m_shared.index.seeChange(line->machine, line->time);
            }
            m_shared.history.add(*line, place);
        } else if (line->kind == OsqueryLine::Snapshot &&
                   blocksToJudge(file, line->machine, place) > 0) {
            m_visitor.takeMachine({line->machine, Grade::Exact, installedOf(line->added)});
        }
    }

    void takeFile(const FleetFile& file, int number)
    {
        // A file of one machine that is not the newest need not even be read.
        if (isOfOneMachine(file.format) && blocksToJudge(file, file.machine(), {number, 0}) == 0) {
            return;
        }
        QFile device;
        const QByteArray bytes = file.open(device) ? device.readAll() : QByteArray();
        const FiledInventories found = readInventories(file.format, bytes, m_filter);
        for (qsizetype i = 0; i < found.inventories.size(); ++i) {
            takeInventory(file, found.inventories[i], {number, i});
        }
        if (!found.isWhole) {
            const QString& machine = found.damagedMachine;
            m_visitor.takeRefusal(isOfOneMachine(file.format) ? file.machine()
                                  : machine.isEmpty()         ? file.path
                                                              : machine,
                                  Refusal::Damaged);
        }
    }

    void takeInventory(const FleetFile& file, const FiledInventory& inventory, RecordPlace place)
    {
        if (isOfOneMachine(file.format)) {
            m_visitor.takeMachine({file.machine(), inventory.grade, inventory.installed});
        } else if (blocksToJudge(file, inventory.machine, place) > 0) {
            m_visitor.takeMachine({inventory.machine, inventory.grade, inventory.installed});
        }
    }

    void takeTable(const FleetFile& file, int number);
    /// Judges one block of a machine's rows, or keeps it when another one follows. Rows without a
    /// machine are left out.
    void takeBlock(const FleetFile& file, int number, const QString& machine,
                   QList<RecordedApplication>& rows,
                   QMap<QString, QList<RecordedApplication>>& scattered);

    Shared& m_shared;
    const NameFilter& m_filter;
    InventoryVisitor& m_visitor;
};

void RecordReader::takeTable(const FleetFile& file, int number)
{
    QFile device;
    if (!file.open(device)) {
        m_visitor.takeRefusal(file.path, Refusal::Damaged);
        return;
    }
    CsvInventory table(device, m_shared.columnsOf(file));
    QMap<QString, QList<RecordedApplication>> scattered;
    QList<RecordedApplication> rows;
    QString machine;
    bool hasNameless = false; // a row that names no machine
    while (table.next()) {
        if (const QString next = table.machine(); next != machine) {
            takeBlock(file, number, machine, rows, scattered);
            machine = next;
        }
        hasNameless = hasNameless || machine.isEmpty();
        if (const RecordedApplication row = table.application();
            !listedName(row.path, m_filter).isEmpty()) {
            rows.append(row);
        }
    }
    if (!table.missingColumn().isEmpty()) {
        m_shared.setError(missingColumn(file, table));
        return;
    }
    if (table.isCutShort()) {
        scattered.remove(machine);
    } else {
        takeBlock(file, number, machine, rows, scattered);
    }
    for (auto entry = scattered.cbegin(); entry != scattered.cend(); ++entry) {
        m_visitor.takeMachine(
            {entry.key(), m_shared.columnsOf(file).grade(), installedOf(entry.value())});
    }
    if (table.isCutShort() && !machine.isEmpty()) {
        m_visitor.takeRefusal(machine, Refusal::Damaged);
    } else if (table.isCutShort() || hasNameless) {
        m_visitor.takeRefusal(file.path, Refusal::Damaged);
    }
}

void RecordReader::takeBlock(const FleetFile& file, int number, const QString& machine,
                             QList<RecordedApplication>& rows,
                             QMap<QString, QList<RecordedApplication>>& scattered)
{
    const QList<RecordedApplication> block = std::exchange(rows, {});
    const int blocks = machine.isEmpty() ? 0 : blocksToJudge(file, machine, {number, 0});
    if (blocks > 1) {
        scattered[machine] += block;
    } else if (blocks == 1) {
        m_visitor.takeMachine({machine, m_shared.columnsOf(file).grade(), installedOf(block)});
    }
}

/// Lets @p threads threads run @p work, each with its number.
void runThreads(int threads, const std::function<void(int)>& work)
{
    std::vector<std::thread> running;
    for (int thread = 1; thread < threads; ++thread) {
        running.emplace_back(work, thread);
    }
    work(0);
    for (std::thread& thread : running) {
        thread.join();
    }
}

} // namespace

FleetReader::FleetReader(QList<FleetFile> files, CsvColumns columns, int threads)
    : m_files(std::move(files))
    , m_columns(std::move(columns))
    , m_threads(threads)
{
    for (const FleetFile& file : std::as_const(m_files)) {
        m_bytesToRead += file.size;
    }
    m_bytesToRead *= 2;
}

bool FleetReader::index()
{
    Shared shared(m_files, m_columns, m_index);
    PieceSource source(m_files, PieceSource::Reading::First);
    runThreads(m_threads, [&](int) {
        Indexer indexer(shared);
        while (const auto piece = source.next()) {
            indexer.take(*piece);
            noteRead(*piece);
        }
    });
    m_error = source.error().reason.isEmpty() ? shared.error : source.error();
    return m_error.reason.isEmpty();
}

bool FleetReader::read(const NameFilter& filter,
                       const std::function<std::unique_ptr<InventoryVisitor>()>& makeVisitor)
{
    Shared shared(m_files, m_columns, m_index);
    PieceSource source(m_files, PieceSource::Reading::Last);
    std::vector<std::unique_ptr<InventoryVisitor>> visitors;
    visitors.reserve(size_t(m_threads));
    for (int thread = 0; thread < m_threads; ++thread) {
        visitors.push_back(makeVisitor());
    }
    std::atomic<qint64> pieces = 0;
    runThreads(m_threads, [&](int thread) {
        RecordReader reader(shared, filter, *visitors[size_t(thread)]);
        while (const auto piece = source.next()) {
            reader.take(*piece);
            noteRead(*piece);
            ++pieces;
        }
    });
    m_error = source.error().reason.isEmpty() ? shared.error : source.error();
    if (m_error.reason.isEmpty()) {
        replay(shared.history, *visitors.front());
        visitors.front()->endPiece(pieces);
    }
    return m_error.reason.isEmpty();
}

void FleetReader::replay(const ChangeHistory& history, InventoryVisitor& visitor)
{
    for (const QString& machine : history.machines()) {
        const auto known = m_index.sighting(machine);
        // A newer record that is whole in itself has been judged.
        if (!known || !known->changeTime ||
            (known->blocks > 0 && known->time > *known->changeTime && !isOfLines(known->place))) {
            continue;
        }
        if (known->blocks > 0 && readsStandardInput()) {
            m_error = severalRecords();
            return;
        }
        if (const auto applications = history.applications(machine)) {
            visitor.takeMachine({machine, Grade::Exact, installedOf(*applications)});
        } else {
            visitor.takeRefusal(machine, Refusal::NoFullState);
        }
    }
}

bool FleetReader::readsStandardInput() const
{
    return std::any_of(m_files.cbegin(), m_files.cend(),
                       [](const FleetFile& file) { return file.isStandardInput(); });
}

bool FleetReader::isOfLines(RecordPlace place) const
{
    return m_files[place.file].format == InventoryFormat::OsqueryLines;
}

void FleetReader::noteRead(const Piece& piece)
{
    const qint64 size = piece.lines.isEmpty() ? m_files[piece.file].size : piece.lines.size();
    m_bytesRead.fetch_add(size, std::memory_order_relaxed);
}
