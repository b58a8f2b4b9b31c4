#pragma once

#include <QStringList>

/// Which applications can matter to a set of catalogue names: those whose names begin with one of
/// them. Most of what is installed on a machine does not.
class NameFilter
{
public:
    NameFilter() = default;
    explicit NameFilter(QStringList names);

    /// Whether @p application begins with one of the names.
    [[nodiscard]] bool admits(const QString& application) const;

private:
    QStringList m_names; ///< ascending; none begins with another
};
