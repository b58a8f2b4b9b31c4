#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSslConfiguration>
#include <QTcpServer>

class QTcpSocket;

/// What the server does with one request.
struct HttpReply
{
    enum Manner
    {
        Whole,   ///< head and body, then the connection is closed
        Silent,  ///< nothing at all, the connection stays open
        Trickle, ///< the body a byte at a time, one each trickleInterval
        Stall,   ///< head and body, then the connection stays open although more was announced
        Cut,     ///< head and body, then the connection is closed although more was announced
        Raw      ///< the body alone, without a head, then the connection is closed
    };

    QByteArray body = {};
    int status = 200;
    Manner manner = Whole;
    QList<QByteArray> headers = {}; ///< whole lines, without their ends
    qint64 announcedLength = -1;    ///< Content-Length; the body's own when negative
    bool withLength = true;         ///< without a length the end of the connection ends the body
    int trickleInterval = 100;      ///< ms
    int times = 1;                  ///< how often a Whole answer has the body, piece after piece
};

/// An HTTP server on a free port of 127.0.0.1, served by the test's own event loop.
///
/// Replies queued for a path are given one each; the last one stays. An unknown path is a 404.
class HttpServer : public QTcpServer
{
    Q_OBJECT

public:
    HttpServer();
    /// Speaks TLS with the key and the certificate in @p tls.
    explicit HttpServer(const QSslConfiguration& tls);

    /// "http://127.0.0.1:PORT/" + @p path; "https://..." of a server that speaks TLS.
    [[nodiscard]] QString url(const QString& path = {}) const;
    /// Queues @p reply for "/" + @p path.
    void reply(const QString& path, const HttpReply& reply);
    /// Forgets all queued replies.
    void forget();
    /// Keeps nothing of what it is asked from now on: for a test of what a long run leaves behind.
    void keepNoRecords() { m_keepsRecords = false; }
    /// The request targets asked for so far, in order: "/config/a.csv".
    [[nodiscard]] QStringList requests() const { return m_requests; }
    /// The heads of the requests, whole, in the same order.
    [[nodiscard]] QList<QByteArray> heads() const { return m_heads; }
    /// Connections that are open now.
    [[nodiscard]] int openConnections() const { return m_open; }

Q_SIGNALS:
    /// A request has come whole and is about to be answered.
    void requested(const QString& target);

protected:
    void incomingConnection(qintptr handle) override;

    /// Answers the request for @p target, which has come whole.
    virtual void respond(QTcpSocket* socket, const QString& target);

private:
    void take(QTcpSocket* socket, const QByteArray& head);
    static void send(QTcpSocket* socket, const HttpReply& reply);

    QSslConfiguration m_tls;
    QHash<QString, QList<HttpReply>> m_replies;
    QStringList m_requests;
    QList<QByteArray> m_heads;
    int m_open = 0;
    bool m_keepsRecords = true;
};

/// Key and certificate of 127.0.0.1, signed by itself, so that nobody trusts it unasked.
[[nodiscard]] QSslConfiguration localTlsIdentity();
