#pragma once

#include <QString>

#include <functional>
#include <optional>

/// The application that an installer brings, of several the one that its entry stands for.
struct InstallableBundle
{
    QString name;                   ///< by which the client's scan would know it
    std::optional<QString> version; ///< as the client would read it; nothing when not known
    QString identifier;             ///< empty when not known

    [[nodiscard]] bool operator==(const InstallableBundle& other) const = default;
};

/// What lies in the publisher's folder under an entry's file name.
struct EntryFile
{
    std::optional<qint64> size;              ///< nothing when there is no such file
    std::optional<InstallableBundle> bundle; ///< nothing when not known

    [[nodiscard]] bool operator==(const EntryFile& other) const = default;
};

/// Reads @p file in @p folder, which is that of the entry named @p name. What not every processor's
/// client would install is not known. Asks @p goesOn now and then, and gives up when that says no.
[[nodiscard]] EntryFile readEntryFile(
    const QString& folder, const QString& file, const QString& name,
    const std::function<bool()>& goesOn = [] { return true; });
