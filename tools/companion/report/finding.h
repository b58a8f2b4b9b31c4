#pragma once

#include <QList>
#include <QString>

class QJsonArray;
class QTextStream;

/// One place where a rule is broken. Who finds something in an archive leaves its place open: the
/// caller knows what the archive stands for.
struct Finding
{
    QString rule;             ///< its identifier
    QString problem;          ///< what is wrong in this place, without a full stop
    QString file = {};        ///< empty while it is open
    qsizetype line = 0;       ///< from 1; 0 is the file as a whole
    bool isElsewhere = false; ///< in another file than the one that is checked

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
        append({rule, problem, m_file, line});
    }
    /// A finding in another file.
    void addElsewhere(const QString& file, const QString& rule, const QString& problem)
    {
        append({rule, problem, file, 0, true});
    }
    /// By line; those of one line in the order in which they were added. The report is empty then.
    [[nodiscard]] QList<Finding> takeFindings();
    /// How many findings were left out, as a list of them all would not fit into memory.
    [[nodiscard]] qsizetype leftOut() const { return m_leftOut; }

private:
    void append(const Finding& finding);

    qsizetype m_leftOut = 0;
    QString m_file;
    QList<Finding> m_findings;
};

/// Whether any of @p findings is an error or, where @p strictly, a warning.
[[nodiscard]] bool isFailure(const QList<Finding>& findings, bool strictly);

/// What was looked at, and what of it was found.
struct Summary
{
    qsizetype entries = 0;
    qsizetype files = -1; ///< -1 where none were looked at
    qsizetype accepted = 0;
    qsizetype leftOut = 0;
};

/// "412 entries, 38 files: nothing found", for a list of no findings.
[[nodiscard]] QString cleanText(const Summary& summary);

/// Writes one line a finding: "file:line: severity: problem. Effect. Remedy. [rule]".
void writeFindings(const QList<Finding>& findings, QTextStream& out);
/// As writeFindings(), without effect and remedy.
void writeFindingsShortly(const QList<Finding>& findings, QTextStream& out);
/// Objects with the keys file, line, severity, rule, problem, effect and remedy.
[[nodiscard]] QJsonArray toJson(const QList<Finding>& findings);
/// Writes an object with the format's version, the findings as toJson() has them, one a line, and a
/// summary. Each finding is written before the next one is made into JSON.
void writeFindingsAsJson(const QList<Finding>& findings, const Summary& summary, QTextStream& out);
