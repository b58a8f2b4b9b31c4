#pragma once

#include <QString>

/// A value, or why it cannot be known. A known value may be empty: then there is none.
template <typename T>
struct Known
{
    T value{};
    QString unknown; ///< the reason; empty when the value is known

    [[nodiscard]] bool isKnown() const { return unknown.isEmpty(); }
    bool operator==(const Known&) const = default;
};

using KnownText = Known<QString>;

/// A text that cannot be known.
[[nodiscard]] inline KnownText unknownText(const QString& reason)
{
    return {{}, reason};
}
