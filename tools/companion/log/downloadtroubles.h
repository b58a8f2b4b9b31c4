#pragma once

#include "companion/log/clientlog.h"

#include <QStringList>
#include <QUrl>

class TroubleList;

/// What goes wrong when the client downloads installers and unpacks archives.
class DownloadTroubles
{
public:
    /// Troubles go to @p list, which must live longer.
    explicit DownloadTroubles(TroubleList& list) : m_list(list) {}

    /// False when the entry tells nothing of downloads and archives.
    [[nodiscard]] bool read(const LogEntry& entry);
    /// The log has ended.
    void finish();

private:
    /// A download or an extraction that the log has shown no end of yet.
    struct Running
    {
        QString name; ///< of the application, or of the archive
        QUrl url;
        LogEntry begin;
    };

    bool readDownload(const LogEntry& entry);
    /// @p target is the address, or what became of a download instead of it.
    void beginDownload(const LogEntry& entry, const QString& name, const QString& target);
    void failDownload(const LogEntry& entry, const QString& error);
    void endDownload(const QString& fileName);
    void reportUnsaved(const Running& download);
    bool readExtraction(const LogEntry& entry);
    /// The archives of which one has ended now.
    QStringList endExtraction();

    TroubleList& m_list;
    QString m_downloadFolder;
    QList<Running> m_downloads;
    QList<Running> m_extractions;
    qsizetype m_endedExtractions = 0;
    QStringList m_lastArchives; ///< of which one has just been unpacked
};
