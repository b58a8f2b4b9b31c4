#include "support/heldserver.h"

#include <QTcpSocket>

qsizetype HeldServer::waiting(const QString& path) const
{
    return m_waiting.value(path).size();
}

QStringList HeldServer::waitingPaths() const
{
    QStringList paths;
    for (auto sockets = m_waiting.cbegin(); sockets != m_waiting.cend(); ++sockets) {
        paths += QStringList(sockets->size(), sockets.key());
    }
    return paths;
}

QTcpSocket* HeldServer::oldest(const QString& path) const
{
    if (m_waiting.value(path).isEmpty()) {
        qFatal("no request for %s waits", qUtf8Printable(path));
    }
    return m_waiting[path].constFirst();
}

void HeldServer::begin(const QString& path, qint64 length)
{
    QByteArray head = "HTTP/1.1 200 Status\r\nConnection: close\r\n";
    if (length >= 0) {
        head += "Content-Length: " + QByteArray::number(length) + "\r\n";
    }
    oldest(path)->write(head + "\r\n");
}

void HeldServer::send(const QString& path, const QByteArray& bytes)
{
    oldest(path)->write(bytes);
}

void HeldServer::end(const QString& path)
{
    QTcpSocket* socket = oldest(path);
    m_waiting[path].removeFirst();
    socket->disconnectFromHost();
}

void HeldServer::answer(const QString& path, const QByteArray& body, int status)
{
    oldest(path)->write("HTTP/1.1 " + QByteArray::number(status) + " Status\r\nContent-Length: " +
                        QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
    end(path);
}

void HeldServer::respond(QTcpSocket* socket, const QString& target)
{
    m_waiting[target.mid(1)].append(socket);
    connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
        for (QList<QTcpSocket*>& sockets : m_waiting) {
            sockets.removeOne(socket);
        }
    });
}
