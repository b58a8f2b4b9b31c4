#pragma once

#include <QByteArray>
#include <QString>

/// The names by which machines are told.
class MachineAlias
{
public:
    /// Each by its own name.
    MachineAlias() = default;
    /// Each by a hash of its name, which nobody can undo who does not know @p key: the same for one
    /// machine wherever the key is the same.
    explicit MachineAlias(QByteArray key) : m_key(std::move(key)) {}

    [[nodiscard]] QString of(const QString& machine) const;

    /// A key that nobody knows.
    [[nodiscard]] static QByteArray randomKey();

private:
    QByteArray m_key; ///< empty for no hash
};
