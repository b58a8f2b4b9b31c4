#include "companion/catalogue/knownnames.h"

#include "companion/report/texttable.h"
#include "profiler/applicationmatch.h"

#include <QSet>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

QStringList readKnownNames(const QByteArray& text)
{
    QStringList names;
    for (const QByteArray& line : text.split('\n')) {
        QString name = QString::fromUtf8(line).trimmed().section(u'/', -1);
        if (name.endsWith(".app"_L1, Qt::CaseInsensitive)) {
            name.chop(4);
        }
        if (!name.isEmpty()) {
            names.append(name);
        }
    }
    names.sort();
    names.removeDuplicates();
    return names;
}

void checkKnownNames(const QList<CatalogueEntry>& entries, const QStringList& known, Report& report)
{
    QSet<QString> ownNames;
    for (const CatalogueEntry& entry : entries) {
        ownNames.insert(entry.name);
    }
    for (const CatalogueEntry& entry : entries) {
        QStringList others;
        for (auto name = std::lower_bound(known.cbegin(), known.cend(), entry.name);
             name != known.cend() && name->startsWith(entry.name); ++name) {
            if (!isVersionOf(entry.name, *name) && !ownNames.contains(*name)) {
                others.append(*name);
            }
        }
        if (entry.name.isEmpty() || others.isEmpty()) {
            continue;
        }
        QString problem =
            u"%1 begins the known name %2"_s.arg(quoted(entry.name), quoted(others.constFirst()));
        if (others.size() > 1) {
            problem += u" and %1 more"_s.arg(others.size() - 1);
        }
        report.add(entry.line, u"name-known"_s, problem);
    }
}
