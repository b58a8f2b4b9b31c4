#include "companion/line/proposedline.h"

#include "companion/report/texttable.h"
#include "install/installerchoice.h"

using namespace Qt::Literals::StringLiterals;

namespace {

/// The one application that @p item brings, uninstallers left out.
Known<BundleFacts> onlyBundle(const InstallerItem& item)
{
    if (!item.unknown.isEmpty()) {
        return {{}, u"what it brings is unknown: %1"_s.arg(item.unknown)};
    }
    QList<BundleFacts> bundles;
    QStringList names;
    for (const BundleFacts& bundle : item.bundles) {
        if (!isExcludedInstaller(bundle.name)) {
            bundles.append(bundle);
            names.append(quoted(bundle.name));
        }
    }
    if (bundles.isEmpty()) {
        return {{}, u"it puts nothing into /Applications"_s};
    }
    if (bundles.size() > 1) {
        return {{}, u"it brings more than one application: %1"_s.arg(names.join(", "_L1))};
    }
    return {bundles.constFirst(), {}};
}

} // namespace

Known<ProposedLine> proposedLine(const InstallerFacts& facts, const QString& fileName)
{
    if (!facts.unknown.isEmpty() || facts.items.isEmpty()) {
        return {{}, u"what it brings is unknown: %1"_s.arg(facts.unknown)};
    }
    Known<BundleFacts> first;
    for (const InstallerItem& item : facts.items) {
        const Known<BundleFacts> bundle = onlyBundle(item);
        if (!bundle.isKnown()) {
            return {{}, bundle.unknown};
        }
        if (first.value.name.isEmpty()) {
            first = bundle;
        } else if (first.value.name != bundle.value.name ||
                   first.value.version != bundle.value.version) {
            return {{},
                    u"each processor's client gets another application: %1 %2 and %3 %4"_s.arg(
                        quoted(first.value.name), first.value.version.value,
                        quoted(bundle.value.name), bundle.value.version.value)};
        }
    }
    const BundleFacts& bundle = first.value;
    const QString shown = quoted(bundle.name);
    if (!bundle.version.isKnown()) {
        return {{}, u"the version of %1 is unknown: %2"_s.arg(shown, bundle.version.unknown)};
    }
    if (bundle.version.value.isEmpty()) {
        return {{}, u"%1 has no version that the client would read"_s.arg(shown)};
    }
    const Known<QDate>& date = bundle.newestFile;
    return {{bundle.name, bundle.version.value, date.value.toString(Qt::ISODate), fileName,
             date.isKnown() ? u"the release date is that of the newest file in %1"_s.arg(shown)
                            : u"there is no release date: %1"_s.arg(date.unknown)},
            {}};
}
