// The publisher's check of a catalogue. It offers the entries that the client offers, in the same
// order; each line that the client drops has a finding, when the header tells which line is
// dropped; no finding is of a line that is not there; nothing that it writes has an unseen
// character; its JSON is JSON, with every finding in it.

#include "fuzzing.h"

#include "companion/catalogue/check.h"
#include "companion/catalogue/columns.h"
#include "companion/report/texttable.h"
#include "web/catalogueformat.h"
#include "web/webprofiler.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>
#include <QTextStream>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

void requirePrintable(const QString& text)
{
    for (const QString& line : text.split(u'\n')) {
        requireEqual("nothing is written that is not seen", line, printable(line));
    }
}

void requireDroppedLines(const QStringList& lines, const QString& separator,
                         const QList<Finding>& findings)
{
    QSet<qsizetype> told;
    for (const Finding& finding : findings) {
        require("a finding is of a line that is there",
                finding.line >= 0 && finding.line <= std::max(lines.size(), qsizetype(1)));
        told.insert(finding.line);
    }
    const QString header = lines.value(0);
    const bool hasIgnored = header.split(separator).sliced(1).contains(Column::ignored);
    const CatalogueFormat format(header, separator);
    for (qsizetype at = 1; at < lines.size(); ++at) {
        if (hasIgnored && !format.isOffered(lines[at])) {
            require("a line that is dropped has a finding", told.contains(at + 1));
        }
    }
}

void requireOutput(const QList<Finding>& findings)
{
    QString text;
    QString json;
    QTextStream textOut(&text);
    QTextStream jsonOut(&json);
    writeFindings(findings, textOut);
    writeFindingsAsJson(findings, {}, jsonOut);
    textOut.flush();
    jsonOut.flush();
    requireEqual("each finding is one line", text.count(u'\n'), findings.size());
    requirePrintable(text);
    requirePrintable(json);
    requireEqual("the JSON has every finding",
                 QJsonDocument::fromJson(json.toUtf8())[u"findings"].toArray().size(),
                 findings.size());
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const std::array<QString, 4> separators{u","_s, u";"_s, u"\t"_s, u"::"_s};
    FuzzedDataProvider input(data, size);
    const QString separator = input.PickValueInArray(separators);
    const QByteArray text = rest(input);

    Report report(u"catalogue.csv"_s);
    const CatalogueText read = checkCatalogue(text, separator, report);
    const QList<Finding> findings = report.takeFindings();

    WebProfiler client({}, {}, separator, {});
    client.updateData(text);
    QStringList names;
    for (const CatalogueEntry& entry : read.entries) {
        names.append(entry.name);
    }
    requireEqual("the entries are the client's", names, client.getAppList());
    requireDroppedLines(linesOf(text), separator, findings);
    requireOutput(findings);
    return 0;
}
