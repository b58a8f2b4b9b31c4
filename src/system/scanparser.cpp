#include "system/scanparser.h"

#include <QByteArray>
#include <QIODevice>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Adds the lines up to the next empty one to @p properties.
void readProperties(QTextStream& report, QHash<QString, QString>& properties)
{
    const QLatin1StringView separator = ": "_L1;
    while (!report.atEnd()) {
        const QString line = report.readLine().trimmed();
        if (line.isEmpty()) {
            return;
        }
        if (const qsizetype at = line.indexOf(separator); at >= 0) {
            properties.insert(line.first(at), line.sliced(at + separator.size()));
        }
    }
}

} // namespace

QString applicationName(const QString& path)
{
    if (path.contains(".app/Contents/"_L1)) {
        return {};
    }
    return path.sliced(path.lastIndexOf(u'/') + 1).remove(".app"_L1);
}

PropertyMap parseBundlePaths(const QByteArray& output)
{
    PropertyMap found;
    QTextStream lines(output, QIODevice::ReadOnly);
    QString line;
    while (lines.readLineInto(&line)) {
        const QString name = applicationName(line);
        if (name.isEmpty()) {
            continue;
        }
        if (line.startsWith("/Applications/"_L1) || !found.contains(name)) {
            found.insert(name, {{u"Location"_s, line}});
        }
    }
    return found;
}

PropertyMap parseSystemProfilerReport(const QByteArray& output)
{
    PropertyMap found;
    QTextStream report(output, QIODevice::ReadOnly);
    report.readLine(); // the report's title
    // Deliberately never emptied: an application keeps earlier ones' keys that its block lacks.
    QHash<QString, QString> properties;
    while (!report.atEnd()) {
        const QString line = report.readLine().trimmed();
        if (!line.endsWith(u':')) {
            continue;
        }
        report.readLine(); // the blank line under the name
        readProperties(report, properties);
        if (!properties.isEmpty()) {
            found.insert(line.chopped(1), properties);
        }
    }
    return found;
}

QString parsePlutilValue(const QByteArray& output, const QString& path)
{
    const QString text = QString::fromUtf8(output);
    // On a Mac, Qt decomposes the letters of what it hands to a program, and so does the echo.
    const QString failure = path.normalized(QString::NormalizationForm_C) + ": "_L1;
    if (text.normalized(QString::NormalizationForm_C).startsWith(failure)) {
        return {};
    }
    return text.trimmed();
}
