#include "soak/steadyserver.h"

#include <QNetworkProxyFactory>
#include <QTcpSocket>

using namespace Qt::Literals::StringLiterals;

SteadyServer::SteadyServer()
{
    // A proxy that the machine's settings name does not know this process's 127.0.0.1.
    QNetworkProxyFactory::setUseSystemConfiguration(false);
    if (!listen(QHostAddress::LocalHost)) {
        qFatal("cannot listen: %s", qUtf8Printable(errorString()));
    }
    connect(this, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket* socket = nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { answer(socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
}

QString SteadyServer::url() const
{
    return u"http://127.0.0.1:%1/"_s.arg(serverPort());
}

void SteadyServer::answer(QTcpSocket* socket) const
{
    // The head of a GET is one small packet on this machine.
    const QByteArray path = socket->readAll().split(' ').value(1).mid(1);
    const auto body = m_bodies.constFind(path);
    if (body == m_bodies.cend()) {
        socket->write("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    } else {
        socket->write("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body->size()) +
                      "\r\nConnection: close\r\n\r\n" + *body);
    }
    socket->disconnectFromHost();
}
