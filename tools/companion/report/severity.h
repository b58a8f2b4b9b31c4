#pragma once

#include <QString>

/// How much something weighs: a note tells of what is probably meant, a warning of what may go
/// wrong, an error of what does.
enum class Severity
{
    Note,
    Warning,
    Error
};

/// "note", "warning" or "error".
[[nodiscard]] QString severityName(Severity severity);
