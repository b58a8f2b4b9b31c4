#pragma once

#include "companion/report/finding.h"

#include <QByteArray>
#include <QHash>

/// The findings that a publisher has looked at and accepts.
///
/// One a line: a rule's name, then the entry's name, or a file's where the rule is about that; a
/// finding that belongs to neither is accepted by its rule alone. Lines that are empty or begin
/// with
/// "#" are left out.
class AcceptedFindings
{
public:
    /// Reads @p text, which @p place holds.
    AcceptedFindings(const QByteArray& text, const QString& place);

    /// Why the text cannot be used; empty when it can.
    [[nodiscard]] QString error() const { return m_error; }
    /// Removes what is accepted from @p findings; @p names are the entries' by their lines. Returns
    /// how many that were.
    qsizetype removeFrom(QList<Finding>& findings, const QHash<qsizetype, QString>& names);
    /// A finding for each line that accepted nothing.
    [[nodiscard]] QList<Finding> needless() const;

private:
    struct Acceptance
    {
        qsizetype line = 0;
        bool isUsed = false;
    };
    QHash<QString, Acceptance> m_accepted; ///< by rule and name, a blank between
    QString m_place;
    QString m_error;
};
