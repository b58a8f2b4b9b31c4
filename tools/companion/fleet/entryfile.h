#pragma once

#include <QList>
#include <QString>

#include <functional>
#include <optional>

struct EntryChange;

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

/// The files of the new entries in their order, read by so many threads. Asks @p goesOn ten times a
/// second, telling how many have been read; when that says no, the others stay empty.
[[nodiscard]] QList<EntryFile> readEntryFiles(const QString& folder,
                                              const QList<EntryChange>& entries, int threads,
                                              const std::function<bool(qsizetype done)>& goesOn);
