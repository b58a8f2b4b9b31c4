#pragma once

#include <QStringList>

#include <optional>

struct Tally;
struct EntryChange;

/// A limit that the publisher sets: a number, or a share of the whole.
struct Limit
{
    double value = 0.0;
    bool isShare = false; ///< in hundredths

    /// Whether @p part of @p whole is beyond it.
    [[nodiscard]] bool isPassed(quint64 part, quint64 whole) const;
};

/// Reads "5%" or "12"; nothing when it is neither.
[[nodiscard]] std::optional<Limit> readLimit(const QString& text);

/// The limits of one forecast; nothing where none is set.
struct ForecastLimits
{
    std::optional<Limit> older;   ///< machines with a row that turns to be older
    std::optional<Limit> newer;   ///< machines with a row that turns to be newer
    std::optional<Limit> unknown; ///< machines that could not be judged, or not wholly
    std::optional<Limit> removes; ///< entries that go
};

/// What is beyond a limit, a line each.
[[nodiscard]] QStringList passedLimits(const ForecastLimits& limits,
                                       const QList<EntryChange>& entries, const Tally& tally);
