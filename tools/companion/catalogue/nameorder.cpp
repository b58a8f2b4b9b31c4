#include "companion/catalogue/nameorder.h"

#include <algorithm>

namespace {

/// How many characters all names begin with alike.
qsizetype commonStart(const EntryOrder& entries)
{
    const QString& first = entries.front()->name;
    qsizetype length = first.size();
    for (const CatalogueEntry* entry : entries) {
        const auto end = std::mismatch(first.cbegin(), first.cbegin() + length,
                                       entry->name.cbegin(), entry->name.cend());
        length = end.first - first.cbegin();
    }
    return length;
}

/// A name's next characters as numbers: most names are told apart by them, without a look at the
/// texts, which lie scattered in memory.
struct SortKey
{
    SortKey(const CatalogueEntry* e, qsizetype start) : entry(e)
    {
        const QStringView rest = QStringView(entry->name).sliced(start);
        for (qsizetype i = 0; i < 8; ++i) {
            quint64& half = i < 4 ? first : second;
            half = half << 16U | (i < rest.size() ? rest[i].unicode() : 0U);
        }
    }
    [[nodiscard]] bool isBefore(const SortKey& other) const
    {
        if (first != other.first) {
            return first < other.first;
        }
        if (second != other.second) {
            return second < other.second;
        }
        const int order = entry->name.compare(other.entry->name);
        return order != 0 ? order < 0 : entry->line < other.entry->line;
    }

    quint64 first = 0;
    quint64 second = 0;
    const CatalogueEntry* entry;
};

void sortByName(EntryOrder& entries)
{
    const qsizetype start = commonStart(entries);
    std::vector<SortKey> keys;
    keys.reserve(entries.size());
    for (const CatalogueEntry* entry : entries) {
        keys.emplace_back(entry, start);
    }
    std::sort(keys.begin(), keys.end(),
              [](const SortKey& a, const SortKey& b) { return a.isBefore(b); });
    std::transform(keys.cbegin(), keys.cend(), entries.begin(),
                   [](const SortKey& key) { return key.entry; });
}

} // namespace

EntryOrder inOrderOfNames(const QList<CatalogueEntry>& entries)
{
    EntryOrder sorted;
    sorted.reserve(size_t(entries.size()));
    for (const CatalogueEntry& entry : entries) {
        if (!entry.name.isEmpty()) {
            sorted.push_back(&entry);
        }
    }
    if (!sorted.empty()) {
        sortByName(sorted);
    }
    return sorted;
}
