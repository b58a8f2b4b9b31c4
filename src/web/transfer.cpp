#include "web/transfer.h"

#include <QNetworkReply>

using namespace Qt::Literals::StringLiterals;

std::optional<QString> transferError(const QNetworkReply& reply)
{
    if (reply.error() != QNetworkReply::NoError) {
        return reply.errorString();
    }
    // Qt misses the early end of a connection whose last bytes come together with its end. It takes
    // the length away where that counts compressed bytes. A body in chunks has none, unless a
    // server breaks the rule; it then counts.
    const QVariant announced = reply.header(QNetworkRequest::ContentLengthHeader);
    if (announced.isValid() && reply.bytesAvailable() < announced.toLongLong()) {
        return u"Connection closed"_s;
    }
    return std::nullopt;
}
