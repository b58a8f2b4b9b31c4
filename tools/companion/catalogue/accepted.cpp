#include "companion/catalogue/accepted.h"

#include "companion/report/rules.h"
#include "companion/report/texttable.h"

#include <QFileInfo>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

bool isRule(const QString& id)
{
    const QList<Rule>& rules = catalogueRules();
    return std::any_of(rules.cbegin(), rules.cend(),
                       [&id](const Rule& rule) { return rule.id == id; });
}

} // namespace

AcceptedFindings::AcceptedFindings(const QByteArray& text, const QString& place) : m_place(place)
{
    qsizetype number = 0;
    for (const QByteArray& bytes : text.split('\n')) {
        const QString line = QString::fromUtf8(bytes).trimmed();
        ++number;
        if (line.isEmpty() || line.startsWith(u'#')) {
            continue;
        }
        const QString rule = line.section(u' ', 0, 0);
        if (!isRule(rule)) {
            m_error = u"%1:%2: no rule is named %3"_s.arg(place).arg(number).arg(quoted(rule));
            return;
        }
        m_accepted.insert((rule + u' ' + line.section(u' ', 1).trimmed()).trimmed(),
                          {number, false});
    }
}

qsizetype AcceptedFindings::removeFrom(QList<Finding>& findings,
                                       const QHash<qsizetype, QString>& names)
{
    return findings.removeIf([this, &names](const Finding& finding) {
        const QString name =
            finding.isElsewhere ? QFileInfo(finding.file).fileName() : names.value(finding.line);
        const auto accepted = m_accepted.find((finding.rule + u' ' + name).trimmed());
        if (accepted == m_accepted.end()) {
            return false;
        }
        accepted->isUsed = true;
        return true;
    });
}

QList<Finding> AcceptedFindings::needless() const
{
    QList<Finding> findings;
    for (auto accepted = m_accepted.cbegin(); accepted != m_accepted.cend(); ++accepted) {
        if (!accepted->isUsed) {
            findings.append({u"accept-needless"_s,
                             u"%1 was not found"_s.arg(quoted(accepted.key())), m_place,
                             accepted->line});
        }
    }
    std::sort(findings.begin(), findings.end(),
              [](const Finding& a, const Finding& b) { return a.line < b.line; });
    return findings;
}
