#pragma once

#include "companion/fleet/installed.h"

#include <QByteArray>
#include <QStringList>
#include <QTemporaryDir>

/// Files of a made fleet, for as long as the object lives.
class FleetSample
{
public:
    /// Writes a file below the folder; returns its path.
    QString write(const QString& name, const QByteArray& content) const;
    [[nodiscard]] QString path() const { return m_folder.path(); }

    /// A catalogue of "Name,Version" lines.
    [[nodiscard]] static QByteArray catalogue(const QByteArrayList& entries);
    /// A line of osquery's results log with all that is installed: "Synth 1.0" for an application
    /// below /Applications and its version, the name up to the last blank.
    [[nodiscard]] static QByteArray snapshot(const QString& machine, const QStringList& installed,
                                             qint64 time = 1'772'359'200);
    /// A line of it with one application that came or went.
    [[nodiscard]] static QByteArray change(const QString& machine, const QString& action,
                                           const QString& installed, qint64 time, int counter);

private:
    QTemporaryDir m_folder;
};
