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

    void read(const LogEntry& entry);
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

    void take(const LogEntry&, const Logged::DownloadFolderSet& set);
    void take(const LogEntry& entry, const Logged::DownloadBegun& download);
    void take(const LogEntry&, const Logged::DownloadAborted& download);
    void take(const LogEntry&, const Logged::DownloadSaved& file);
    void take(const LogEntry& entry, const Logged::DownloadFailed& failure);
    void take(const LogEntry& entry, const Logged::ExtractionBegun& extraction);
    void take(const LogEntry&, const Logged::ExtractionDone&);
    void take(const LogEntry& entry, const Logged::ExtractionFailed& failure);
    void take(const LogEntry& entry, const Logged::NothingToOpen&);
    void take(const LogEntry& entry, const Logged::UnzipNotStarted& failure);
    template <typename Other>
    void take(const LogEntry&, const Other&)
    {}
    /// Forgets the download of @p row, if there is one.
    void drop(const QString& row);
    void reportUnsaved(const Running& download);
    /// The archives of which one has ended now.
    QStringList endExtraction();

    TroubleList& m_list;
    QString m_downloadFolder;
    QList<Running> m_downloads;
    QList<Running> m_extractions;
    qsizetype m_endedExtractions = 0;
    QStringList m_lastArchives; ///< of which one has just been unpacked
};
