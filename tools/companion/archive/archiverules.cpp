#include "companion/archive/archiverules.h"

#include "companion/report/finding.h"
#include "profiler/versionorder.h"
#include "system/sysprofiler.h"

#include <QTemporaryFile>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

using Troubles = QList<ArchiveTrouble>;

/// One trouble a rule, with the number of those left out.
Troubles firstOfEachRule(const Troubles& troubles)
{
    Troubles first;
    for (const ArchiveTrouble& trouble : troubles) {
        const auto isAlike = [&trouble](const ArchiveTrouble& t) { return t.rule == trouble.rule; };
        if (std::none_of(first.cbegin(), first.cend(), isAlike)) {
            const auto count = std::count_if(troubles.cbegin(), troubles.cend(), isAlike);
            first.append(trouble);
            if (count > 1) {
                first.last().problem += u", and so with %1 more"_s.arg(count - 1);
            }
        }
    }
    return first;
}

void addOnce(Troubles& troubles, const QString& rule, const QString& problem)
{
    if (!troubles.contains({rule, problem})) {
        troubles.append({rule, problem});
    }
}

bool isShadow(const InstallerCandidate& candidate)
{
    return candidate.path.startsWith("__MACOSX/"_L1);
}

void checkLinks(const ArchiveContent& archive, const InstallerCandidate& best, Troubles& troubles)
{
    if (archive.isLink(best.path)) {
        addOnce(troubles, u"archive-link"_s,
                u"%1, which would be opened, is a link"_s.arg(quoted(best.path)));
    }
}

void checkTies(const QList<InstallerCandidate>& candidates, Troubles& troubles)
{
    const InstallerCandidate& best = candidates.constFirst();
    for (const InstallerCandidate& other : candidates.sliced(1)) {
        const bool isInside = other.path.startsWith(best.path + u'/');
        if (other.score != best.score || isInside) {
            continue;
        }
        addOnce(troubles, isShadow(other) ? u"archive-shadow"_s : u"archive-tie"_s,
                u"%1 fits as well as %2"_s.arg(quoted(other.path), quoted(best.path)));
    }
}

void checkChoice(const ArchiveContent& archive, const QString& processor, Troubles& troubles)
{
    const QList<InstallerCandidate> candidates = archive.candidates(processor);
    if (candidates.isEmpty()) {
        addOnce(troubles, u"archive-nothing"_s, u"nothing in it can be opened"_s);
        return;
    }
    const InstallerCandidate& best = candidates.constFirst();
    checkLinks(archive, best, troubles);
    if (best.score < 0) {
        addOnce(troubles, u"archive-processor"_s,
                u"the best item for %1 is %2"_s.arg(processor, quoted(best.path)));
    }
    checkTies(candidates, troubles);
}

/// The version that the client would read from an installed bundle with this property list.
QString bundleVersion(const QByteArray& propertyList)
{
    QTemporaryFile file;
    if (!file.open() || file.write(propertyList) != propertyList.size()) {
        return {};
    }
    file.close();
    return SysProfiler::withoutNote(SysProfiler::findBundleVersion(file.fileName()));
}

ArchiveTrouble comparedVersions(const QString& bundle, const QString& version,
                                const QString& catalogueVersion)
{
    const int order = compareVersions(version, catalogueVersion);
    if (order == 0) {
        return {};
    }
    return {u"bundle-version"_s,
            u"%1 has version %2, which is %3 than the catalogue's %4"_s.arg(
                quoted(bundle), quoted(version), order < 0 ? u"older"_s : u"newer"_s,
                quoted(catalogueVersion))};
}

} // namespace

const QStringList& processors()
{
    static const QStringList names = {u"arm64"_s, u"x86_64"_s};
    return names;
}

QList<ArchiveTrouble> archiveTroubles(const ArchiveContent& archive)
{
    if (!archive.error().isEmpty()) {
        return {{u"archive-unreadable"_s, archive.error()}};
    }
    Troubles troubles = archive.failures();
    for (const QString& processor : processors()) {
        checkChoice(archive, processor, troubles);
    }
    return firstOfEachRule(troubles);
}

QList<ArchiveTrouble> repetitionTroubles(const ArchiveContent& archive,
                                         const ArchiveContent& previous)
{
    Troubles troubles;
    for (const QString& processor : processors()) {
        const QString name = archive.candidates(processor).value(0).name;
        if (!name.isEmpty() && name == previous.candidates(processor).value(0).name) {
            addOnce(troubles, u"archive-same-item"_s,
                    u"%1 is the previous release's item too"_s.arg(quoted(name)));
        }
    }
    return troubles;
}

QList<ArchiveTrouble> bundleTroubles(const ArchiveContent& archive, const QString& catalogueVersion)
{
    Troubles troubles;
    for (const QString& processor : processors()) {
        const QString bundle = archive.candidates(processor).value(0).path;
        if (!bundle.endsWith(".app"_L1, Qt::CaseInsensitive)) {
            continue;
        }
        const QByteArray list = archive.content(bundle + "/Contents/Info.plist"_L1);
        const QString version = bundleVersion(list);
        ArchiveTrouble trouble;
        if (version.isEmpty() && list.startsWith("bplist")) {
            trouble = {u"bundle-unread"_s,
                       u"the property list of %1 is no XML text"_s.arg(quoted(bundle))};
        } else if (version.isEmpty()) {
            trouble = {u"bundle-version"_s, u"%1 has no version"_s.arg(quoted(bundle))};
        } else {
            trouble = comparedVersions(bundle, version, catalogueVersion);
        }
        if (!trouble.rule.isEmpty()) {
            addOnce(troubles, trouble.rule, trouble.problem);
        }
    }
    return troubles;
}
