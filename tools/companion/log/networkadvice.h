#pragma once

#include <QString>

/// Why something usually goes wrong, and what helps.
struct Advice
{
    QString cause;
    QString remedy;
};

/// The advice for a failed transfer, by its @p error as the client logs it: "Connection refused",
/// "Error transferring https://... - server replied: Not Found (HTTP 404)".
[[nodiscard]] Advice networkAdvice(const QString& error);
