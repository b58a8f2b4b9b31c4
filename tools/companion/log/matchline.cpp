#include "companion/log/matchline.h"

#include "system/nameprefix.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace {

using Logged::RowMatched;
using Versions = QList<std::pair<QString, QString>>;

const QString listEnd = u"] → matched '"_s;

/// The versions of @p candidates in @p list, "'Synth' v1.0, 'Synth 2' v2.0"; empty unless the list
/// has exactly these candidates. A version has no blank: what has one is part of a name.
Versions listedVersions(const QString& list, const QStringList& candidates)
{
    Versions versions;
    qsizetype at = 0;
    for (qsizetype i = 0; i < candidates.size(); ++i) {
        const QString head = u'\'' + candidates[i] + "' v"_L1;
        if (!QStringView(list).sliced(at).startsWith(head)) {
            return {};
        }
        at += head.size();
        const bool isLast = i + 1 == candidates.size();
        const qsizetype end =
            isLast ? list.size() : list.indexOf(", '"_L1 + candidates[i + 1] + "' v"_L1, at);
        if (end < 0 || QStringView(list).sliced(at, end - at).contains(u' ')) {
            return {};
        }
        versions.append({candidates[i], list.sliced(at, end - at)});
        at = isLast ? end : end + 2;
    }
    return versions;
}

/// Which of @p candidates @p text begins with, before "' v" and a version.
QString chosenOf(const QString& text, const QStringList& candidates)
{
    for (const QString& candidate : candidates) {
        const QString head = candidate + "' v"_L1;
        if (text.startsWith(head) && !QStringView(text).sliced(head.size()).contains(u' ')) {
            return candidate;
        }
    }
    return {};
}

/// Reads what follows the arrow; nothing when that is not how @p candidates would be told.
std::optional<RowMatched> readOutcome(const QString& outcome, const QStringList& candidates)
{
    RowMatched match;
    if (candidates.size() == 1) {
        const QLatin1StringView head = "matched "_L1;
        if (outcome.startsWith(head)) {
            match.chosen = candidates.constFirst();
            match.versions = listedVersions(outcome.sliced(head.size()), candidates);
        }
        return match.versions.isEmpty() ? std::nullopt : std::optional(match);
    }
    const QString head = u"%1 candidates: ["_s.arg(candidates.size());
    if (!outcome.startsWith(head)) {
        return std::nullopt;
    }
    // A name can hold the list's end itself.
    for (qsizetype end = outcome.indexOf(listEnd, head.size()); end >= 0;
         end = outcome.indexOf(listEnd, end + 1)) {
        match.candidates = outcome.sliced(head.size(), end - head.size());
        match.versions = listedVersions(match.candidates, candidates);
        match.chosen = chosenOf(outcome.sliced(end + listEnd.size()), candidates);
        if (!match.versions.isEmpty() && !match.chosen.isEmpty()) {
            return match;
        }
    }
    return std::nullopt;
}

RowMatched guessed(const QString& rest)
{
    static const QString notFound = u"' → NOT FOUND in system"_s;
    static const QRegularExpression found(
        u"^(.*)' → (?:\\d+ candidates: \\[(.*)\\] → )?matched '(.*)' v.*$"_s,
        QRegularExpression::DotMatchesEverythingOption);
    RowMatched match;
    if (rest.endsWith(notFound)) {
        match.row = rest.chopped(notFound.size());
    } else if (const auto words = found.match(rest); words.hasMatch()) {
        match.row = words.captured(1);
        match.candidates = words.captured(2);
        match.chosen = words.captured(3);
    }
    return match;
}

} // namespace

std::optional<RowMatched> readMatchLine(const QString& text, const QStringList& installed)
{
    const QLatin1StringView head = "Profiler - '"_L1;
    const QString arrow = u"' → "_s;
    if (!text.startsWith(head)) {
        return std::nullopt;
    }
    const QString rest = text.sliced(head.size());
    for (qsizetype at = rest.indexOf(arrow); at >= 0; at = rest.indexOf(arrow, at + 1)) {
        const QString row = rest.first(at);
        if (auto match =
                readOutcome(rest.sliced(at + arrow.size()), namesWithPrefix(installed, row))) {
            match->row = row;
            return match;
        }
    }
    return guessed(rest);
}
