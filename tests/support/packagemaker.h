#pragma once

#include <QByteArray>
#include <QList>

/// One file of a package's payload or of a package.
struct PackedFile
{
    QByteArray path;
    QByteArray content;
    quint32 mode = 0100644; ///< with the type's bits
};

/// The property list of an application, as XML.
[[nodiscard]] QByteArray bundleList(const QByteArray& version,
                                    const QByteArray& identifier = "org.example.tool");
/// The begin of a program for Apple's or Intel's processors.
[[nodiscard]] QByteArray armProgram();
[[nodiscard]] QByteArray intelProgram();
/// The files of an application, whose program is @p program.
[[nodiscard]] QList<PackedFile> bundleFiles(const QByteArray& name, const QByteArray& list,
                                            const QByteArray& program);

/// A flat package that puts @p payload into /Applications.
[[nodiscard]] QByteArray packageOf(const QList<PackedFile>& payload);
/// A package that brings nothing, without the last @p payloadSize bytes, which are its payload.
[[nodiscard]] QByteArray packageStart(qint64 payloadSize);
