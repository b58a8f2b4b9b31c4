#include "companion/fleet/piecesource.h"

#include <QMutexLocker>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Some machines' lines: much more than what a thread costs to wake, little in memory.
constexpr qint64 pieceSize = 262'144;

} // namespace

std::optional<Piece> PieceSource::next()
{
    const QMutexLocker locker(&m_mutex);
    while (m_error.reason.isEmpty()) {
        if (m_open.isOpen() && !m_open.atEnd()) {
            Piece piece{m_pieces++, m_next - 1, m_offset, m_open.read(pieceSize)};
            if (!piece.lines.endsWith('\n')) {
                piece.lines += m_open.readLine();
            }
            m_offset += piece.lines.size();
            return piece;
        }
        m_open.close();
        if (m_next == m_files.size()) {
            return std::nullopt;
        }
        const FleetFile& file = m_files[m_next++];
        if (file.isStandardInput() && m_reading == Reading::First) {
            continue;
        }
        if (file.format != InventoryFormat::OsqueryLines) {
            return Piece{m_pieces++, m_next - 1, 0, {}};
        }
        m_offset = 0;
        if (!file.open(m_open)) {
            m_error = {file.path, m_open.errorString()};
        }
    }
    return std::nullopt;
}
