#pragma once

#include "companion/preview/inventory.h"

#include <QList>
#include <QStringList>

#include <optional>

class QByteArray;

/// A row as a window shows it. What the inventory does not tell is left open.
struct PreviewRow
{
    QString name;             ///< in the catalogue
    QString catalogueVersion; ///< in the third column
    /// The installed application that the row stands for: none when there is none, several when an
    /// unknown version decides between them.
    QStringList matches;
    std::optional<QString> installedVersion; ///< in the second column; nothing when unknown
    QString verdict;                         ///< in words; empty when unknown

    [[nodiscard]] bool operator==(const PreviewRow& other) const = default;
};

/// The rows that a client with @p inventory shows for the catalogue @p catalogue, in its order.
[[nodiscard]] QList<PreviewRow> previewRows(const QByteArray& catalogue, const QString& separator,
                                            const Inventory& inventory);

/// What becomes of one row when another catalogue is published.
struct RowChange
{
    std::optional<PreviewRow> before; ///< nothing when the row is new
    std::optional<PreviewRow> after;  ///< nothing when the row is gone
};

/// Which rows, by their names in the catalogue, stand for one installed application.
struct MatchChange
{
    QString application;
    QStringList before;
    QStringList after;
};

/// What a user sees change when one table replaces another.
struct PreviewDifference
{
    QList<RowChange> rows;      ///< that come, go or change their verdict; in the order of the new
                                ///< catalogue, those that go last
    QList<MatchChange> matches; ///< by application, ascending
};

[[nodiscard]] PreviewDifference previewDifference(const QList<PreviewRow>& before,
                                                  const QList<PreviewRow>& after);
