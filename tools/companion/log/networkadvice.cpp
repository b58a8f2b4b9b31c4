#include "companion/log/networkadvice.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace {

Advice statusAdvice(int status)
{
    if (status == 401 || status == 403 || status == 407) {
        return {u"The server refuses the address to this user: a login is asked for, or the "
                "file's permissions are wrong."_s,
                u"Let the server give out the address without a login, and make the file readable "
                "to it."_s};
    }
    if (status == 404 || status == 410) {
        return {u"The server has no such file: base URL and path in the preferences do not fit the "
                "server, letter case included, or the file was renamed or not yet uploaded."_s,
                u"Compare the address with the server's folders; publish the files first and the "
                "catalogue last."_s};
    }
    if (status == 429) {
        return {u"The server limits how often one address may ask."_s,
                u"Raise the limit: many users can share one address."_s};
    }
    if (status >= 500) {
        return {u"The server itself failed or is overloaded."_s,
                u"Look into the web server's error log at that time."_s};
    }
    return {u"The server did not answer with the file."_s,
            u"Open the address in a browser on the user's network."_s};
}

Advice connectionAdvice(const QString& error)
{
    const auto says = [&error](QLatin1StringView word) {
        return error.contains(word, Qt::CaseInsensitive);
    };
    if (says("not found"_L1) && says("host"_L1)) {
        return {u"The server's name is unknown on that network: no network, a private name outside "
                "its network, or a mistyped base URL."_s,
                u"Check the base URL in the preferences and the machine's network."_s};
    }
    if (says("ssl handshake failed: -9836"_L1)) {
        return {u"The server offers no TLS 1.2, where a Mac's client ends."_s,
                u"Let the server offer TLS 1.2 beside 1.3."_s};
    }
    if (says("ssl"_L1) || says("certificate"_L1)) {
        return {u"The secure connection was refused: the certificate is expired, of another name "
                "or of an unknown issuer, or the machine's clock is wrong."_s,
                u"Renew the certificate with its whole chain; check the clock."_s};
    }
    if (says("insecure"_L1)) {
        return {u"The server sent the client on from https to http, which it does not follow."_s,
                u"Let the server redirect to https addresses only."_s};
    }
    if (says("refused"_L1) || says("closed"_L1)) {
        return {u"The server is down, a firewall is between, or the connection broke off."_s,
                u"See that the web server runs and that its port can be reached from there."_s};
    }
    if (says("host unreachable"_L1)) {
        return {
            u"No way leads to the server from there, or, for a server in the user's own network, "
            "macOS has not been allowed to let the client reach it."_s,
            u"See System Settings, Privacy & Security, Local Network, and the machine's "
            "network."_s};
    }
    return {u"The network or the server was not available at that moment."_s,
            u"Try again; if it stays, open the address in a browser on the user's network."_s};
}

} // namespace

Advice networkAdvice(const QString& error)
{
    static const QRegularExpression status(u" \\(HTTP (\\d+)\\)$"_s);
    if (const auto match = status.match(error); match.hasMatch()) {
        return statusAdvice(match.captured(1).toInt());
    }
    // An installer's error comes without the status.
    if (error.endsWith("server replied: Not Found"_L1)) {
        return statusAdvice(404);
    }
    if (error.endsWith("server replied: Forbidden"_L1) ||
        error.startsWith("Host requires authentication"_L1)) {
        return statusAdvice(403);
    }
    if (error.contains("server replied: "_L1)) {
        return statusAdvice(0);
    }
    return connectionAdvice(error);
}
