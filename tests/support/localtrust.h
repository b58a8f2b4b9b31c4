#pragma once

#include "support/httpserver.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslSocket>

/// Every transfer trusts the local certificate for as long as this lives.
class LocalTrust
{
public:
    /// None trusts it unless @p isTrusted.
    explicit LocalTrust(bool isTrusted = true)
    {
        if (!isTrusted) {
            return;
        }
        QSslConfiguration trusting = m_former;
        trusting.addCaCertificates({localTlsIdentity().localCertificate()});
        QSslConfiguration::setDefaultConfiguration(trusting);
    }
    ~LocalTrust() { QSslConfiguration::setDefaultConfiguration(m_former); }
    Q_DISABLE_COPY_MOVE(LocalTrust)

private:
    QSslConfiguration m_former = QSslConfiguration::defaultConfiguration();
};

/// Whether this machine can serve the key that the tests bring.
[[nodiscard]] inline bool canServeTls()
{
    return QSslSocket::supportsSsl() && QSslSocket::activeBackend() == QStringLiteral("openssl");
}
