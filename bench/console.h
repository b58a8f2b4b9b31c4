#pragma once

#include <QString>

/// Sends what the process writes to standard error, the log's console side, to the null device:
/// what a console costs is the terminal's affair.
void silenceConsole();

/// Writes @p line to the standard error of before, if it was silenced.
void tell(const QString& line);

/// Tells why nothing can be measured, and ends the program with 2.
[[noreturn]] void fail(const QString& reason);
