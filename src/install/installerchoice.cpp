#include "install/installerchoice.h"

#include <QDir>
#include <QDirIterator>

#include <algorithm>
#include <tuple>

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

/// Orders candidates: the lesser tuple is the better candidate.
auto rank(const InstallerCandidate& candidate, const QDir& folder)
{
    const QString path = folder.relativeFilePath(candidate.path);
    const bool isShadow = path.startsWith("__MACOSX/"_L1);
    return std::tuple(-candidate.score, path.count(u'/'), isShadow, candidate.name, path);
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

bool isExcludedInstaller(const QString& name)
{
    return name.contains("Uninstall"_L1, Qt::CaseInsensitive);
}

bool hasInstallerEnding(const QString& name)
{
    const QStringList& patterns = installerPatterns();
    return std::any_of(patterns.cbegin(), patterns.cend(), [&name](QStringView pattern) {
        return name.endsWith(pattern.sliced(1), Qt::CaseInsensitive);
    });
}

void sortInstallers(QList<InstallerCandidate>& candidates, const QString& folder)
{
    const QDir root(folder);
    std::sort(candidates.begin(), candidates.end(),
              [&root](const InstallerCandidate& a, const InstallerCandidate& b) {
                  return rank(a, root) < rank(b, root);
              });
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
