#pragma once

#include <QList>
#include <QStringList>

class QTextStream;

/// Whether @p c is not seen on a terminal, or changes how the rest is seen: control and format
/// characters, direction marks among them, line separators, halves of a pair.
[[nodiscard]] bool isUnseen(char32_t c);

/// @p text for a terminal: what isUnseen() is written as "\u" and four hexadecimal digits, or "\U"
/// and eight.
[[nodiscard]] QString printable(const QString& text);

/// @p text, printable, between single quotes.
[[nodiscard]] QString quoted(const QString& text);

/// The text @p json, with what isUnseen() in its strings as escapes that mean the same.
[[nodiscard]] QString printableJson(const QByteArray& json);

/// How many columns of a terminal @p text takes: two for wide characters, none for combining ones.
[[nodiscard]] qsizetype shownWidth(const QString& text);

/// Writes @p rows of equal length one a line, each column as wide as its widest text.
void writeTable(const QList<QStringList>& rows, QTextStream& out);
