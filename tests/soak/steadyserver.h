#pragma once

#include <QByteArray>
#include <QHash>
#include <QTcpServer>

/// An HTTP server on a free port of 127.0.0.1 that keeps nothing of what it was asked.
class SteadyServer : public QTcpServer
{
    Q_OBJECT

public:
    SteadyServer();

    /// "http://127.0.0.1:PORT/".
    [[nodiscard]] QString url() const;
    /// What a GET of "/" + @p path is answered with from now on; anything else is a 404.
    void serve(const QByteArray& path, const QByteArray& body) { m_bodies[path] = body; }

private:
    void answer(QTcpSocket* socket) const;

    QHash<QByteArray, QByteArray> m_bodies;
};
