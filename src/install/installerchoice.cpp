#include "install/installerchoice.h"

#include <QDir>
#include <QDirIterator>

#include <algorithm>
#include <tuple>
#include <utility>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

bool containsAnyOf(const QString& name, const QStringList& words)
{
    return std::any_of(words.cbegin(), words.cend(), [&name](const QString& word) {
        return name.contains(word, Qt::CaseInsensitive);
    });
}

/// Endings, each after a "*".
const QStringList& installerPatterns()
{
    static const QStringList patterns = {u"*.app"_s, u"*.pkg"_s, u"*.mpkg"_s, u"*.dmg"_s};
    return patterns;
}

/// @p name without the ending that makes it an installer's: "Tool" of "Tool.app".
QString stemOf(const QString& name)
{
    return hasInstallerEnding(name) ? name.first(name.lastIndexOf(u'.')) : name;
}

/// What decides between items of equal score, by their paths below the archive's folder: the lesser
/// tuple is the better item's. By whole names alone a blank would come before a dot, and so "Tool
/// Helper.app" before "Tool.app".
auto tieRank(const QString& path)
{
    const QString name = path.sliced(path.lastIndexOf(u'/') + 1);
    return std::tuple(path.count(u'/'), isShadowItem(path), stemOf(name), name, path);
}

} // namespace

int installerScore(const QString& name, const QString& architecture)
{
    const QStringList arm = {u"arm"_s};
    const QStringList intel = {u"x86"_s, u"x64"_s, u"amd64"_s};
    const bool isArm = architecture == "arm64"_L1;
    const int fits = containsAnyOf(name, isArm ? arm : intel) ? 2 : 0;
    return containsAnyOf(name, isArm ? intel : arm) ? fits - 1 : fits;
}

QString scoreMeaning(int score)
{
    switch (score) {
    case 2:
        return u"names only this processor"_s;
    case 1:
        return u"names both processors"_s;
    case 0:
        return u"names no processor"_s;
    default:
        return u"names only the other processor"_s;
    }
}

bool isExcludedInstaller(const QString& name)
{
    return name.contains("Uninstall"_L1, Qt::CaseInsensitive);
}

bool isShadowItem(const QString& path)
{
    return path.startsWith("__MACOSX/"_L1);
}

bool hasInstallerEnding(const QString& name)
{
    const QStringList& patterns = installerPatterns();
    return std::any_of(patterns.cbegin(), patterns.cend(), [&name](QStringView pattern) {
        return name.endsWith(pattern.sliced(1), Qt::CaseInsensitive);
    });
}

QString tieReason(const QString& better, const QString& worse)
{
    const auto rankOfBetter = tieRank(better);
    const auto rankOfWorse = tieRank(worse);
    if (std::get<0>(rankOfBetter) != std::get<0>(rankOfWorse)) {
        return u"it lies less deep than %1"_s;
    }
    return std::get<1>(rankOfBetter) != std::get<1>(rankOfWorse) ? u"%1 is a shadow folder's"_s
                                                                 : u"by name it is before %1"_s;
}

void sortInstallers(QList<InstallerCandidate>& candidates, const QString& folder)
{
    // Each rank is made once: making one costs more than comparing many.
    const QDir root(folder);
    const auto rank = [&root](const InstallerCandidate& candidate) {
        return std::pair(-candidate.score, tieRank(root.relativeFilePath(candidate.path)));
    };
    using Ranked = std::pair<decltype(rank(candidates[0])), InstallerCandidate>;
    std::vector<Ranked> ranked;
    ranked.reserve(static_cast<std::size_t>(candidates.size()));
    for (const InstallerCandidate& candidate : std::as_const(candidates)) {
        ranked.emplace_back(rank(candidate), candidate);
    }
    std::sort(ranked.begin(), ranked.end(),
              [](const Ranked& a, const Ranked& b) { return a.first < b.first; });
    std::transform(ranked.cbegin(), ranked.cend(), candidates.begin(),
                   [](const Ranked& one) { return one.second; });
}

QList<InstallerCandidate> installerCandidates(const QString& folder, const QString& architecture)
{
    QList<InstallerCandidate> candidates;
    QDirIterator items(folder, installerPatterns(), QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (items.hasNext()) {
        const QString path = items.next();
        const QString name = items.fileName();
        if (!isExcludedInstaller(name)) {
            candidates.append({path, name, installerScore(name, architecture)});
        }
    }
    sortInstallers(candidates, folder);
    return candidates;
}
