#pragma once

#include <QByteArray>

/// The title line of a catalogue.
inline const QByteArray catalogueTitles = "Name,Version,Release date,Filename,Ignored\n";

/// The line of an application that is offered.
[[nodiscard]] inline QByteArray catalogueLine(const QByteArray& name, const QByteArray& version,
                                              const QByteArray& releaseDate,
                                              const QByteArray& fileName)
{
    return name + ',' + version + ',' + releaseDate + ',' + fileName + ",0\n";
}
