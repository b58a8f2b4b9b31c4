#include "companion/catalogue/versionrules.h"

#include "companion/report/texttable.h"
#include "profiler/versionorder.h"

#include <QHash>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

/// Whether nothing about @p version can be misread: numbers of at most nine digits between dots.
bool isPlain(const QString& version)
{
    int digits = 0;
    for (const QChar c : version) {
        if (c == u'.' && digits > 0) {
            digits = 0;
        } else if (!isDigit(c) || ++digits > 9) {
            return false;
        }
    }
    return digits > 0;
}

/// The digits that @p part begins with.
QStringView leadingDigits(QStringView part)
{
    return part.first(std::find_if_not(part.cbegin(), part.cend(), isDigit) - part.cbegin());
}

/// Whether the client finds that @p digits, as a version, are 0 although they are another number.
bool isTooLarge(QStringView digits)
{
    const bool isZero =
        std::all_of(digits.cbegin(), digits.cend(), [](QChar c) { return c == u'0'; });
    return !isZero && compareVersions(digits.toString(), u"0"_s) == 0;
}

void checkVersion(const CatalogueEntry& entry, Report& report)
{
    const QString& version = entry.version;
    if (isPlain(version)) {
        return;
    }
    if (version.isEmpty()) {
        report.add(entry.line, u"version-empty"_s, u"%1 has no version"_s.arg(quoted(entry.name)));
        return;
    }
    if (!isDigit(version.front())) {
        report.add(entry.line, u"version-start"_s,
                   u"%1 does not start with a digit"_s.arg(quoted(version)));
    }
    bool hasText = false;
    for (const QStringView part : QStringView(version).split(u'.')) {
        const QStringView digits = leadingDigits(part);
        hasText = hasText || digits.size() < part.size() || part.isEmpty();
        if (isTooLarge(digits)) {
            report.add(entry.line, u"version-number"_s,
                       u"the %1 of %2 is too large"_s.arg(digits.toString(), quoted(version)));
        }
    }
    if (hasText && isDigit(version.front())) {
        report.add(entry.line, u"version-text"_s,
                   u"%1 is more than numbers between dots"_s.arg(quoted(version)));
    }
}

} // namespace

void checkVersions(const QList<CatalogueEntry>& entries, Report& report)
{
    for (const CatalogueEntry& entry : entries) {
        checkVersion(entry, report);
    }
}

void checkAgainstPublished(const QList<CatalogueEntry>& entries,
                           const QList<CatalogueEntry>& published, Report& report)
{
    QHash<QString, QString> versions; // of a name listed twice the later, as in the client
    for (const CatalogueEntry& entry : published) {
        versions.insert(entry.name, entry.version);
    }
    for (const CatalogueEntry& entry : entries) {
        const auto former = versions.constFind(entry.name);
        if (former == versions.cend() || *former == entry.version) {
            continue;
        }
        const int order = compareVersions(entry.version, *former);
        if (order == 0) {
            report.add(entry.line, u"version-same"_s,
                       u"%1 equals the published %2"_s.arg(quoted(entry.version), quoted(*former)));
        } else if (order < 0) {
            report.add(
                entry.line, u"version-older"_s,
                u"%1 is older than the published %2"_s.arg(quoted(entry.version), quoted(*former)));
        }
    }
}
