#pragma once

#include "support/httpserver.h"
#include "support/testline.h"

#include <QHash>
#include <QList>
#include <QStringList>

class QTcpSocket;

/// An HTTP server that answers each request when, and as far as, the test says. Of several requests
/// for one path the oldest is meant; where there is none, the test fails.
class HeldServer : public HttpServer
{
public:
    /// How many requests for "/" + @p path wait for their end now.
    [[nodiscard]] qsizetype waiting(const QString& path) const;
    /// The paths of all that wait now, without their first "/", as the requests spell them.
    [[nodiscard]] QStringList waitingPaths() const;
    /// Starts an answer that announces @p length bytes, or no length when that is negative.
    void begin(const QString& path, qint64 length, TestLine at = {});
    void send(const QString& path, const QByteArray& bytes, TestLine at = {});
    /// Ends the answer, also when more was announced or nothing has been sent.
    void end(const QString& path, TestLine at = {});
    /// A whole answer.
    void answer(const QString& path, const QByteArray& body, int status = 200, TestLine at = {});

protected:
    void respond(QTcpSocket* socket, const QString& target) override;

private:
    /// Null, and the test fails, where there is none.
    [[nodiscard]] QTcpSocket* oldest(const QString& path, TestLine at) const;

    QHash<QString, QList<QTcpSocket*>> m_waiting; ///< by path
};
