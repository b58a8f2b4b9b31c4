#include "support/heldserver.h"

#include <QNetworkProxyFactory>
#include <QTcpSocket>

#include <memory>

using namespace Qt::Literals::StringLiterals;

HeldServer::HeldServer()
{
    QNetworkProxyFactory::setUseSystemConfiguration(false);
    if (!listen(QHostAddress::LocalHost)) {
        qFatal("cannot listen: %s", qUtf8Printable(errorString()));
    }
}

QString HeldServer::url(const QString& path) const
{
    return u"http://127.0.0.1:%1/"_s.arg(serverPort()) + path;
}

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

void HeldServer::incomingConnection(qintptr handle)
{
    auto* socket = new QTcpSocket(this);
    socket->setSocketDescriptor(handle);
    auto head = std::make_shared<QByteArray>();
    connect(socket, &QTcpSocket::readyRead, this, [this, socket, head] {
        *head += socket->readAll();
        if (head->contains("\r\n\r\n")) {
            const QString path = QString::fromUtf8(head->split(' ').value(1)).mid(1);
            m_waiting[path].append(socket);
            head->clear();
        }
    });
    connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
        for (QList<QTcpSocket*>& sockets : m_waiting) {
            sockets.removeOne(socket);
        }
        socket->deleteLater();
    });
}
