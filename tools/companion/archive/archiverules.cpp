#include "companion/archive/archiverules.h"

#include "companion/archive/bundlerules.h"
#include "companion/archive/unzipresult.h"
#include "companion/report/texttable.h"

#include <QHash>
#include <QSet>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

using Findings = QList<Finding>;

constexpr quint64 largestArchive = 34'359'738'368; // bytes, unpacked

void addOnce(Findings& findings, const QString& rule, const QString& problem)
{
    if (!findings.contains({rule, problem})) {
        findings.append({rule, problem});
    }
}

void checkLinks(const ArchiveContent& archive, const InstallerCandidate& best, Findings& findings)
{
    if (archive.isLink(best.path)) {
        addOnce(findings, u"archive-link"_s,
                u"%1, which would be opened, is a link"_s.arg(quoted(best.path)));
    }
}

void checkTies(const QList<InstallerCandidate>& candidates, Findings& findings)
{
    const InstallerCandidate& best = candidates.constFirst();
    // What another processor's choice has told already. There may be many ties, each of which is
    // new.
    QSet<QString> known;
    for (const Finding& finding : std::as_const(findings)) {
        known.insert(finding.problem);
    }
    for (const InstallerCandidate& other : candidates.sliced(1)) {
        const bool isInside = other.path.startsWith(best.path + u'/');
        if (other.score != best.score || isInside) {
            continue;
        }
        const Finding tie{isShadowItem(other.path) ? u"archive-shadow"_s : u"archive-tie"_s,
                          u"%1 fits as well as %2"_s.arg(quoted(other.path), quoted(best.path))};
        if (!known.contains(tie.problem)) {
            findings.append(tie);
        }
    }
}

void checkChoice(const ArchiveContent& archive, const QString& processor,
                 const QList<InstallerCandidate>& candidates, Findings& findings)
{
    if (candidates.isEmpty()) {
        addOnce(findings, u"archive-nothing"_s, u"nothing in it can be opened"_s);
        return;
    }
    const InstallerCandidate& best = candidates.constFirst();
    checkLinks(archive, best, findings);
    for (const Finding& finding : openedItemFindings(archive, best.path)) {
        addOnce(findings, finding.rule, finding.problem);
    }
    if (best.score < 0) {
        addOnce(findings, u"archive-processor"_s,
                u"the best item for %1 is %2"_s.arg(processor, quoted(best.path)));
    }
    checkTies(candidates, findings);
}

/// What is wrong with names that lie on the disk.
Findings nameFindings(const QList<QByteArray>& names)
{
    Findings findings;
    for (const QByteArray& name : names) {
        const QString shown = quoted(QString::fromUtf8(name));
        findings.append(name.isValidUtf8()
                            ? Finding{u"archive-accents"_s, u"%1 is not all ASCII"_s.arg(shown)}
                            : Finding{u"archive-bytes"_s, u"%1 is no UTF-8 text"_s.arg(shown)});
    }
    return findings;
}

} // namespace

QList<Finding> firstOfEachRule(const QList<Finding>& findings)
{
    Findings first;
    QHash<QString, qsizetype> counts;
    for (const Finding& finding : findings) {
        if (++counts[finding.rule] == 1) {
            first.append(finding);
        }
    }
    for (Finding& finding : first) {
        if (const qsizetype others = counts.value(finding.rule) - 1; others > 0) {
            finding.problem += u", and so with %1 more"_s.arg(others);
        }
    }
    return first;
}

bool isTooLarge(const ArchiveContent& archive)
{
    return archive.isBeyondLimits() || archive.unpackedSize() > largestArchive;
}

QList<Finding> archiveFindings(const ArchiveContent& archive, const UnpackedArchive& unpacked)
{
    const bool isUnpacked = unpacked.unzipCode == 0;
    if (!archive.error().isEmpty() && !isUnpacked) {
        return {{u"archive-unreadable"_s, archive.error()}};
    }
    Findings findings = isUnpacked ? Findings() : archive.failures();
    if (const int code = unpacked.unzipCode.value_or(0); code != 0 && findings.isEmpty()) {
        findings.append(
            {u"archive-fails"_s, u"unzip ends with %1: %2"_s.arg(code).arg(unzipMeaning(code))});
    }
    if (isTooLarge(archive)) {
        findings.append({u"archive-large"_s, u"unpacked it would have %1 bytes, which is above %2"_s
                                                 .arg(archive.unpackedSize())
                                                 .arg(largestArchive)});
    }
    if (!unpacked.obstacle.isEmpty()) {
        findings.append(
            {u"archive-untried"_s, u"it was not unpacked, as %1"_s.arg(unpacked.obstacle)});
    }
    findings += archive.headFindings();
    if (!archive.error().isEmpty()) {
        findings += nameFindings(unpacked.names); // as nothing else knows them
    }
    findings += letterCaseFindings(archive);
    for (const QString& processor : processors()) {
        checkChoice(archive, processor,
                    isUnpacked ? unpacked.candidates.value(processor)
                               : archive.candidates(processor),
                    findings);
    }
    for (const QString& link : archive.linksThatLeadOut()) {
        findings.append({u"archive-link"_s, u"the link %1 leads out"_s.arg(quoted(link))});
    }
    return firstOfEachRule(findings);
}

QList<Finding> repetitionFindings(const ArchiveContent& archive, const ArchiveContent& previous)
{
    Findings findings;
    for (const QString& processor : processors()) {
        const QString name = archive.candidates(processor).value(0).name;
        if (!name.isEmpty() && name == previous.candidates(processor).value(0).name) {
            addOnce(findings, u"archive-same-item"_s,
                    u"%1 is the previous release's item too"_s.arg(quoted(name)));
        }
    }
    return findings;
}
