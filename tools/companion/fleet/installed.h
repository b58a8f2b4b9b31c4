#pragma once

#include "companion/fleet/namefilter.h"
#include "companion/preview/inventory.h"

#include <QMap>

#include <optional>

/// How well a way of recording tells what the client would find on the machine.
enum class Grade
{
    Exact,      ///< path and the version that the client reads
    AsReported, ///< path, but the version may be another of the bundle's
    Assumed     ///< no path: place and folder name are assumed
};
inline constexpr int gradeCount = 3;

/// Why the version of an installed application is not known.
enum class Gap
{
    None,
    NoVersion,  ///< the record has none, or an empty one, which the client may find elsewhere
    TwoBundles, ///< two bundles of one name and different versions; the client takes the last found
};
inline constexpr int gapCount = 3;

/// One application as an inventory records it.
struct RecordedApplication
{
    QString path;
    QString version; ///< raw, as the bundle or the report has it
    QString identifier;

    [[nodiscard]] bool operator==(const RecordedApplication& other) const = default;
};

/// What is known of an application on one machine.
struct InstalledApplication
{
    std::optional<QString> version; ///< as the client would tell it; nothing when not known
    QString identifier;             ///< the bundle's; empty when not known or not the same for two
    Gap gap = Gap::None;
};

/// By the names that the client gives them.
using InstalledApplications = QMap<QString, InstalledApplication>;

/// Whether the client's scan would come across a bundle at @p path: its place, its depth and its
/// ending.
[[nodiscard]] bool isScanned(const QString& path);

/// Where an application named @p name lies if it lies where most do.
[[nodiscard]] QString assumedPath(const QString& name);

/// The name that the client gives to the bundle at @p path; empty when it does not list it, or when
/// @p filter does not admit it.
[[nodiscard]] QString listedName(const QString& path, const NameFilter& filter);

/// What @p recorded tells of the machine, by the client's reading of paths and versions.
[[nodiscard]] InstalledApplications installedOf(const QList<RecordedApplication>& recorded);

/// The same of a client's own inventory, as far as @p filter admits its applications.
[[nodiscard]] InstalledApplications installedOf(const Inventory& inventory,
                                                const NameFilter& filter);

/// @p applications as the client's inventory; valid as long as they are.
[[nodiscard]] Inventory inventoryOf(const InstalledApplications& applications);
