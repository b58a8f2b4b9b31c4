#include "companion/fleet/csvinventory.h"

#include <QHash>
#include <QIODevice>

using namespace Qt::Literals::StringLiterals;

std::optional<CsvColumns> readCsvColumns(const QString& text)
{
    CsvColumns columns;
    const QHash<QString, QString*> titles = {{u"machine"_s, &columns.machine},
                                             {u"path"_s, &columns.path},
                                             {u"name"_s, &columns.name},
                                             {u"version"_s, &columns.version},
                                             {u"id"_s, &columns.identifier}};
    for (const QString& part : text.split(u',')) {
        const qsizetype sign = part.indexOf(u'=');
        QString* const title = sign < 0 ? nullptr : titles.value(part.first(sign).trimmed());
        if (!title) {
            return std::nullopt;
        }
        *title = part.sliced(sign + 1).trimmed();
    }
    return columns.isUsable() ? std::optional(columns) : std::nullopt;
}

CsvColumns intuneColumns()
{
    return {u"DeviceName"_s, {}, u"ApplicationName"_s, u"ApplicationShortVersion"_s, {},
            u"Platform"_s};
}

CsvInventory::CsvInventory(QIODevice& device, const CsvColumns& columns)
    : m_reader(device, separatorOf(device.peek(4'096).split('\n').constFirst()))
{
    if (!m_reader.next()) {
        return;
    }
    QByteArrayList titles = m_reader.fields();
    if (titles.constFirst().startsWith("\xEF\xBB\xBF")) {
        titles.front().remove(0, 3);
    }
    m_titles = titles.size();
    const auto place = [this, &titles](const QString& title) {
        const qsizetype found = title.isEmpty() ? -1 : titles.indexOf(title.toUtf8());
        if (found < 0 && !title.isEmpty()) {
            m_missing = title;
        }
        return found;
    };
    m_machine = place(columns.machine);
    m_path = place(columns.path);
    m_name = place(columns.name);
    m_version = place(columns.version);
    m_identifier = place(columns.identifier);
    m_platform = place(columns.platform);
}

bool CsvInventory::next()
{
    while (m_missing.isEmpty() && m_reader.next()) {
        if (!m_reader.hasLineEnd() && m_reader.fields().size() < m_titles) {
            m_isCutShort = true;
            return false;
        }
        if (m_platform < 0 || field(m_platform).contains("mac"_L1, Qt::CaseInsensitive)) {
            return true;
        }
    }
    return false;
}

QString CsvInventory::field(qsizetype place) const
{
    return place < 0 ? QString() : QString::fromUtf8(m_reader.fields().value(place));
}

RecordedApplication CsvInventory::application() const
{
    const QString path = m_path < 0 ? assumedPath(field(m_name)) : field(m_path);
    return {path, field(m_version), field(m_identifier)};
}
