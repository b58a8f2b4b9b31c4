#include "companion/catalogue/publishedrules.h"

#include "companion/report/texttable.h"
#include "profiler/versionorder.h"

#include <QHash>
#include <QSet>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype namedAtMost = 3;

/// The published entries by their names; of a name listed twice the later, as in the client.
QHash<QString, CatalogueEntry> byName(const QList<CatalogueEntry>& published)
{
    QHash<QString, CatalogueEntry> entries;
    for (const CatalogueEntry& entry : published) {
        entries.insert(entry.name, entry);
    }
    return entries;
}

void compare(const CatalogueEntry& entry, const CatalogueEntry& former, Report& report)
{
    if (former.version == entry.version) {
        return;
    }
    const QString version = quoted(entry.version);
    const int order = compareVersions(entry.version, former.version);
    if (order == 0) {
        report.add(entry.line, u"version-same"_s,
                   u"%1 equals the published %2"_s.arg(version, quoted(former.version)));
    } else if (order < 0) {
        report.add(entry.line, u"version-older"_s,
                   u"%1 is older than the published %2"_s.arg(version, quoted(former.version)));
    }
    if (order >= 0 && !entry.fileName.isEmpty() && entry.fileName == former.fileName) {
        report.add(entry.line, u"file-reused"_s,
                   u"%1 is the file of the published %2 too"_s.arg(quoted(entry.fileName),
                                                                   quoted(former.version)));
    }
}

/// The names of @p published that @p text has neither as an entry nor hidden, ascending.
QStringList goneNames(const CatalogueText& text, const QHash<QString, CatalogueEntry>& published)
{
    QSet<QString> present(text.hiddenNames.cbegin(), text.hiddenNames.cend());
    for (const CatalogueEntry& entry : text.entries) {
        present.insert(entry.name);
    }
    QStringList gone;
    for (auto former = published.cbegin(); former != published.cend(); ++former) {
        if (!present.contains(former.key())) {
            gone.append(former.key());
        }
    }
    gone.sort();
    return gone;
}

void reportGone(const QStringList& gone, Report& report)
{
    QStringList named;
    for (const QString& name : gone.first(std::min(gone.size(), namedAtMost))) {
        named.append(quoted(name));
    }
    QString problem =
        (gone.size() == 1 ? u"a published entry is gone: %1"_s
                          : QString::number(gone.size()) + u" published entries are gone: %1"_s)
            .arg(named.join(", "_L1));
    if (gone.size() > named.size()) {
        problem += u" and %1 more"_s.arg(gone.size() - named.size());
    }
    report.add(0, u"entry-removed"_s, problem);
}

} // namespace

void checkAgainstPublished(const CatalogueText& text, const QList<CatalogueEntry>& published,
                           qsizetype mayGo, Report& report)
{
    const QHash<QString, CatalogueEntry> formerEntries = byName(published);
    for (const CatalogueEntry& entry : text.entries) {
        const auto former = formerEntries.constFind(entry.name);
        if (former != formerEntries.cend()) {
            compare(entry, *former, report);
        }
    }
    const QStringList gone = goneNames(text, formerEntries);
    if (gone.size() > mayGo) {
        reportGone(gone, report);
    }
}
