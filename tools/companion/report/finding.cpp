#include "companion/report/finding.h"

#include "companion/report/rules.h"
#include "companion/report/texttable.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype mostFindings = 1'000'000; // some 300 MB of them
constexpr int formatVersion = 1;              // of the JSON; grows when a key changes its meaning

QString counted(qsizetype count, const QString& one, const QString& several)
{
    return QString::number(count) + u' ' + (count == 1 ? one : several);
}

QJsonObject toJson(const Finding& finding)
{
    const Rule& rule = catalogueRule(finding.rule);
    return {{u"file"_s, finding.file},
            {u"line"_s, finding.line},
            {u"severity"_s, severityName(rule.severity)},
            {u"rule"_s, rule.id},
            {u"problem"_s, finding.problem},
            {u"effect"_s, rule.effect},
            {u"remedy"_s, rule.remedy}};
}

} // namespace

void Report::append(const Finding& finding)
{
    if (m_findings.size() < mostFindings) {
        m_findings.append(finding);
    } else {
        ++m_leftOut;
    }
}

QList<Finding> Report::takeFindings()
{
    QList<Finding> sorted = std::exchange(m_findings, {});
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

void writeFindingsShortly(const QList<Finding>& findings, QTextStream& out)
{
    for (const Finding& finding : findings) {
        out << printable(finding.file) << ':' << finding.line << ": "
            << severityName(catalogueRule(finding.rule).severity) << ": " << finding.problem << " ["
            << finding.rule << "]\n";
    }
}

QString cleanText(const Summary& summary)
{
    QString text = counted(summary.entries, u"entry"_s, u"entries"_s);
    if (summary.files >= 0) {
        text += ", "_L1 + counted(summary.files, u"file"_s, u"files"_s);
    }
    text += ": nothing found"_L1;
    return summary.accepted > 0 ? text + u", %1 accepted"_s.arg(summary.accepted) : text;
}

QJsonArray toJson(const QList<Finding>& findings)
{
    QJsonArray array;
    for (const Finding& finding : findings) {
        array.append(toJson(finding));
    }
    return array;
}

void writeFindingsAsJson(const QList<Finding>& findings, const Summary& summary, QTextStream& out)
{
    QHash<Severity, qsizetype> counts;
    out << "{\"version\": " << formatVersion << ",\n\"findings\": [";
    const char* between = "\n";
    for (const Finding& finding : findings) {
        out << between
            << printableJson(QJsonDocument(toJson(finding)).toJson(QJsonDocument::Compact));
        between = ",\n";
        ++counts[catalogueRule(finding.rule).severity];
    }
    QJsonObject total{{u"entries"_s, summary.entries},
                      {u"errors"_s, counts.value(Severity::Error)},
                      {u"warnings"_s, counts.value(Severity::Warning)},
                      {u"notes"_s, counts.value(Severity::Note)},
                      {u"accepted"_s, summary.accepted},
                      {u"leftOut"_s, summary.leftOut}};
    if (summary.files >= 0) {
        total.insert(u"files"_s, summary.files);
    }
    out << "\n],\n\"summary\": "
        << QString::fromUtf8(QJsonDocument(total).toJson(QJsonDocument::Compact)) << "}\n";
}
