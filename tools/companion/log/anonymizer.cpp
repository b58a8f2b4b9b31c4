#include "companion/log/anonymizer.h"

#include "app/buildinfo.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList longestFirst(const QSet<QString>& texts)
{
    QStringList list(texts.cbegin(), texts.cend());
    std::sort(list.begin(), list.end(), [](const QString& a, const QString& b) {
        return a.size() != b.size() ? a.size() > b.size() : a < b;
    });
    return list;
}

/// The folders that users' homes lie in, and the home that the client's own folder lies in.
QSet<QString> homesIn(const QString& log)
{
    static const QRegularExpression address(u"\\bhttps?://\\S+"_s);
    static const QRegularExpression usual(uR"((?:/Users|/home)/([^/\s'"(),;:]*[^/\s'"(),;:.]))"_s);
    const QRegularExpression own(
        u"(/[^\\n]*?)/Library/%1/config\\.xml"_s.arg(BuildInfo::productName()));
    QSet<QString> homes;
    // A web server's path can begin like a home folder's.
    for (auto found = usual.globalMatch(QString(log).remove(address)); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        if (match.captured(1) != "Shared"_L1) {
            homes.insert(match.captured());
        }
    }
    for (auto found = own.globalMatch(log); found.hasNext();) {
        homes.insert(found.next().captured(1));
    }
    return homes;
}

} // namespace

Anonymizer::Anonymizer(const QByteArray& log)
{
    const QSet<QString> homes = homesIn(QString::fromUtf8(log));
    QSet<QString> users;
    for (const QString& home : homes) {
        if (const QString user = home.section(u'/', -1); !user.isEmpty()) {
            users.insert(user);
        }
    }
    m_homes = longestFirst(homes);
    m_users = longestFirst(users);
}

QString Anonymizer::anonymous(const QString& text) const
{
    static const QRegularExpression credentials(u"(?<=://)[^/\\s]+@"_s);
    QString result = text;
    result.remove(credentials);
    for (const QString& home : m_homes) {
        result.replace(QRegularExpression(QRegularExpression::escape(home) + u"(?![\\w-])"_s,
                                          QRegularExpression::UseUnicodePropertiesOption),
                       u"~"_s);
    }
    for (const QString& user : m_users) {
        result.replace(
            QRegularExpression(u"(?<!\\w)"_s + QRegularExpression::escape(user) + u"(?!\\w)"_s,
                               QRegularExpression::CaseInsensitiveOption |
                                   QRegularExpression::UseUnicodePropertiesOption),
            u"user"_s);
    }
    return result;
}
