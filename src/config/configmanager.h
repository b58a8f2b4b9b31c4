#pragma once

#include <QMap>
#include <QString>

/// The user's settings: texts by group and key, in one small XML file in the user's Library folder.
///
/// Values are neither trimmed nor converted. Lives on the interface thread. Nothing throws: a
/// failure is a false or an empty value, with at most one log line.
class ConfigManager
{
public:
    static const QString VERSION; ///< a stamp of its own, not the program's version

    /// Creates the file from @p defaultFile where it is missing, loads it and migrates outdated
    /// values. Where it cannot be created the store is empty, and filePath() too; where it cannot
    /// be read, the store alone.
    ConfigManager(const QString& fileName, const QString& defaultFile);

    /// Makes sure that the file exists, copied from the default if need be.
    bool checkFile();
    /// Merges the groups of the file at @p path into the data, each replacing its namesake
    /// wholesale. False only when the file cannot be opened: after malformed XML the groups read so
    /// far count.
    bool load(const QString& path);
    /// Moves the default catalogue's old plain-HTTP address to HTTPS, and saves if it did.
    void migrateLegacyValues();

    /// Empty when the group or the key is missing.
    [[nodiscard]] QString getParameter(const QString& group, const QString& key) const;
    /// Changes an existing value in memory. Deliberately never adds a group or a key: false then.
    bool setParameter(const QString& group, const QString& key, const QString& value);
    /// A copy of one group; empty when there is none.
    [[nodiscard]] QMap<QString, QString> getParameters(const QString& group) const;

    /// Writes the file; false leaves the old one as it was.
    bool save() const;
    /// The file's text. Deliberately without XML escapes: a "<" or "&" in a value stands as it is.
    [[nodiscard]] QString data2XML() const;
    /// Replaces the file and the data by the default. False when there was no file to remove, the
    /// data then as they were, or when the default cannot be copied.
    bool restoreDefault();
    /// Empties the data; the file stays.
    void clear();
    /// Forgets the data and reads the file again.
    bool reloadFromDisk();
    /// The file's full path; empty until the file is known to exist.
    [[nodiscard]] QString filePath() const { return m_filePath; }
    /// Logs everything as one message of several lines.
    void print();

private:
    QString m_filePath;
    QString m_fileName;
    QString m_defaultFile;
    QString m_folder; ///< ends in "/"
    QMap<QString, QMap<QString, QString>> m_data;
};
