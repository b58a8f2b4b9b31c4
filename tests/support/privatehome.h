#pragma once

#include <QStringList>
#include <QTemporaryDir>

/// A clean HOME, and a runtime folder beside it, for as long as the object lives; the former ones
/// come back afterwards.
class PrivateHome
{
public:
    PrivateHome();
    ~PrivateHome();
    Q_DISABLE_COPY_MOVE(PrivateHome)

    /// HOME, without a final "/".
    [[nodiscard]] QString path() const { return m_folder.path(); }
    /// HOME + "/Library/Quillmere/"; created by whoever writes there first.
    [[nodiscard]] QString userFolder() const;
    [[nodiscard]] QString configPath() const;
    [[nodiscard]] QString logPath() const;

    /// Writes a whole file below HOME, creating its folders; returns its full path.
    QString write(const QString& relativePath, const QByteArray& content) const;
    /// The bytes of the file at @p path; empty when it cannot be read.
    [[nodiscard]] static QByteArray read(const QString& path);
    /// The log's lines below its header, each without its time: "[INFO] Saving...".
    [[nodiscard]] QStringList logLines() const;

private:
    QTemporaryDir m_folder;
    QTemporaryDir m_runtimeFolder;
    QByteArray m_formerHome;
    QByteArray m_formerRuntimeFolder;
};
