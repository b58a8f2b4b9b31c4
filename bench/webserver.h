#pragma once

#include <QProcess>
#include <QTemporaryDir>

/// An nginx of its own on a free port of 127.0.0.1, serving files from a private folder for as long
/// as the object lives.
class WebServer
{
public:
    WebServer();
    ~WebServer();
    Q_DISABLE_COPY_MOVE(WebServer)

    /// Ends in "/".
    [[nodiscard]] QString url() const;
    /// Writes a file that is served, with its folders; its full path.
    QString write(const QString& relativePath, const QByteArray& content) const;
    /// Makes a file of @p size bytes of noise that is served.
    void writeNoise(const QString& relativePath, qint64 size) const;

private:
    QTemporaryDir m_folder;
    QProcess m_process;
    quint16 m_port = 0;
};
