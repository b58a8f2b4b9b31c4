#include "companion/installer/installerrules.h"

#include "companion/report/texttable.h"
#include "install/installerchoice.h"
#include "profiler/applicationmatch.h"
#include "profiler/versionorder.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

using Findings = QList<Finding>;

void addOnce(Findings& findings, const QString& rule, const QString& problem)
{
    if (!findings.contains({rule, problem})) {
        findings.append({rule, problem});
    }
}

/// The application as a finding names it: the archive's item, or where it will lie.
QString shown(const InstallerItem& item, const BundleFacts& bundle)
{
    return quoted(item.kind == "application"_L1 ? item.path : bundle.location);
}

void checkPropertyList(const InstallerItem& item, const BundleFacts& bundle, Findings& findings)
{
    if (!bundle.listError.isEmpty()) {
        addOnce(findings, u"bundle-list"_s,
                u"the property list of %1 cannot be read: %2"_s.arg(shown(item, bundle),
                                                                    printable(bundle.listError)));
    }
}

/// Of an archive's own application the archive's rules tell that.
void checkStart(const InstallerItem& item, const BundleFacts& bundle, Findings& findings)
{
    for (const QString& fault : bundle.faults) {
        if (item.kind != "application"_L1) {
            addOnce(findings, u"bundle-start"_s,
                    u"of %1, %2"_s.arg(shown(item, bundle), printable(fault)));
        }
    }
}

void checkVersion(const InstallerItem& item, const BundleFacts& bundle, const QString& version,
                  Findings& findings)
{
    if (bundle.version.value.isEmpty() && !bundle.listError.isEmpty()) {
        return; // told already
    }
    if (!bundle.version.isKnown()) {
        addOnce(findings, u"bundle-unread"_s,
                u"the version of %1 is not known: %2"_s.arg(shown(item, bundle),
                                                            printable(bundle.version.unknown)));
        return;
    }
    if (bundle.version.value.isEmpty()) {
        addOnce(findings, u"bundle-version"_s, u"%1 has no version"_s.arg(shown(item, bundle)));
        return;
    }
    const QString& own = bundle.version.value;
    const int order = compareVersions(own, version);
    const bool hasNumber =
        std::any_of(own.cbegin(), own.cend(), [](QChar c) { return c.isDigit(); });
    if (order != 0 && !hasNumber) {
        addOnce(
            findings, u"bundle-word"_s,
            u"of the version of %1 the client keeps %2"_s.arg(shown(item, bundle), quoted(own)));
    } else if (order != 0) {
        addOnce(findings, u"bundle-version"_s,
                u"%1 has version %2, which is %3 than the catalogue's %4"_s.arg(
                    shown(item, bundle), quoted(own), order < 0 ? u"older"_s : u"newer"_s,
                    quoted(version)));
    }
}

bool runsOn(const BundleFacts& bundle, const QString& processor)
{
    const QStringList& processors = bundle.processors.value;
    return processors.contains(processor) ||
           (processor == "x86_64"_L1 && processors.contains("i386"_L1));
}

/// Compares the processor that @p name names, if it names one alone, with the program's.
void checkProcessor(const InstallerItem& item, const BundleFacts& bundle, const QString& name,
                    Findings& findings)
{
    constexpr int namesOnlyThis = 2;
    for (const QString& processor : {u"arm64"_s, u"x86_64"_s}) {
        if (bundle.processors.isKnown() && installerScore(name, processor) == namesOnlyThis &&
            !runsOn(bundle, processor)) {
            addOnce(findings, u"bundle-processor"_s,
                    u"the name %1 says %2, %3 is for %4 alone"_s.arg(
                        quoted(name), processor, shown(item, bundle),
                        bundle.processors.value.join(" and "_L1)));
        }
    }
}

QString namesOf(const InstallerItem& item)
{
    QStringList names;
    for (const BundleFacts& bundle : item.bundles) {
        names.append(quoted(bundle.name));
    }
    return names.join(", "_L1);
}

} // namespace

const BundleFacts* matchedBundle(const InstallerItem& item, const QString& name)
{
    QStringList candidates;
    for (const BundleFacts& bundle : item.bundles) {
        if (bundle.name.startsWith(name)) {
            candidates.append(bundle.name);
        }
    }
    candidates.sort();
    const auto called = [&item](const QString& wanted) {
        return std::find_if(item.bundles.cbegin(), item.bundles.cend(),
                            [&wanted](const BundleFacts& b) { return b.name == wanted; });
    };
    if (candidates.isEmpty()) {
        return nullptr;
    }
    const ApplicationMatch match =
        matchApplication(name, candidates, [&called](const QString& candidate) {
            return called(candidate)->version.value;
        });
    return &*called(match.name);
}

QList<Finding> damageFindings(const InstallerFacts& facts)
{
    Findings findings;
    for (const InstallerItem& item : facts.items) {
        if (item.isDamaged) {
            const QString reason = printable(item.unknown);
            addOnce(findings, u"package-damaged"_s,
                    item.path.isEmpty() ? reason : u"%1: %2"_s.arg(quoted(item.path), reason));
        }
    }
    return findings;
}

QList<Finding> installerFindings(const InstallerFacts& facts, const CatalogueClaim& claim)
{
    Findings findings = damageFindings(facts);
    if (!facts.obstacle.isEmpty()) {
        findings.append({u"installer-untried"_s, printable(facts.obstacle)});
    }
    for (const InstallerItem& item : facts.items) {
        if (!item.unknown.isEmpty() || item.bundles.isEmpty()) {
            continue;
        }
        const BundleFacts* bundle = matchedBundle(item, claim.name);
        if (!bundle) {
            addOnce(findings, u"bundle-name"_s,
                    u"it brings %1, which the name %2 does not stand for"_s.arg(
                        namesOf(item), quoted(claim.name)));
            continue;
        }
        checkPropertyList(item, *bundle, findings);
        checkStart(item, *bundle, findings);
        checkVersion(item, *bundle, claim.version, findings);
        checkProcessor(item, *bundle, claim.fileName, findings);
        if (!item.path.isEmpty()) {
            checkProcessor(item, *bundle, item.path.section(u'/', -1), findings);
        }
    }
    return findings;
}

QList<Finding> identifierFindings(const InstallerFacts& facts, const InstallerFacts& former,
                                  const QString& name)
{
    Findings findings;
    for (const InstallerItem& item : facts.items) {
        for (const InstallerItem& formerItem : former.items) {
            const BundleFacts* bundle = matchedBundle(item, name);
            const BundleFacts* before = matchedBundle(formerItem, name);
            if (bundle && before && bundle->identifier.isKnown() && before->identifier.isKnown() &&
                bundle->identifier.value != before->identifier.value) {
                addOnce(findings, u"bundle-identifier"_s,
                        u"%1 is %2, the previous release's was %3"_s.arg(
                            shown(item, *bundle), quoted(bundle->identifier.value),
                            quoted(before->identifier.value)));
            }
        }
    }
    return findings;
}
