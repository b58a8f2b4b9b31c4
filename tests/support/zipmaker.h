#pragma once

#include <QByteArray>
#include <QString>

/// A .zip archive made item by item, with whatever each item's head can say.
class ZipMaker
{
public:
    enum System
    {
        Dos = 0,
        Unix = 3,
        Ntfs = 10,
        Darwin = 19
    };
    struct Item
    {
        QByteArray name; ///< ends in "/" for a folder
        QByteArray content = "x";
        quint32 mode = 0100644; ///< with the type's bits, for Unix
        System system = Unix;
        quint16 method = 0; ///< as the head says; the content is always stored
        bool isEncrypted = false;
        bool isUtf8 = false; ///< marks the name so
    };

    /// The archive comes behind @p start, and counts from there, as one does that unpacks itself.
    explicit ZipMaker(const QByteArray& start = {}) : m_body(start) {}
    void add(const Item& item);
    void addLink(const QByteArray& name, const QByteArray& target);
    [[nodiscard]] QByteArray bytes() const;

private:
    QByteArray m_body;
    QByteArray m_directory;
    quint16 m_count = 0;
};

/// An archive of empty-handed files and, ending in "/", folders.
[[nodiscard]] QByteArray zipOf(const QList<QByteArray>& names);
