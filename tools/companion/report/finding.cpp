#include "companion/report/finding.h"

#include "companion/report/rules.h"
#include "companion/report/texttable.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

QList<Finding> Report::findings() const
{
    QList<Finding> sorted = m_findings;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const Finding& a, const Finding& b) { return a.line < b.line; });
    return sorted;
}

bool isFailure(const QList<Finding>& findings, bool strictly)
{
    const Severity least = strictly ? Severity::Warning : Severity::Error;
    return std::any_of(findings.cbegin(), findings.cend(), [least](const Finding& finding) {
        return catalogueRule(finding.rule).severity >= least;
    });
}

void writeFindings(const QList<Finding>& findings, QTextStream& out)
{
    for (const Finding& finding : findings) {
        const Rule& rule = catalogueRule(finding.rule);
        out << printable(finding.file) << ':' << finding.line << ": " << severityName(rule.severity)
            << ": " << finding.problem << ". " << rule.effect << ' ' << rule.remedy << " ["
            << rule.id << "]\n";
    }
}

QJsonArray toJson(const QList<Finding>& findings)
{
    QJsonArray array;
    for (const Finding& finding : findings) {
        const Rule& rule = catalogueRule(finding.rule);
        array.append(QJsonObject{{u"file"_s, finding.file},
                                 {u"line"_s, finding.line},
                                 {u"severity"_s, severityName(rule.severity)},
                                 {u"rule"_s, rule.id},
                                 {u"problem"_s, finding.problem},
                                 {u"effect"_s, rule.effect},
                                 {u"remedy"_s, rule.remedy}});
    }
    return array;
}

void writeFindingsAsJson(const QList<Finding>& findings, QTextStream& out)
{
    out << printableJson(QJsonDocument(toJson(findings)).toJson());
}
