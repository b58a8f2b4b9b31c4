#include "webserver.h"

#include "console.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString configuration = u"daemon off; master_process off; pid %1/nginx.pid; error_log stderr;"
                              "events {}"
                              "http { access_log off; sendfile on;"
                              " client_body_temp_path %1; proxy_temp_path %1; fastcgi_temp_path %1;"
                              " uwsgi_temp_path %1; scgi_temp_path %1;"
                              " server { listen 127.0.0.1:%2; root %1/www; } }"_s;

quint16 freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return probe.serverPort();
}

void makeReadable(const QString& path)
{
    QFile::setPermissions(path, QFile::permissions(path) | QFile::ReadOther | QFile::ExeOther);
}

} // namespace

WebServer::WebServer() : m_port(freePort())
{
    // A server that was started by root works as somebody else.
    makeReadable(m_folder.path());
    QDir(m_folder.path()).mkdir(u"www"_s);
    QFile file(m_folder.filePath(u"nginx.conf"_s));
    if (!file.open(QIODevice::WriteOnly)) {
        fail("cannot write "_L1 + file.fileName());
    }
    file.write(configuration.arg(m_folder.path(), QString::number(m_port)).toUtf8());
    file.close();
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(u"/usr/sbin/nginx"_s, {u"-p"_s, m_folder.path(), u"-c"_s, file.fileName()});

    QTcpSocket socket;
    const QDeadlineTimer deadline(10'000);
    do {
        if (deadline.hasExpired() || m_process.state() == QProcess::NotRunning) {
            fail(u"nginx does not answer; is nginx-light installed?"_s);
        }
        socket.connectToHost(QHostAddress::LocalHost, m_port);
    } while (!socket.waitForConnected(100));
}

WebServer::~WebServer()
{
    m_process.terminate();
    m_process.waitForFinished();
}

QString WebServer::url() const
{
    return u"http://127.0.0.1:%1/"_s.arg(m_port);
}

QString WebServer::write(const QString& relativePath, const QByteArray& content) const
{
    const QString path = m_folder.filePath("www/"_L1 + relativePath);
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        fail("cannot write "_L1 + path);
    }
    return path;
}

void WebServer::writeNoise(const QString& relativePath, qint64 size) const
{
    QFile file(write(relativePath, {}));
    if (!file.open(QIODevice::WriteOnly)) {
        fail("cannot write "_L1 + file.fileName());
    }
    QList<quint32> piece(qsizetype(1024) * 1024 / qsizetype(sizeof(quint32)));
    QRandomGenerator(1).fillRange(piece.data(), piece.size());
    const auto pieceSize = qint64(piece.size() * qsizetype(sizeof(quint32)));
    for (qint64 written = 0; written < size; written += pieceSize) {
        file.write(reinterpret_cast<const char*>(piece.constData()),
                   std::min(pieceSize, size - written));
    }
}
