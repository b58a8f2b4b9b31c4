#pragma once

#include <QByteArray>
#include <QString>

/// What a file or a web address holds.
struct Source
{
    QByteArray bytes;
    QString error; ///< "cannot read" with the place and the reason; empty when it could be read
};

/// Whether @p place is a web address and not a file's path.
[[nodiscard]] bool isWebAddress(const QString& place);

/// Reads the file or the http(s) address @p place, the latter as the client fetches its catalogue:
/// with its time-out and its rule for redirects, but once only.
[[nodiscard]] Source readSource(const QString& place);
