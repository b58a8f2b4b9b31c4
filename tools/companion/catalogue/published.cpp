#include "companion/catalogue/published.h"

#include "companion/catalogue/filetype.h"
#include "companion/report/source.h"

#include <QFileInfo>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Why the catalogue @p bytes, which was read as @p text with @p findings, says nothing.
QString uselessness(const QByteArray& bytes, const CatalogueText& text,
                    const QList<Finding>& findings)
{
    if (bytes.isEmpty()) {
        return u"it is empty"_s;
    }
    if (isWebPage(bytes)) {
        return u"it is a web page"_s;
    }
    const auto separator =
        std::find_if(findings.cbegin(), findings.cend(),
                     [](const Finding& finding) { return finding.rule == "separator"_L1; });
    if (separator != findings.cend()) {
        return separator->problem;
    }
    const auto hasVersion = [](const CatalogueEntry& entry) { return !entry.version.isEmpty(); };
    if (text.entries.isEmpty()) {
        return u"no line of it is a valid entry"_s;
    }
    return std::any_of(text.entries.cbegin(), text.entries.cend(), hasVersion)
               ? QString()
               : u"no entry of it has a version"_s;
}

} // namespace

Published readPublished(const QString& place, const QString& separator)
{
    const Source source = readSource(place);
    if (!source.error.isEmpty()) {
        return {{}, {}, source.error};
    }
    Report report(place);
    Published published;
    published.text = readCatalogue(source.bytes, separator, report);
    if (!isWebAddress(place)) {
        published.changed = QFileInfo(place).lastModified();
    }
    if (const QString why = uselessness(source.bytes, published.text, report.takeFindings());
        !why.isEmpty()) {
        published.error = u"cannot compare with %1: %2"_s.arg(place, why);
    }
    return published;
}
