#pragma once

#include "companion/report/severity.h"

#include <QList>
#include <QString>

/// One rule that a catalogue or an archive can break.
struct Rule
{
    QString id; ///< for example "name-duplicate"
    Severity severity = Severity::Error;
    QString meaning; ///< what is found
    QString effect;  ///< what the client does then
    QString remedy;  ///< how to mend it
};

/// The rules that are known, in the order of `--list-rules`.
[[nodiscard]] const QList<Rule>& catalogueRules();
/// The rule of that identifier, which must be known.
[[nodiscard]] const Rule& catalogueRule(const QString& id);
