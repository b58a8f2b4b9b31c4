#pragma once

#include <QList>
#include <QStringList>

class QTextStream;

/// @p text for a terminal: each control character as "\u" and four hexadecimal digits.
[[nodiscard]] QString printable(const QString& text);

/// Writes @p rows of equal length one a line, each column as wide as its longest text.
void writeTable(const QList<QStringList>& rows, QTextStream& out);
