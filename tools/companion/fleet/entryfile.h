#pragma once

#include <QString>

#include <optional>

/// The application that the client would open from an installer.
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

/// Reads the file named @p name in @p folder.
[[nodiscard]] EntryFile readEntryFile(const QString& folder, const QString& name);
