#include "companion/fleet/forecastlimits.h"

#include "companion/fleet/fleetforecast.h"
#include "companion/fleet/forecastwords.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

bool Limit::isPassed(quint64 part, quint64 whole) const
{
    const double amount = static_cast<double>(part);
    return isShare ? amount * 100.0 > value * static_cast<double>(whole) : amount > value;
}

std::optional<Limit> readLimit(const QString& text)
{
    Limit limit;
    limit.isShare = text.endsWith(u'%');
    bool isNumber = false;
    limit.value = (limit.isShare ? text.chopped(1) : text).toDouble(&isNumber);
    return isNumber && limit.value >= 0.0 ? std::optional(limit) : std::nullopt;
}

QStringList passedLimits(const ForecastLimits& limits, const QList<EntryChange>& entries,
                         const Tally& tally)
{
    QStringList passed;
    const auto test = [&passed](const std::optional<Limit>& limit, quint64 part, quint64 whole,
                                const QString& what) {
        if (limit && limit->isPassed(part, whole)) {
            passed.append(u"%1 of %2 %3"_s.arg(grouped(part), grouped(whole), what));
        }
    };
    const quint64 all = tally.machines + tally.refused();
    test(limits.older, tally.turnedOlder, all,
         u"machines get a row with an update (--max-older)"_s);
    test(limits.newer, tally.turnedNewer, all,
         u"machines get a row that is newer than the catalogue (--max-newer)"_s);
    test(limits.unknown, tally.partlyUnknown + tally.refused(), all,
         u"machines are not or not wholly known (--max-unknown)"_s);
    const auto count = [&entries](const auto& predicate) {
        return quint64(std::count_if(entries.cbegin(), entries.cend(), predicate));
    };
    test(limits.removes,
         count([](const EntryChange& entry) { return entry.before && !entry.after; }),
         tally.formerEntries, u"entries go (--removes)"_s);
    return passed;
}
