#pragma once

#include "companion/fleet/csvreader.h"
#include "companion/fleet/installed.h"

/// The titles of a table's columns; empty for those that it does not have.
struct CsvColumns
{
    QString machine;
    QString path;
    QString name; ///< of an application whose path the table does not tell
    QString version;
    QString identifier;
    QString platform; ///< of machines that may be no Macs

    [[nodiscard]] bool isUsable() const
    {
        return !machine.isEmpty() && !version.isEmpty() && path.isEmpty() != name.isEmpty();
    }
    [[nodiscard]] Grade grade() const { return path.isEmpty() ? Grade::Assumed : Grade::Exact; }
};

/// Reads "machine=Device,path=Path,version=Version,id=Identifier", or with "name=" in the place of
/// "path="; nothing when that is not what it is.
[[nodiscard]] std::optional<CsvColumns> readCsvColumns(const QString& text);

/// The columns of Intune's AppInvRawData. Its others, people's names and addresses among them, are
/// not read.
[[nodiscard]] CsvColumns intuneColumns();

/// Reads a table of applications row by row.
class CsvInventory
{
public:
    /// Reads the header. @p device must outlive this.
    CsvInventory(QIODevice& device, const CsvColumns& columns);

    /// The title of a column that the table lacks; empty when it has all.
    [[nodiscard]] const QString& missingColumn() const { return m_missing; }
    /// Whether the table ends within a row.
    [[nodiscard]] bool isCutShort() const { return m_isCutShort || m_reader.isCutShort(); }

    /// Goes to the next row that is about a Mac.
    [[nodiscard]] bool next();
    // Of the row:
    [[nodiscard]] QString machine() const { return field(m_machine); }
    [[nodiscard]] RecordedApplication application() const;

private:
    [[nodiscard]] QString field(qsizetype place) const;

    CsvReader m_reader;
    qsizetype m_machine = -1;
    qsizetype m_path = -1;
    qsizetype m_name = -1;
    qsizetype m_version = -1;
    qsizetype m_identifier = -1;
    qsizetype m_platform = -1;
    qsizetype m_titles = 0;
    bool m_isCutShort = false; ///< in the last row
    QString m_missing;         ///< title
};
