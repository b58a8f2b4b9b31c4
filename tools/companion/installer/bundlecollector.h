#pragma once

#include "companion/installer/installerfacts.h"

#include <QMap>
#include <QSet>

/// The files that an installer would put onto a disk, as one after another is told; of them it
/// keeps what is needed to know the applications below /Applications.
///
/// An application is what the client's scan would list: a folder whose name ends in ".app", three
/// levels down at most, and not inside another one's "Contents".
class BundleCollector
{
public:
    enum Kind
    {
        File,
        Folder,
        Link
    };
    struct Entry
    {
        QString path; ///< from "/", as it will lie on the disk; empty where it does not matter
        Kind kind = File;
        bool isExecutable = false;
        qint64 changed = 0;    ///< seconds since 1970; 0 when it is not told
        bool leadsOut = false; ///< its name has ".." steps or is no UTF-8: there is no path
    };

    /// Takes one entry; returns how many of the file's first bytes are wanted, which may be none.
    [[nodiscard]] qsizetype add(const Entry& entry);
    /// The first bytes of the file at @p path, after add() has asked for them.
    void setContent(const QString& path, const QByteArray& bytes);

    /// What is known of the applications, ascending by location.
    [[nodiscard]] QList<BundleFacts> bundles() const;
    /// Why not all of them are known: the installer is larger than this reads. Empty when they are.
    [[nodiscard]] QString limitReached() const { return m_limit; }

private:
    struct Program
    {
        QByteArray head;
        Kind kind = File;
        bool isExecutable = false;
    };
    struct Bundle
    {
        QString infoPlistPart; ///< "Contents/Info.plist" in its letters; empty when there is none
        QByteArray infoPlist;
        QByteArray wrappedInfoPlist;
        QHash<QString, Program> programs; ///< of Contents/MacOS, by name
        QSet<QString> copies;             ///< of what is a link in a framework
        QStringList links;                ///< on the way to what is read
        qint64 newest = 0;
    };

    [[nodiscard]] Bundle* bundleAt(const QString& location);
    [[nodiscard]] qsizetype addPart(Bundle& bundle, const QString& part, const Entry& entry);
    [[nodiscard]] qsizetype wanted(qsizetype bytes);
    static void setPart(Bundle& bundle, const QString& part, const QByteArray& bytes);
    [[nodiscard]] static BundleFacts factsOf(const QString& location, const Bundle& bundle);
    static void readPropertyList(const Bundle& bundle, BundleFacts& facts, QString& executable);
    static void readProgram(const Bundle& bundle, const QString& name, BundleFacts& facts);

    QMap<QString, Bundle> m_bundles;    ///< by location
    qsizetype m_bytesLeft = 67'108'864; ///< that are still kept
    QString m_limit;
};

/// The applications that a path below /Applications lies in or is, outermost first, by location.
[[nodiscard]] QStringList bundlesAround(const QString& path);
