#include "companion/fleet/orderedoutput.h"

#include <QMutexLocker>
#include <QTextStream>

void OrderedOutput::finish(qint64 piece, const QString& out, const QString& err)
{
    const QMutexLocker locker(&m_mutex);
    m_waiting.insert(piece, {out, err});
    while (m_waiting.contains(m_next)) {
        const Said said = m_waiting.take(m_next++);
        m_out << said.out;
        m_err << said.err;
    }
    m_out.flush();
    m_err.flush();
}
