#include "support/heldserver.h"

#include <QTcpSocket>

using namespace Qt::Literals::StringLiterals;

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

QTcpSocket* HeldServer::oldest(const QString& path, TestLine at) const
{
    if (m_waiting.value(path).isEmpty()) {
        QTest::qFail(qPrintable("no request waits for "_L1 + path), at.file, at.line);
        return nullptr;
    }
    return m_waiting[path].constFirst();
}

void HeldServer::begin(const QString& path, qint64 length, TestLine at)
{
    QByteArray head = "HTTP/1.1 200 Status\r\nConnection: close\r\n";
    if (length >= 0) {
        head += "Content-Length: " + QByteArray::number(length) + "\r\n";
    }
    send(path, head + "\r\n", at);
}

void HeldServer::send(const QString& path, const QByteArray& bytes, TestLine at)
{
    if (QTcpSocket* socket = oldest(path, at)) {
        socket->write(bytes);
    }
}

void HeldServer::end(const QString& path, TestLine at)
{
    if (QTcpSocket* socket = oldest(path, at)) {
        m_waiting[path].removeFirst();
        socket->disconnectFromHost();
    }
}

void HeldServer::answer(const QString& path, const QByteArray& body, int status, TestLine at)
{
    send(path,
         "HTTP/1.1 " + QByteArray::number(status) + " Status\r\nContent-Length: " +
             QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body,
         at);
    end(path, at);
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
