#pragma once

#include <QString>

#include <optional>

class QNetworkReply;

/// Why the transfer of @p reply, which has finished and has not been read yet, failed, in words for
/// the user; nothing when it has succeeded.
[[nodiscard]] std::optional<QString> transferError(const QNetworkReply& reply);
