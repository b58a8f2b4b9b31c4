#pragma once

#include <QMap>
#include <QStringList>

/// The files, folders and links that unpacking an archive would leave on the disk, as unzip
/// makes them of the archive's items.
class UnpackedTree
{
public:
    enum Kind
    {
        Folder,
        File,
        Link
    };
    struct Node
    {
        Kind kind = Folder;
        quint64 item = 0; ///< the archive's item that it comes from; not set for a parent folder
    };

    /// How unzip takes an item.
    enum Outcome
    {
        Unpacked,
        Renamed,   ///< with a warning: its name was absolute or had ".." steps
        NotCreated ///< with an error
    };

    /// Unpacks one item more, over what lies there already. A @p name that ends in "/" is a folder.
    Outcome add(const QString& name, Kind kind, quint64 item);
    /// The length of all paths together.
    [[nodiscard]] qsizetype pathsLength() const { return m_pathsLength; }
    /// By their paths, which are relative.
    [[nodiscard]] const QMap<QString, Node>& nodes() const { return m_nodes; }

private:
    [[nodiscard]] bool addFolder(const QString& path, quint64 item);
    [[nodiscard]] bool addParents(const QStringList& steps);

    QMap<QString, Node> m_nodes;
    qsizetype m_pathsLength = 0;
};
