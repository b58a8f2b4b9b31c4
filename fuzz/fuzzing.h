#pragma once

#include <QByteArray>
#include <QDebug>
#include <QStringList>

#include <fuzzer/FuzzedDataProvider.h>

/// Tells which rule the input breaks, and how, and ends the process: libFuzzer keeps the input.
[[noreturn]] void reportFinding(const char* rule, const QString& details = {});

inline void require(const char* rule, bool holds)
{
    if (!holds) {
        reportFinding(rule);
    }
}

template <typename T>
void requireEqual(const char* rule, const T& actual, const T& expected)
{
    if (!(actual == expected)) {
        QString details;
        QDebug(&details) << "actual:" << actual << "\nexpected:" << expected;
        reportFinding(rule, details);
    }
}

/// What a FuzzedDataProvider has left.
[[nodiscard]] QByteArray rest(FuzzedDataProvider& input);

/// The lines of @p text, decoded as a whole and taken apart here: "\n" ends a line, the last one
/// needs no end, and one "\r" at a line's end is none of its text.
[[nodiscard]] QStringList linesOf(const QByteArray& text);

/// An empty folder of this process's own, ending in "/", in TMPDIR.
[[nodiscard]] QString privateFolder();

/// Replaces the file at @p path.
void writeFile(const QString& path, const QByteArray& content);
