#pragma once

#include <QStringList>

#include <optional>

struct Inventory;

/// The installed application that a row stands for, as far as the inventory tells.
struct RowMatch
{
    /// None when there is none, several when an unknown version decides between them.
    QStringList applications;
    std::optional<QString> version; ///< empty when there is none, nothing when unknown

    [[nodiscard]] bool isInstalled() const { return !applications.isEmpty(); }
};

/// What the row named @p name stands for on the machine of @p inventory.
[[nodiscard]] RowMatch matchRow(const QString& name, const Inventory& inventory);

/// The order of the installed version and @p catalogueVersion, see compareVersions(); nothing when
/// nothing is installed or the version is unknown.
[[nodiscard]] std::optional<int> installedOrder(const RowMatch& match,
                                                const QString& catalogueVersion);
