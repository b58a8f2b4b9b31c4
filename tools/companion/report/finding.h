#pragma once

#include <QList>
#include <QString>

class QJsonArray;
class QTextStream;

/// How much a finding weighs: a note tells of what is probably meant, a warning of what may go
/// wrong, an error of what does.
enum class Severity
{
    Note,
    Warning,
    Error
};

/// "note", "warning" or "error".
[[nodiscard]] QString severityName(Severity severity);

/// One rule that a catalogue can break.
struct Rule
{
    QString id; ///< for example "name-duplicate"
    Severity severity = Severity::Error;
    QString meaning; ///< what is found
    QString effect;  ///< what the client does then
    QString remedy;  ///< how to mend it
};

/// One place where a rule is broken.
struct Finding
{
    QString file;
    qsizetype line = 0; ///< from 1; 0 is the file as a whole
    QString rule;       ///< its identifier
    QString problem;    ///< what is wrong in this place, without a full stop
};

/// What was found in one file.
class Report
{
public:
    /// Findings are in the file @p file.
    explicit Report(const QString& file) : m_file(file) {}
    void add(qsizetype line, const QString& rule, const QString& problem)
    {
        m_findings.append({m_file, line, rule, problem});
    }
    /// A finding in another file.
    void addElsewhere(const QString& file, const QString& rule, const QString& problem)
    {
        m_findings.append({file, 0, rule, problem});
    }
    /// By line; those of one line in the order in which they were added.
    [[nodiscard]] QList<Finding> findings() const;

private:
    QString m_file;
    QList<Finding> m_findings;
};

/// Whether any of @p findings is an error or, where @p strictly, a warning.
[[nodiscard]] bool isFailure(const QList<Finding>& findings, bool strictly);

/// The rules that `check` knows, in the order of `--list-rules`.
[[nodiscard]] const QList<Rule>& catalogueRules();
/// The rule of that identifier, which must be known.
[[nodiscard]] const Rule& catalogueRule(const QString& id);

/// @p text between single quotes, its control characters written out: "\\x1b".
[[nodiscard]] QString quoted(const QString& text);

/// Writes one line a finding: "file:line: severity: problem. Effect. Remedy. [rule]".
void writeFindings(const QList<Finding>& findings, QTextStream& out);
/// Objects with the keys file, line, severity, rule, problem, effect and remedy.
[[nodiscard]] QJsonArray toJson(const QList<Finding>& findings);
/// Writes toJson() as text.
void writeFindingsAsJson(const QList<Finding>& findings, QTextStream& out);
