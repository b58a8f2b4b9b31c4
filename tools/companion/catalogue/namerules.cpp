#include "companion/catalogue/namerules.h"

#include "app/buildinfo.h"
#include "companion/catalogue/nameorder.h"
#include "companion/report/texttable.h"
#include "install/ownupdate.h"
#include "profiler/applicationmatch.h"

#include <QHash>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

bool isAscii(const QString& text)
{
    return std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() < 0x80; });
}

QString composed(const QString& name)
{
    return name.normalized(QString::NormalizationForm_C);
}

void checkAccents(const CatalogueEntry& entry, Report& report)
{
    if (entry.name != composed(entry.name)) {
        report.add(entry.line, u"name-decomposed"_s,
                   u"the accents of %1 are decomposed"_s.arg(quoted(entry.name)));
    } else if (entry.name != entry.name.normalized(QString::NormalizationForm_D)) {
        report.add(entry.line, u"name-composed"_s,
                   u"%1 has composed accents"_s.arg(quoted(entry.name)));
    }
}

bool isJoiner(QChar c)
{
    return c == u'\u200c' || c == u'\u200d';
}

/// Whether what stands at @p at is not seen, or is no blank of the space bar although it looks like
/// one. A joiner shapes letters of other alphabets; between those it has its place.
bool isHidden(const QString& name, qsizetype at)
{
    const QChar c = name[at];
    if (isJoiner(c) && at > 0 && at + 1 < name.size()) {
        return name[at - 1].unicode() < 0x80 || name[at + 1].unicode() < 0x80;
    }
    const bool isIdeographicSpace = c == u'\u3000';
    return (c.isSpace() && c != u' ' && !isIdeographicSpace) ||
           (!c.isSurrogate() && isUnseen(c.unicode()));
}

void checkUnseen(const CatalogueEntry& entry, Report& report)
{
    for (qsizetype at = 0; at < entry.name.size(); ++at) {
        if (isHidden(entry.name, at)) {
            report.add(entry.line, u"name-unseen"_s,
                       u"%1 holds the character U+%2"_s.arg(quoted(entry.name))
                           .arg(QString::number(entry.name[at].unicode(), 16).toUpper(), 4, u'0'));
            return;
        }
    }
}

void checkProduct(const CatalogueEntry& entry, Report& report)
{
    const QString product = BuildInfo::productName();
    if (isOwnUpdate(entry.name) && entry.name != product) {
        report.add(entry.line, u"name-product"_s,
                   u"%1 holds \"%2\""_s.arg(quoted(entry.name), product));
    }
}

void checkName(const CatalogueEntry& entry, Report& report)
{
    const QString& name = entry.name;
    if (name.isEmpty()) {
        report.add(entry.line, u"name-empty"_s, u"the first field is empty"_s);
        return;
    }
    if (name.front().isSpace() || name.back().isSpace()) {
        report.add(entry.line, u"name-blanks"_s,
                   u"%1 begins or ends with a blank"_s.arg(quoted(name)));
    }
    if (name.endsWith(".app"_L1, Qt::CaseInsensitive)) {
        report.add(entry.line, u"name-app"_s, u"%1 ends in \".app\""_s.arg(quoted(name)));
    }
    if (name.contains(u'/')) {
        report.add(entry.line, u"name-slash"_s, u"%1 holds \"/\""_s.arg(quoted(name)));
    }
    checkUnseen(entry, report);
    if (!isAscii(name)) {
        checkAccents(entry, report);
    }
    checkProduct(entry, report);
}

/// @p first is followed by the entries up to @p last whose names begin with its own and go on.
void reportPrefix(EntryOrder::const_iterator first, EntryOrder::const_iterator next,
                  EntryOrder::const_iterator last, Report& report)
{
    const QString& name = (*first)->name;
    const auto isVersion = [&name](const CatalogueEntry* entry) {
        return isVersionOf(name, entry->name);
    };
    const auto version = std::find_if(next, last, isVersion);
    const QString& example = (*(version == last ? next : version))->name;
    QString problem = u"%1 begins %2"_s.arg(quoted(name), quoted(example));
    if (last - next > 1) {
        problem += u" and %1 more"_s.arg(last - next - 1);
    }
    problem += version == last ? u", whose application it takes where it has none of its own"_s
                               : u", whose application it takes unless its own is newer"_s;
    report.add((*first)->line, u"name-prefix"_s, problem);
}

void checkNeighbours(const EntryOrder& sorted, Report& report)
{
    for (auto first = sorted.cbegin(); first != sorted.cend();) {
        const QString& name = (*first)->name;
        auto next = first + 1;
        for (; next != sorted.cend() && (*next)->name == name; ++next) {
            report.add((*next)->line, u"name-duplicate"_s,
                       u"%1 is listed in line %2 already"_s.arg(quoted(name)).arg((*first)->line));
        }
        if (next != sorted.cend() && (*next)->name.startsWith(name)) {
            const auto last =
                std::partition_point(next, sorted.cend(), [&name](const CatalogueEntry* entry) {
                    return entry->name.startsWith(name);
                });
            reportPrefix(first, next, last, report);
        }
        first = next;
    }
}

void checkSpellings(const QList<CatalogueEntry>& entries, Report& report)
{
    QHash<QString, const CatalogueEntry*> seen;
    for (const CatalogueEntry& entry : entries) {
        if (isAscii(entry.name)) {
            continue;
        }
        const CatalogueEntry*& former = seen[composed(entry.name)];
        if (former && former->name != entry.name) {
            report.add(entry.line, u"name-two-spellings"_s,
                       u"%1 is the name in line %2, with other accents"_s.arg(quoted(entry.name))
                           .arg(former->line));
        } else {
            former = &entry;
        }
    }
}

} // namespace

void checkNames(const QList<CatalogueEntry>& entries, Report& report)
{
    for (const CatalogueEntry& entry : entries) {
        checkName(entry, report);
    }
    checkNeighbours(inOrderOfNames(entries), report);
    checkSpellings(entries, report);
}
