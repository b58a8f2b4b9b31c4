#pragma once

#include <QByteArray>
#include <QString>

/// What a file or a web address holds.
struct Source
{
    QByteArray bytes;
    QString error; ///< "cannot read" with the place and the reason; empty when it could be read
};

/// The most that is read from one place: larger files are refused, as their lines and what is found
/// in them would not fit into memory.
constexpr qint64 largestSource = qint64(64) << 20;

/// The place that is standard input.
[[nodiscard]] bool isStandardInput(const QString& place);
/// The place as findings tell it: standard input has a name of its own.
[[nodiscard]] QString shownPlace(const QString& place);

/// Whether @p place is a web address and not a file's path.
[[nodiscard]] bool isWebAddress(const QString& place);

/// Reads the file, "-" for standard input, or the http(s) address @p place, the latter as the
/// client fetches its catalogue: with its time-out and its rule for redirects, but once only.
[[nodiscard]] Source readSource(const QString& place);
