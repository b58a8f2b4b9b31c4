#pragma once

#include "companion/fleet/csvinventory.h"
#include "companion/fleet/fleetfiles.h"
#include "companion/fleet/recordindex.h"

#include <atomic>
#include <functional>
#include <memory>

class ChangeHistory;
struct Piece;

/// Why a machine cannot be judged at all.
enum class Refusal
{
    Damaged,    ///< the record is not whole
    NoFullState ///< changes are recorded, but nothing of what they change
};
inline constexpr int refusalCount = 2;

/// A machine's inventory, as far as a NameFilter admits its applications.
struct MachineRecord
{
    QString machine;
    Grade grade = Grade::Exact;
    InstalledApplications installed;
};

/// Takes what is read. Each belongs to one thread.
class InventoryVisitor
{
public:
    virtual ~InventoryVisitor() = default;

    virtual void takeMachine(const MachineRecord& record) = 0;
    /// @p machine is the machine, or where its record lies when even that is not known.
    virtual void takeRefusal(const QString& machine, Refusal reason) = 0;
    /// All of one piece of work has been taken. Pieces are numbered from 0, and none is left out,
    /// but they end in any order.
    virtual void endPiece(qint64 piece) = 0;
};

/// Reads a fleet's inventories one by one, in several threads, and forgets them. What it keeps is
/// the files' names, some bytes for each machine, and the applications that matter of machines that
/// log changes.
class FleetReader
{
public:
    FleetReader(QList<FleetFile> files, CsvColumns columns, int threads);

    /// Finds out which record of each machine counts; false, with error() set, when a file cannot
    /// be read.
    [[nodiscard]] bool index();
    /// Hands every machine's newest record to the visitors that @p makeVisitor makes, one for each
    /// thread, from this thread; false, with error() set, when the records cannot be told apart.
    [[nodiscard]] bool read(const NameFilter& filter,
                            const std::function<std::unique_ptr<InventoryVisitor>()>& makeVisitor);

    [[nodiscard]] const RefusedFile& error() const { return m_error; }
    /// How many bytes both passes will read, and have read. To be asked from any thread.
    [[nodiscard]] qint64 bytesToRead() const { return m_bytesToRead; }
    [[nodiscard]] qint64 bytesRead() const { return m_bytesRead.load(std::memory_order_relaxed); }

private:
    /// Judges the machines that log changes.
    void replay(const ChangeHistory& history, InventoryVisitor& visitor);
    [[nodiscard]] bool readsStandardInput() const;
    [[nodiscard]] bool isOfLines(RecordPlace place) const;
    void noteRead(const Piece& piece);

    const QList<FleetFile> m_files; // several threads read it, so that it must not detach
    CsvColumns m_columns;
    int m_threads;
    RecordIndex m_index;
    RefusedFile m_error;
    qint64 m_bytesToRead = 0;
    std::atomic<qint64> m_bytesRead = 0;
};
