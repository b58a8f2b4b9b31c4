#pragma once

#include "companion/fleet/fleetreader.h"
#include "companion/fleet/machineforecast.h"
#include "randomcatalogues.h"
#include "support/modalbox.h"
#include "support/windowsetup.h"

#include <QTemporaryDir>

/// What a forecast says of one machine, beside two tables of a real window on that machine: one
/// with the published catalogue, one with the new one. The machine's inventory is recorded in each
/// format that can hold it.
class ForecastComparison
{
public:
    /// Everything random follows from @p seed.
    explicit ForecastComparison(quint32 seed);

    /// Makes @p cases machines with two catalogues each and returns the first difference between
    /// window and forecast; empty when there is none.
    [[nodiscard]] QString firstDifference(int cases);
    /// How many rows have been compared so far, by "before -> after".
    [[nodiscard]] QHash<QString, int> rowsByTurn() const { return m_rowsByTurn; }

private:
    void installRandomly();
    [[nodiscard]] QString compareOnce();
    [[nodiscard]] bool load(const QByteArray& catalogue);
    /// The inventory in the formats, each in a file of its own.
    [[nodiscard]] QStringList record(const QByteArray& log) const;
    [[nodiscard]] QString write(const QString& name, const QByteArray& content) const;
    [[nodiscard]] QString compare(const CatalogueChange& change, const QString& file,
                                  const QStringList& before, const QStringList& after);
    [[nodiscard]] QString compareRow(const EntryChange& entry, const RowForecast& row,
                                     const QStringList& before, const QStringList& after);

    RandomCatalogues m_random;
    WindowSetup m_setup;
    BoxAnswerer m_boxes{QMessageBox::Ok};
    QTemporaryDir m_records;
    QList<RecordedApplication> m_installed;
    QHash<QString, int> m_rowsByTurn;
};
