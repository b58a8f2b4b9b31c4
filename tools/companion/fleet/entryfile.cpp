#include "companion/fleet/entryfile.h"

#include "companion/installer/installerreader.h"
#include "companion/installer/installerrules.h"

#include <QFileInfo>

namespace {

/// What @p item brings to an entry named @p name; nothing when that is not known.
std::optional<InstallableBundle> bundleOf(const InstallerItem& item, const QString& name)
{
    if (!item.unknown.isEmpty() || item.bundles.isEmpty()) {
        return std::nullopt;
    }
    // Where the entry stands for none of them, each shows that as well as the others.
    const BundleFacts* matched = matchedBundle(item, name);
    const BundleFacts& facts = matched ? *matched : item.bundles.constFirst();
    InstallableBundle bundle{facts.name, std::nullopt, facts.identifier.value};
    if (!facts.version.value.isEmpty()) {
        bundle.version = facts.version.value;
    }
    return bundle;
}

std::optional<InstallableBundle> installableBundle(const InstallerFacts& facts, const QString& name)
{
    std::optional<InstallableBundle> bundle;
    for (const InstallerItem& item : facts.items) {
        const std::optional<InstallableBundle> other = bundleOf(item, name);
        if (!other || (bundle && bundle != other)) {
            return std::nullopt; // a machine's record does not tell its processor
        }
        bundle = other;
    }
    return bundle;
}

} // namespace

EntryFile readEntryFile(const QString& folder, const QString& file, const QString& name,
                        const std::function<bool()>& goesOn)
{
    const QFileInfo info(folder + u'/' + file);
    if (file.isEmpty() || !info.isFile()) {
        return {};
    }
    return {info.size(), installableBundle(InstallerReader::read(info.filePath(), goesOn), name)};
}
