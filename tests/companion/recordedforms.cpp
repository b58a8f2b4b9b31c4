#include "recordedforms.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString address = u"olga.owner@example.org"_s;
const QString person = u"Olga Owner"_s;
const QString account = u"olga77"_s;
const QString serial = u"C02SERIAL77"_s;
const QString network = u"192.0.2.77"_s;

QByteArray compact(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QJsonObject osqueryRow(const RecordedApplication& application)
{
    return {{u"path"_s, application.path},
            {u"bundle_short_version"_s, application.version},
            {u"bundle_identifier"_s, application.identifier}};
}

QJsonArray osqueryRows(const QList<RecordedApplication>& applications)
{
    QJsonArray rows;
    for (const RecordedApplication& application : applications) {
        rows.append(osqueryRow(application));
    }
    return rows;
}

QJsonObject osqueryHead(const QString& machine, qint64 time, int counter)
{
    return {
        {u"hostIdentifier"_s, machine},
        {u"unixTime"_s, time},
        {u"counter"_s, counter},
        {u"decorations"_s, QJsonObject{{u"hardware_serial"_s, serial}, {u"username"_s, account}}}};
}

QByteArray snapshot(const QString& machine, const QList<RecordedApplication>& applications)
{
    QJsonObject line = osqueryHead(machine, 1'772'359'200, 0);
    line.insert(u"action"_s, u"snapshot"_s);
    line.insert(u"snapshot"_s, osqueryRows(applications));
    return compact(line);
}

/// All that is installed and one more, then that one's removal.
QByteArray changes(const QString& machine, const QList<RecordedApplication>& applications)
{
    const RecordedApplication gone{u"/Applications/S 99.app"_s, u"99"_s, {}};
    QByteArray lines;
    for (const RecordedApplication& application : QList<RecordedApplication>{gone} + applications) {
        QJsonObject line = osqueryHead(machine, 1'772'359'200, 0);
        line.insert(u"action"_s, u"added"_s);
        line.insert(u"columns"_s, osqueryRow(application));
        lines += compact(line);
    }
    QJsonObject last = osqueryHead(machine, 1'772'359'300, 1);
    last.insert(u"diffResults"_s,
                QJsonObject{{u"added"_s, QString()}, {u"removed"_s, osqueryRows({gone})}});
    return lines + compact(last);
}

QByteArray rows(const QString& /*machine*/, const QList<RecordedApplication>& applications)
{
    return QJsonDocument(osqueryRows(applications)).toJson();
}

QByteArray csvLine(const QStringList& fields)
{
    QStringList quoted;
    for (QString field : fields) {
        quoted.append(u'"' + field.replace(u'"', "\"\""_L1) + u'"');
    }
    return quoted.join(u',').toUtf8() + "\r\n";
}

QByteArray table(const QString& machine, const QList<RecordedApplication>& applications)
{
    QByteArray text = csvLine({u"Device"_s, u"Owner"_s, u"Path"_s, u"Version"_s, u"Serial"_s});
    for (const RecordedApplication& application : applications) {
        text += csvLine({machine, person, application.path, application.version, serial});
    }
    return text;
}

QString bundleName(const QString& path)
{
    return path.section(u'/', -1).chopped(4);
}

QByteArray systemProfilerJson(const QString& /*machine*/,
                              const QList<RecordedApplication>& applications)
{
    QJsonArray items;
    for (const RecordedApplication& application : applications) {
        items.append(QJsonObject{{u"_name"_s, bundleName(application.path)},
                                 {u"info"_s, person},
                                 {u"path"_s, application.path},
                                 {u"version"_s, application.version}});
    }
    return QJsonDocument(QJsonObject{{u"SPApplicationsDataType"_s, items}}).toJson();
}

/// "<key>path</key><string>/Applications/S.app</string>" of key and text in turn.
QByteArray dictionary(const QStringList& keysAndTexts)
{
    QString text = u"<dict>"_s;
    for (qsizetype i = 0; i + 1 < keysAndTexts.size(); i += 2) {
        text += u"<key>%1</key><string>%2</string>\n"_s.arg(keysAndTexts[i],
                                                            keysAndTexts[i + 1].toHtmlEscaped());
    }
    return (text + "</dict>\n"_L1).toUtf8();
}

QByteArray propertyList(const QByteArray& value)
{
    return R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0">)" + value + "</plist>\n";
}

QByteArray systemProfilerXml(const QString& /*machine*/,
                             const QList<RecordedApplication>& applications)
{
    QByteArray items;
    for (const RecordedApplication& application : applications) {
        items += dictionary({u"_name"_s, bundleName(application.path), u"info"_s, person, u"path"_s,
                             application.path, u"version"_s, application.version});
    }
    return propertyList("<array><dict><key>_dataType</key><string>SPApplicationsDataType</string>"
                        "<key>_items</key><array>" +
                        items + "</array></dict></array>");
}

QByteArray munki(const QString& /*machine*/, const QList<RecordedApplication>& applications)
{
    QByteArray items;
    for (const RecordedApplication& application : applications) {
        const QString name = bundleName(application.path);
        items +=
            dictionary({u"CFBundleName"_s, name, u"bundleid"_s, application.identifier, u"name"_s,
                        name, u"path"_s, application.path, u"version"_s, application.version});
    }
    return propertyList("<array>" + items + "</array>");
}

QByteArray jamf(const QString& machine, const QList<RecordedApplication>& applications,
                const QString& versionKey)
{
    QJsonArray items;
    for (const RecordedApplication& application : applications) {
        items.append(QJsonObject{{u"name"_s, bundleName(application.path) + ".app"_L1},
                                 {u"path"_s, application.path},
                                 {versionKey, application.version},
                                 {u"bundleId"_s, application.identifier}});
    }
    const QJsonObject computer{
        {u"general"_s, QJsonObject{{u"name"_s, machine},
                                   {u"lastIpAddress"_s, network},
                                   {u"reportDate"_s, u"2026-03-01T10:00:00Z"_s}}},
        {u"hardware"_s, QJsonObject{{u"serialNumber"_s, serial}}},
        {u"userAndLocation"_s, QJsonObject{{u"email"_s, address}, {u"realname"_s, person}}},
        {u"applications"_s, items}};
    return QJsonDocument(QJsonObject{{u"totalCount"_s, 1}, {u"results"_s, QJsonArray{computer}}})
        .toJson();
}

QByteArray jamfReported(const QString& machine, const QList<RecordedApplication>& applications)
{
    return jamf(machine, applications, u"version"_s);
}

QByteArray jamfExact(const QString& machine, const QList<RecordedApplication>& applications)
{
    return jamf(machine, applications, u"cfBundleShortVersionString"_s);
}

QByteArray fleetSoftware(const QString& /*machine*/, const QList<RecordedApplication>& applications)
{
    QJsonArray items;
    for (const RecordedApplication& application : applications) {
        const QJsonObject version{{u"version"_s, application.version},
                                  {u"bundle_identifier"_s, application.identifier},
                                  {u"installed_paths"_s, QJsonArray{application.path}}};
        items.append(QJsonObject{{u"name"_s, bundleName(application.path) + ".app"_L1},
                                 {u"source"_s, u"apps"_s},
                                 {u"installed_versions"_s, QJsonArray{version}}});
    }
    return QJsonDocument(QJsonObject{{u"software"_s, items}}).toJson();
}

/// Those that lie in /Applications or in a folder there.
QList<RecordedApplication> highUp(QList<RecordedApplication> applications)
{
    applications.removeIf([](const RecordedApplication& application) {
        return !application.path.startsWith("/Applications/"_L1) ||
               application.path.count(u'/') > 3;
    });
    return applications;
}

QByteArray intune(const QString& machine, const QList<RecordedApplication>& applications)
{
    QByteArray text = csvLine({u"ApplicationName"_s, u"ApplicationShortVersion"_s, u"DeviceId"_s,
                               u"DeviceName"_s, u"Platform"_s, u"EmailAddress"_s, u"UserName"_s});
    for (const RecordedApplication& application : highUp(applications)) {
        text += csvLine({bundleName(application.path), application.version, serial, machine,
                         u"MacMDM"_s, address, person});
    }
    return text;
}

QByteArray installedApplicationList(const QString& /*machine*/,
                                    const QList<RecordedApplication>& applications)
{
    QByteArray items;
    for (const RecordedApplication& application : highUp(applications)) {
        items += dictionary({u"Identifier"_s, application.identifier, u"Name"_s,
                             bundleName(application.path), u"ShortVersion"_s, application.version});
    }
    return propertyList("<dict><key>InstalledApplicationList</key><array>" + items +
                        "</array><key>UDID</key><string>" + serial.toUtf8() + "</string></dict>");
}

} // namespace

QList<RecordedForm> recordedForms(const QString& machine,
                                  const QList<RecordedApplication>& applications)
{
    return {{u"snapshot"_s, snapshot(machine, applications)},
            {u"changes"_s, changes(machine, applications)},
            {u"rows"_s, rows(machine, applications)},
            {u"csv"_s, table(machine, applications)},
            {u"systemprofilerjson"_s, systemProfilerJson(machine, applications)},
            {u"systemprofilerxml"_s, systemProfilerXml(machine, applications)},
            {u"munki"_s, munki(machine, applications)},
            {u"jamf"_s, jamfReported(machine, applications)},
            {u"jamfexact"_s, jamfExact(machine, applications)},
            {u"fleet"_s, fleetSoftware(machine, applications)},
            {u"intune"_s, intune(machine, applications)},
            {u"list"_s, installedApplicationList(machine, applications)}};
}

QString recordedColumns()
{
    return u"machine=Device,path=Path,version=Version"_s;
}

QStringList personalTexts()
{
    return {address, person, account, serial, network};
}
