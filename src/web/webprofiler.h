#pragma once

#include <QHash>
#include <QNetworkAccessManager>
#include <QStringList>

#include <memory>

class CatalogueFormat;
class QEventLoop;
class QUrl;

/// The web catalogue: which applications the server offers, and in which version.
///
/// Lives on the interface thread. update() waits in nested event loops, so nothing that runs
/// meanwhile may call it again.
class WebProfiler
{
public:
    /// @p url is the server's base URL and @p softPath the installers' folder below it, both ending
    /// in "/"; @p csvPath is the catalogue's path below @p url. Downloads nothing.
    WebProfiler(const QString& url, const QString& csvPath, const QString& csvSeparator,
                const QString& softPath);

    /// Downloads and parses the catalogue, two attempts at most; blocks for up to 32 s. A failure
    /// leaves the catalogue empty and its reason in lastError(). Deliberately, the reason of a
    /// failed first attempt stays there when the second one succeeds.
    void update();
    /// Ends an update() that is under way, at once and without a further attempt.
    void cancel();
    /// The body behind @p url; empty on any failure, with lastError() set. Gives up after 15 s.
    [[nodiscard]] QByteArray downloadData(const QUrl& url);
    /// Adds the entries of a catalogue's text to the data.
    void updateData(const QByteArray& data);
    void clear();

    // The next update() uses what these set.
    void setUrl(const QString& url);
    void setCsvPath(const QString& csvPath);
    void setSoftPath(const QString& softPath);
    void setCsvSeparator(const QString& csvSeparator);
    [[nodiscard]] QUrl getUrl() const;
    /// A text for the user; empty when nothing failed.
    [[nodiscard]] QString lastError() const { return m_lastError; }

    /// The names in file order; a name listed twice stays twice.
    [[nodiscard]] QStringList getAppList() const { return m_appList; }
    /// The number of distinct names.
    [[nodiscard]] qsizetype size() const { return m_data.size(); }
    /// Just @p name if the catalogue has it, else every name that starts with it, in no order.
    [[nodiscard]] QStringList find(const QString& name) const;
    /// Empty when the name or the column is unknown.
    [[nodiscard]] QString getValue(const QString& name, const QString& column) const;
    [[nodiscard]] QString getVersion(const QString& name) const;
    [[nodiscard]] QString getReleaseDate(const QString& name) const;
    [[nodiscard]] QString getFilename(const QString& name) const;
    /// Whether the "Ignored" column holds the number 0 or 1. Deliberately true for every entry of
    /// the catalogue: all others have been dropped by updateData().
    [[nodiscard]] bool isIgnored(const QString& name) const;
    /// Where the installer lies; joined as plain text, without percent-encoding.
    [[nodiscard]] QString getUrlToFile(const QString& name) const;

private:
    /// Runs @p loop so that cancel() can end it.
    void wait(QEventLoop& loop);
    void pauseBeforeRetry();

    /// An entry's line, which is taken apart when it is asked for a value: most values never are.
    struct Record
    {
        std::shared_ptr<const CatalogueFormat> format;
        QString line;
    };

    QHash<QString, Record> m_data;
    QStringList m_appList;
    QString m_url;
    QString m_csvPath;
    QString m_softPath;
    QString m_csvSeparator;
    QString m_lastError;
    QNetworkAccessManager m_network;
    QEventLoop* m_waiting = nullptr; ///< the loop that update() waits in
    bool m_cancelled = false;
};
