#pragma once

#include "companion/archive/unpackedtree.h"
#include "companion/report/finding.h"
#include "install/installerchoice.h"

#include <memory>

struct zip;

/// The processors that the client tells apart.
[[nodiscard]] const QStringList& processors();

/// A .zip archive as the client unpacks it and looks for what to open. Reads the archive's
/// directory, and nothing else unless it is asked for.
class ArchiveContent
{
public:
    /// Reads the directory of the archive at @p path.
    explicit ArchiveContent(const QString& path);
    ~ArchiveContent();
    Q_DISABLE_COPY_MOVE(ArchiveContent)

    /// Why the directory cannot be read; empty when it can.
    [[nodiscard]] QString error() const { return m_error; }
    /// What keeps unzip from ending with 0, as far as the directory shows it.
    [[nodiscard]] const QList<Finding>& failures() const { return m_failures; }
    /// Whether the directory has more than is held here; then there is an error, too.
    [[nodiscard]] bool isBeyondLimits() const { return m_isBeyondLimits; }
    /// Bytes of all items unpacked, as the directory tells them.
    [[nodiscard]] quint64 unpackedSize() const { return m_unpackedSize; }
    /// Items whose first bytes cannot be unpacked. Reads some of each item.
    [[nodiscard]] QList<Finding> damages() const;
    /// What is wrong with the items' heads, mostly their names, although unzip ends with 0.
    [[nodiscard]] const QList<Finding>& headFindings() const { return m_headFindings; }
    /// What the client would choose from on a machine of that processor, best first; the paths are
    /// relative.
    [[nodiscard]] QList<InstallerCandidate> candidates(const QString& architecture) const;
    /// Items that would be candidates but for their names, as paths.
    [[nodiscard]] QStringList excluded() const;
    /// Whether a link stands at @p path.
    [[nodiscard]] bool isLink(const QString& path) const;
    /// What unzip would leave, by relative paths.
    [[nodiscard]] const QMap<QString, UnpackedTree::Node>& nodes() const { return m_tree.nodes(); }
    /// Whether a file is at @p path that unzip makes executable.
    [[nodiscard]] bool isExecutable(const QString& path) const;
    /// Whether @p path leads, over links as well, to something below the folder.
    [[nodiscard]] bool isThere(const QString& path) const;
    /// Links that lead out of the folder that the archive is unpacked into. Reads each link.
    [[nodiscard]] QStringList linksThatLeadOut() const;
    /// The bytes of the file at @p path; empty when there is none.
    [[nodiscard]] QByteArray content(const QString& path) const;

private:
    void readDirectory();
    void addItem(quint64 item);
    /// Looks at how unzip would write the item's name, @p shown, of a file system of kind
    /// @p system.
    void checkName(quint64 item, quint8 system, const QString& shown);
    [[nodiscard]] QString itemName(quint64 item) const;
    [[nodiscard]] QByteArray itemContent(quint64 item) const;
    /// Why the first bytes of the item cannot be unpacked; empty when they can, or when it is not
    /// known.
    [[nodiscard]] QString damageOf(quint64 item) const;
    /// Whether the text of the link at @p path leads out of the folder.
    [[nodiscard]] bool leadsOut(const QString& path, const UnpackedTree::Node& link) const;
    /// Whether the client's walk lists what lies at @p path: not hidden, and no link to nothing.
    [[nodiscard]] bool isListed(const QString& path, const UnpackedTree::Node& node) const;

    struct Closer
    {
        void operator()(zip* archive) const;
    };
    std::unique_ptr<zip, Closer> m_zip;
    QString m_error;
    bool m_isBeyondLimits = false;
    quint64 m_unpackedSize = 0;
    UnpackedTree m_tree;
    QList<Finding> m_failures;
    QList<Finding> m_headFindings;
};
