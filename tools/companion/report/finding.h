#pragma once

#include <QList>
#include <QString>

class QJsonArray;
class QTextStream;

/// One place where a rule is broken. Who finds something in an archive leaves its place open: the
/// caller knows what the archive stands for.
struct Finding
{
    QString rule;       ///< its identifier
    QString problem;    ///< what is wrong in this place, without a full stop
    QString file = {};  ///< empty while it is open
    qsizetype line = 0; ///< from 1; 0 is the file as a whole

    [[nodiscard]] bool operator==(const Finding&) const = default;
};

/// What was found in one file.
class Report
{
public:
    /// Findings are in the file @p file.
    explicit Report(const QString& file) : m_file(file) {}
    void add(qsizetype line, const QString& rule, const QString& problem)
    {
        m_findings.append({rule, problem, m_file, line});
    }
    /// A finding in another file.
    void addElsewhere(const QString& file, const QString& rule, const QString& problem)
    {
        m_findings.append({rule, problem, file});
    }
    /// By line; those of one line in the order in which they were added.
    [[nodiscard]] QList<Finding> findings() const;

private:
    QString m_file;
    QList<Finding> m_findings;
};

/// Whether any of @p findings is an error or, where @p strictly, a warning.
[[nodiscard]] bool isFailure(const QList<Finding>& findings, bool strictly);

/// Writes one line a finding: "file:line: severity: problem. Effect. Remedy. [rule]".
void writeFindings(const QList<Finding>& findings, QTextStream& out);
/// Objects with the keys file, line, severity, rule, problem, effect and remedy.
[[nodiscard]] QJsonArray toJson(const QList<Finding>& findings);
/// Writes toJson() as text.
void writeFindingsAsJson(const QList<Finding>& findings, QTextStream& out);
