#pragma once

#include "companion/report/severity.h"

#include <QString>

/// Something that went wrong on a user's machine, or may have, in plain words.
struct Trouble
{
    qsizetype line = 0; ///< of the log, from 1
    QString time;       ///< as the log has it
    Severity severity = Severity::Error;
    QString kind;    ///< for example "catalogue-timeout"
    QString problem; ///< what happened
    QString cause;   ///< what that usually comes from
    QString remedy;  ///< what to do
    int count = 1;   ///< how often the log shows it; line and time are those of the last time
};
