#pragma once

#include <QStringList>

class QByteArray;

/// Takes out of texts what tells whose log they come from.
class Anonymizer
{
public:
    /// Learns the home folders, and by them the users, that @p log names.
    explicit Anonymizer(const QByteArray& log);

    /// @p text with "~" for a home folder, "user" for a user's name and an address without the name
    /// and password that it can hold.
    [[nodiscard]] QString anonymous(const QString& text) const;

private:
    QStringList m_homes; ///< the longest first
    QStringList m_users; ///< the longest first
};
