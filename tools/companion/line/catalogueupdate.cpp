#include "companion/line/catalogueupdate.h"

#include "companion/report/texttable.h"
#include "profiler/applicationmatch.h"

using namespace Qt::Literals::StringLiterals;

namespace {

const QString versionTitle = u"Version"_s;
const QString dateTitle = u"Release date"_s;
const QString fileTitle = u"Filename"_s;
const QString ignoredTitle = u"Ignored"_s;

const QStringList& neededTitles()
{
    static const QStringList titles = {versionTitle, dateTitle, fileTitle, ignoredTitle};
    return titles;
}

} // namespace

QByteArray usualHeader(const QString& separator)
{
    return (QStringList{u"Name"_s} + neededTitles()).join(separator).toUtf8() + '\n';
}

CatalogueUpdate::CatalogueUpdate(const QByteArray& catalogue, const QString& separator)
    : m_separator(separator)
{
    for (qsizetype at = 0; at < catalogue.size();) {
        const qsizetype feed = catalogue.indexOf('\n', at);
        const qsizetype next = feed < 0 ? catalogue.size() : feed + 1;
        const qsizetype end = feed > at && catalogue[feed - 1] == '\r' ? feed - 1 : feed;
        const qsizetype stop = feed < 0 ? next : end;
        m_lines.append({catalogue.sliced(at, stop - at), catalogue.sliced(stop, next - stop)});
        at = next;
    }
    QString header = m_lines.isEmpty() ? QString() : QString::fromUtf8(m_lines.constFirst().text);
    if (header.startsWith(QChar::ByteOrderMark)) {
        header.remove(0, 1); // as the client's reading of the text does
    }
    m_titles = header.split(separator);
    m_format = CatalogueFormat(header, separator);
}

QString CatalogueUpdate::error() const
{
    for (const QString& title : neededTitles()) {
        if (!m_titles.sliced(1).contains(title)) {
            return u"no column is titled %1"_s.arg(quoted(title));
        }
    }
    return {};
}

QString CatalogueUpdate::nameIn(const Line& line) const
{
    return m_format.name(QString::fromUtf8(line.text));
}

KnownText CatalogueUpdate::filled(QStringList fields, const ProposedLine& line) const
{
    const QHash<QString, QString> values = {
        {versionTitle, line.version}, {dateTitle, line.date}, {fileTitle, line.fileName}};
    while (fields.size() < m_titles.size()) {
        fields.append(QString());
    }
    for (qsizetype place = 1; place < m_titles.size(); ++place) {
        if (values.contains(m_titles[place])) {
            fields[place] = values.value(m_titles[place]);
        }
    }
    const QString text = fields.join(m_separator);
    for (auto value = values.cbegin(); value != values.cend(); ++value) {
        if (m_format.value(text, value.key()) != *value || text.contains(u'\n')) {
            return {{}, u"%1 cannot stand in a catalogue's field"_s.arg(quoted(*value))};
        }
    }
    return {text, {}};
}

KnownText CatalogueUpdate::newLine(const ProposedLine& line) const
{
    if (m_format.name(line.name + m_separator) != line.name || line.name.contains(u'\n')) {
        return unknownText(u"%1 cannot stand in a catalogue's field"_s.arg(quoted(line.name)));
    }
    QStringList fields{line.name};
    for (const QString& title : m_titles.sliced(1)) {
        fields.append(title == ignoredTitle ? u"0"_s : QString());
    }
    return filled(fields, line);
}

QList<qsizetype> CatalogueUpdate::linesFor(const QString& name) const
{
    QList<qsizetype> same;
    QList<qsizetype> alike;
    for (qsizetype i = 1; i < m_lines.size(); ++i) {
        const QString entry = nameIn(m_lines[i]);
        if (entry == name) {
            same.append(i);
        } else if (!entry.isEmpty() && name.startsWith(entry) && isVersionOf(entry, name)) {
            alike.append(i);
        }
    }
    return same.isEmpty() ? alike : same;
}

QString CatalogueUpdate::set(const ProposedLine& line)
{
    const QList<qsizetype> places = linesFor(line.name);
    if (places.size() > 1) {
        return u"more than one line stands for %1"_s.arg(quoted(line.name));
    }
    if (places.isEmpty()) {
        const KnownText text = newLine(line);
        if (text.isKnown()) {
            add(text.value);
        }
        return text.unknown;
    }
    Line& former = m_lines[places.constFirst()];
    const KnownText text = filled(QString::fromUtf8(former.text).split(m_separator), line);
    if (text.isKnown()) {
        former.text = text.value.toUtf8();
    }
    return text.unknown;
}

void CatalogueUpdate::add(const QString& text)
{
    const QByteArray end = m_lines.constFirst().end.isEmpty() ? "\n" : m_lines.constFirst().end;
    if (m_lines.constLast().end.isEmpty()) {
        m_lines.last().end = end;
    }
    m_lines.append({text.toUtf8(), end});
}

QByteArray CatalogueUpdate::bytes() const
{
    QByteArray bytes;
    for (const Line& line : m_lines) {
        bytes += line.text + line.end;
    }
    return bytes;
}
