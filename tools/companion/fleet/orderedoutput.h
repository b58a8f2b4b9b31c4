#pragma once

#include <QHash>
#include <QMutex>
#include <QString>

class QTextStream;

/// What several threads say about pieces of work, written in the pieces' order.
class OrderedOutput
{
public:
    /// Both must outlive this, and nobody else may write to them meanwhile.
    OrderedOutput(QTextStream& out, QTextStream& err) : m_out(out), m_err(err) {}

    /// Takes what is said of @p piece; pieces are numbered from 0, each ends once.
    void finish(qint64 piece, const QString& out, const QString& err);

private:
    struct Said
    {
        QString out;
        QString err;
    };

    QTextStream& m_out;
    QTextStream& m_err;
    QMutex m_mutex;
    QHash<qint64, Said> m_waiting; ///< for a piece before
    qint64 m_next = 0;
};
