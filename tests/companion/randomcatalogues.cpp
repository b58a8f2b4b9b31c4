#include "randomcatalogues.h"

#include "support/propertylist.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

const QStringList separators = {u","_s, u";"_s, u"\t"_s, u"|"_s, u"::"_s};

// Few beginnings, so that many names begin alike.
const QStringList beginnings = {u"Synth"_s,       u"S"_s, u"Basaltine"_s, u"Étude"_s,
                                u"E\u0301tude"_s, u"2"_s, u"Quillmere"_s, u"synth"_s};
const QStringList endings = {QString(),
                             QString(),
                             u" 2"_s,
                             u" 10.4"_s,
                             u"2"_s,
                             u" Pro"_s,
                             u" Pro 3"_s,
                             u"."_s,
                             u" "_s,
                             u" (beta)"_s,
                             u"' v1"_s,
                             u"' → matched 'Synth' v9"_s,
                             u"' → 2 candidates: ['S' v1] → matched 'S' v1"_s,
                             u" (/Applications/S.app)"_s,
                             u", 'Synth 2' v3"_s,
                             u" Synth"_s,
                             u"\u00a02"_s,
                             u"\""_s};
const QStringList versions = {
    u"1"_s,  u"1.0"_s,    u"1.0.1"_s,      u"2"_s,   u"2.10"_s,       u"2.9"_s,  u"10"_s,
    u"3b"_s, u"beta"_s,   u"v2"_s,         u"0"_s,   u"0.5"_s,        u"1..2"_s, u"99999999999"_s,
    u"-1"_s, u"1.0(5)"_s, u"2147483647"_s, u"١.٢"_s, u"1', 'S' v2"_s, QString()};

} // namespace

RandomCatalogues::RandomCatalogues(quint32 seed)
    : m_random(seed)
    , m_separator(separators[qsizetype(seed) % separators.size()])
{}

QString RandomCatalogues::pick(const QStringList& texts)
{
    return texts[m_random.bounded(int(texts.size()))];
}

QString RandomCatalogues::name()
{
    return pick(beginnings) + (isOneIn(2) ? pick(endings) : QString());
}

QString RandomCatalogues::version()
{
    return pick(versions);
}

QString RandomCatalogues::field(const QString& value)
{
    switch (m_random.bounded(6)) {
    case 0:
        return u'"' + value + u'"';
    case 1:
        return u"  "_s + value + u'\t';
    case 2:
        return u" \""_s + value + u"\" "_s;
    default:
        return value;
    }
}

QByteArray RandomCatalogues::catalogue()
{
    QStringList titles = {u"Version"_s, u"Release date"_s, u"Filename"_s, u"Ignored"_s};
    std::shuffle(titles.begin(), titles.end(), m_random);
    if (isOneIn(4)) {
        titles.insert(m_random.bounded(5), pick({u"Version"_s, u"Note"_s, u" Ignored"_s}));
    }
    titles.prepend(u"Name"_s);
    const QString end = isOneIn(3) ? u"\r\n"_s : u"\n"_s;
    QString text = titles.join(m_separator) + end;
    const int records = m_random.bounded(1, 16);
    for (int record = 0; record < records; ++record) {
        QStringList fields = {field(isOneIn(30) ? QString() : name())};
        for (const QString& title : titles.sliced(1)) {
            fields.append(field(title == "Ignored"_L1 ? pick({u"0"_s, u"0"_s, u"0"_s, u"0"_s,
                                                              u"1"_s, u"00"_s, QString()})
                                                      : version()));
        }
        if (isOneIn(12)) {
            fields.removeLast();
        }
        if (isOneIn(12)) {
            fields.append(u"more"_s);
        }
        text += fields.join(m_separator) + (isOneIn(15) ? end + end : end);
    }
    return text.toUtf8();
}

QByteArray RandomCatalogues::changed(const QByteArray& catalogue)
{
    QStringList lines = QString::fromUtf8(catalogue).split(u'\n');
    for (qsizetype i = 1; i < lines.size(); ++i) {
        QStringList fields = lines[i].split(m_separator);
        // Not the last one, which may have the line's end.
        if (fields.size() > 2 && isOneIn(2)) {
            fields[number(1, int(fields.size()) - 1)] = version();
            lines[i] = fields.join(m_separator);
        }
    }
    return lines.join(u'\n').toUtf8();
}

QByteArray randomInfoPlist(const QString& key, const QString& version)
{
    return xmlPlist("<key>" + key.toUtf8() + "</key><string>" + version.toHtmlEscaped().toUtf8() +
                    "</string>");
}

void silenceClientLog()
{
    static QtMessageHandler former = nullptr;
    former = qInstallMessageHandler(
        [](QtMsgType type, const QMessageLogContext& context, const QString& text) {
            if (type != QtDebugMsg) {
                former(type, context, text);
            }
        });
}
