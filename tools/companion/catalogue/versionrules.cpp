#include "companion/catalogue/versionrules.h"

#include "companion/report/texttable.h"
#include "profiler/versionorder.h"

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

/// Whether the client takes @p part for 0 although it begins with @p digits, another number.
bool isMisread(QStringView part, QStringView digits)
{
    const bool isZero =
        std::all_of(digits.cbegin(), digits.cend(), [](QChar c) { return c == u'0'; });
    return !isZero && compareVersions(part.toString(), u"0"_s) == 0;
}

/// What the client compares of @p version: what stands before the first bracket, without blanks at
/// its ends.
QStringView comparedText(const QString& version)
{
    return QStringView(version)
        .first(std::find(version.cbegin(), version.cend(), u'(') - version.cbegin())
        .trimmed();
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
    const QStringView compared = comparedText(version);
    const bool startsPlainly = !compared.isEmpty() && isDigit(compared.front());
    if (!startsPlainly) {
        report.add(entry.line, u"version-start"_s,
                   u"%1 does not start with a digit"_s.arg(quoted(version)));
    }
    bool hasText = version.contains(u'(');
    for (const QStringView part : compared.split(u'.')) {
        const QStringView digits = leadingDigits(part);
        hasText = hasText || digits.size() < part.size() || part.isEmpty();
        if (isMisread(part, digits)) {
            report.add(entry.line, u"version-number"_s,
                       u"the client reads 0 for the %1 of %2"_s.arg(quoted(part.toString()),
                                                                    quoted(version)));
        }
    }
    if (hasText && startsPlainly) {
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
