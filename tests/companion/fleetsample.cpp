#include "fleetsample.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonObject row(const QString& installed)
{
    const QString name = installed.section(u' ', 0, -2);
    return {{u"path"_s, u"/Applications/%1.app"_s.arg(name)},
            {u"bundle_short_version"_s, installed.section(u' ', -1)},
            {u"bundle_identifier"_s, "org.example."_L1 + name.toLower().remove(u' ')}};
}

QByteArray line(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

QString FleetSample::write(const QString& name, const QByteArray& content) const
{
    const QString path = m_folder.filePath(name);
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qUtf8Printable(path));
    }
    return path;
}

QByteArray FleetSample::catalogue(const QByteArrayList& entries)
{
    QByteArray text = "Name,Version,Release date,Filename,Ignored\n";
    for (const QByteArray& entry : entries) {
        const QByteArray name = entry.left(entry.indexOf(','));
        text += entry + ",2026-03-01," + name + ".zip,0\n";
    }
    return text;
}

QByteArray FleetSample::snapshot(const QString& machine, const QStringList& installed, qint64 time)
{
    QJsonArray rows;
    for (const QString& application : installed) {
        rows.append(row(application));
    }
    return line({{u"snapshot"_s, rows},
                 {u"action"_s, u"snapshot"_s},
                 {u"hostIdentifier"_s, machine},
                 {u"unixTime"_s, time}});
}

QByteArray FleetSample::change(const QString& machine, const QString& action,
                               const QString& installed, qint64 time, int counter)
{
    return line({{u"columns"_s, row(installed)},
                 {u"action"_s, action},
                 {u"hostIdentifier"_s, machine},
                 {u"unixTime"_s, QString::number(time)},
                 {u"counter"_s, counter}});
}
