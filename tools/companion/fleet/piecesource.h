#pragma once

#include "companion/fleet/fleetfiles.h"

#include <QFile>
#include <QMutex>

/// A piece of work for one thread: some whole lines of a long file, or a file that is read by
/// itself.
struct Piece
{
    qint64 number = 0; ///< from 0, in the files' order
    int file = 0;
    qint64 offset = 0; ///< of the lines in the file
    QByteArray lines;  ///< of a file of lines
};

/// Deals out a fleet's files to several threads, piece by piece.
class PieceSource
{
public:
    /// What can be read once only is left out where the files are read for the first of two times.
    enum class Reading
    {
        First,
        Last
    };

    /// @p files must outlive the source.
    PieceSource(const QList<FleetFile>& files, Reading reading) : m_files(files), m_reading(reading)
    {}

    /// Nothing at the end, or after an error.
    [[nodiscard]] std::optional<Piece> next();
    [[nodiscard]] const RefusedFile& error() const { return m_error; }

private:
    const QList<FleetFile>& m_files;
    Reading m_reading;
    QMutex m_mutex;
    QFile m_open;   ///< the file of lines that pieces are cut from
    int m_next = 0; ///< file
    qint64 m_offset = 0;
    qint64 m_pieces = 0;
    RefusedFile m_error;
};
