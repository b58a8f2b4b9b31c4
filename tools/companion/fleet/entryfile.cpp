#include "companion/fleet/entryfile.h"

#include "companion/fleet/cataloguechange.h"
#include "companion/installer/installerreader.h"
#include "companion/installer/installerrules.h"

#include <QFileInfo>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <vector>

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

QList<EntryFile> readEntryFiles(const QString& folder, const QList<EntryChange>& entries,
                                int threads, const std::function<bool(qsizetype done)>& goesOn)
{
    QList<EntryFile> files(entries.size());
    EntryFile* const first = files.data(); // each thread writes into elements of its own
    std::atomic<qsizetype> next = 0;
    std::atomic<qsizetype> done = 0;
    std::atomic<bool> isStopped = false;
    const auto work = [&] {
        for (qsizetype i = next++; i < entries.size() && !isStopped; i = next++) {
            if (const std::optional<OfferedEntry>& after = entries[i].after) {
                first[i] = readEntryFile(folder, after->file, entries[i].name,
                                         [&isStopped] { return !isStopped; });
            }
            ++done;
        }
    };
    std::vector<std::future<void>> workers;
    for (auto left = std::max(1, threads); left > 0; --left) {
        workers.push_back(std::async(std::launch::async, work));
    }
    for (const std::future<void>& worker : workers) {
        while (worker.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready) {
            isStopped = isStopped || !goesOn(done);
        }
    }
    return files;
}
