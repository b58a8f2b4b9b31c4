#include "config/configmanager.h"

#include "app/buildinfo.h"
#include "app/debug.h"
#include "app/userfolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTextStream>
#include <QXmlStreamReader>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Written over the old file, for one that is writable in a folder that is not. Where it does not
/// fit, the old content goes back to where it was and still has its room.
bool overwriteFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly | QIODevice::Unbuffered)) {
        return false;
    }
    const QByteArray old = file.readAll();
    if (file.seek(0) && file.write(content) == content.size()) {
        return file.resize(content.size());
    }
    file.seek(0);
    file.write(old);
    file.resize(old.size());
    return false;
}

/// Writes the whole file or, as on a full disk, nothing: the old content stays then.
bool writeFile(const QString& path, const QByteArray& content)
{
    QSaveFile file(path); // beside the old file, in whose place it is put when whole
    if (!file.open(QIODevice::WriteOnly)) {
        return overwriteFile(path, content);
    }
    // The flush is not left to commit(), to which an error of its last write goes unnoticed.
    return file.write(content) == content.size() && file.flush() && file.commit();
}

} // namespace

const QString ConfigManager::VERSION = u"25.128-1530"_s;

ConfigManager::ConfigManager(const QString& fileName, const QString& defaultFile)
    : m_fileName(fileName)
    , m_defaultFile(defaultFile)
    , m_folder(userFolder())
{
    if (!checkFile()) {
        return;
    }
    m_filePath = m_folder + m_fileName;
    load(m_filePath);
    migrateLegacyValues();
}

bool ConfigManager::checkFile()
{
    const QFileInfo file(m_folder + m_fileName);
    Debug(Debug::Info) << "Current config file: " << file.absoluteFilePath();
    if (file.exists()) {
        return true;
    }
    if (!QDir(m_folder).exists() && !QDir().mkpath(m_folder)) {
        return false;
    }
    if (m_defaultFile.isEmpty()) {
        Debug(Debug::Warning) << "Default config file is Unknown...";
        return false;
    }
    QFile copy(m_folder + m_fileName);
    // Another start of the program may have made the file in the same moment.
    if (!QFile::copy(m_defaultFile, copy.fileName()) && !copy.exists()) {
        Debug(Debug::Error) << "Failed to copy default config: " << m_defaultFile;
        return false;
    }
    // A copied resource is read-only, and save() has to write it.
    copy.setPermissions(copy.permissions() | QFile::ReadOwner | QFile::WriteOwner);
    return true;
}

bool ConfigManager::load(const QString& path)
{
    Debug(Debug::Info) << "Loading configuration...";
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        Debug(Debug::Error) << "Cannot read file " << file.errorString();
        return false;
    }
    QXmlStreamReader xml(&file);
    QString group;
    QMap<QString, QString> keys;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() != "root"_L1) {
            const QString name = xml.name().toString();
            if (group.isEmpty()) {
                group = name;
            } else {
                keys.insert(name, xml.readElementText());
            }
        } else if (xml.isEndElement() && !group.isEmpty()) {
            m_data.insert(group, keys);
            group.clear();
            keys.clear();
        }
    }
    if (xml.hasError()) {
        Debug(Debug::Error) << "XML error: " << xml.errorString();
    }
    return true;
}

void ConfigManager::migrateLegacyValues()
{
    const QString current = BuildInfo::defaultBaseUrl();
    const QString legacy = "http"_L1 + current.mid("https"_L1.size());
    if (getParameter(u"webconfig"_s, u"baseURL"_s) == legacy) {
        setParameter(u"webconfig"_s, u"baseURL"_s, current);
        Debug(Debug::Info) << "ConfigManager - Migrated legacy config value(s), saving...";
        save();
    }
}

QString ConfigManager::getParameter(const QString& group, const QString& key) const
{
    return m_data.value(group).value(key);
}

bool ConfigManager::setParameter(const QString& group, const QString& key, const QString& value)
{
    const auto keys = m_data.find(group);
    if (keys == m_data.end()) {
        return false;
    }
    const auto entry = keys->find(key);
    if (entry == keys->end()) {
        return false;
    }
    *entry = value;
    return true;
}

QMap<QString, QString> ConfigManager::getParameters(const QString& group) const
{
    return m_data.value(group);
}

bool ConfigManager::save() const
{
    Debug(Debug::Info) << "Saving...";
    QByteArray content;
    QTextStream(&content) << data2XML();
    if (m_filePath.isEmpty() || !writeFile(m_filePath, content)) {
        Debug(Debug::Error) << "Saving failed";
        return false;
    }
    Debug(Debug::Info) << "Saving OK";
    return true;
}

QString ConfigManager::data2XML() const
{
    QString text = u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<root>\n"_s;
    for (auto group = m_data.cbegin(); group != m_data.cend(); ++group) {
        text += "\t<%1>\n"_L1.arg(group.key());
        for (auto entry = group->cbegin(); entry != group->cend(); ++entry) {
            text += "\t\t<%1>%2</%1>\n"_L1.arg(entry.key(), entry.value());
        }
        text += "\t</%1>\n"_L1.arg(group.key());
    }
    return text + "</root>"_L1;
}

bool ConfigManager::restoreDefault()
{
    if (!QFile::remove(m_folder + m_fileName)) {
        return false;
    }
    if (!checkFile()) {
        return false;
    }
    clear();
    load(m_folder + m_fileName);
    return true;
}

void ConfigManager::clear()
{
    m_data.clear();
}

bool ConfigManager::reloadFromDisk()
{
    clear();
    return load(m_filePath);
}

void ConfigManager::print()
{
    QString text = u"Current configuration's content:"_s;
    for (auto group = m_data.cbegin(); group != m_data.cend(); ++group) {
        text += "\n\t%1:"_L1.arg(group.key());
        for (auto entry = group->cbegin(); entry != group->cend(); ++entry) {
            text += "\n\t    \"%1\" => \"%2\""_L1.arg(entry.key(), entry.value());
        }
    }
    Debug(Debug::Info) << text;
}
