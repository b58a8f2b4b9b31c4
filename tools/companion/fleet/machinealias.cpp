#include "companion/fleet/machinealias.h"

#include <QMessageAuthenticationCode>
#include <QRandomGenerator>

QString MachineAlias::of(const QString& machine) const
{
    if (m_key.isEmpty()) {
        return machine;
    }
    const QByteArray hash =
        QMessageAuthenticationCode::hash(machine.toUtf8(), m_key, QCryptographicHash::Sha256);
    return QString::fromLatin1(hash.toHex().first(16));
}

QByteArray MachineAlias::randomKey()
{
    QByteArray key(32, '\0');
    for (char& byte : key) {
        byte = static_cast<char>(QRandomGenerator::system()->bounded(256));
    }
    return key;
}
