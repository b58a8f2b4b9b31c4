#pragma once

#include "system/scanparser.h"

#include <QRecursiveMutex>
#include <QStringList>
#include <QThread>

#include <atomic>

/// The installed applications: which there are, where, and in which version.
///
/// The object lives on the interface thread and is itself the thread of a background scan. Every
/// query but findPlistVersion() may be called from any thread; a scan holds the lock only to clear
/// and to store its result. Names are case-sensitive and exactly as the scan found them.
class SysProfiler : public QThread
{
    Q_OBJECT

public:
    enum SearchEngine
    {
        FIND,
        MDFIND,
        SYSTEM_PROFILER,
        REGISTRY
    };
    Q_ENUM(SearchEngine)

    static const QStringList SEARCH_ENGINE_NAME; ///< by SearchEngine
    static const QList<QStringList> COMMAND;     ///< by SearchEngine; none for REGISTRY

    explicit SysProfiler(SearchEngine engine = FIND);
    /// Waits for a running scan.
    ~SysProfiler() override;

    /// The engine of the next scan; one that is under way keeps its own. Any thread may call it.
    void changeEngine(SearchEngine engine);
    /// Forgets all applications and versions.
    void clear();
    /// Whether a scan's result is stored.
    [[nodiscard]] bool hasData() const;
    /// Whether a background scan is under way, so that its workFinished() is still to be emitted.
    [[nodiscard]] bool isScanning() const;
    [[nodiscard]] qsizetype size() const;

    /// The names that start with @p name, in ascending order; every name for an empty or null one.
    [[nodiscard]] QStringList find(const QString& name) const;
    /// Whether any name starts with @p name; false for an empty text.
    [[nodiscard]] bool isInstall(const QString& name) const;
    /// The properties of exactly @p name; empty when it is unknown.
    [[nodiscard]] QHash<QString, QString> getInfo(const QString& name) const;
    /// One property of exactly @p name; a null text when the name or the key is unknown.
    [[nodiscard]] QString getValue(const QString& name, const QString& key) const;

    /// The installed version; empty when there is none. With SYSTEM_PROFILER it is the report's,
    /// else it is read from the bundle when first asked for, then cached until the next scan. A
    /// name that is asked for in vain becomes a known one.
    QString getVersion(const QString& name);
    /// The version in the bundle's Info.plist as it stands there. Takes no lock, so not
    /// while another thread may store or clear a result.
    [[nodiscard]] QString findPlistVersion(const QString& name) const;
    /// The version in the Info.plist at @p path as it stands there; empty on any failure.
    [[nodiscard]] static QString findBundleVersion(const QString& path);
    /// A bundle's version as getVersion() tells it: up to the first blank.
    [[nodiscard]] static QString firstWord(const QString& bundleVersion);
    /// The value of @p key in the property list at @p path; empty on any failure. Where reading it
    /// as XML ends in an error before a value is found, `plutil` is asked, which may take up to
    /// 30 s.
    [[nodiscard]] static QString findPlistValue(const QString& path, const QString& key);

    [[nodiscard]] QString getObtainedFrom(const QString& name) const;
    [[nodiscard]] QString getLastModified(const QString& name) const;
    [[nodiscard]] QString getKind(const QString& name) const;
    [[nodiscard]] QString getSignedBy(const QString& name) const;
    [[nodiscard]] QString getLocation(const QString& name) const;
    [[nodiscard]] QString getInfoString(const QString& name) const;

    /// The thread's work: a scan, then workFinished().
    void run() override;

public Q_SLOTS:
    /// Scans in the calling thread; does not emit workFinished().
    void update();
    /// Scans in the background and returns at once. Does nothing while a scan is under way. To be
    /// called on the thread that the object lives on.
    void threadUpdate();

Q_SIGNALS:
    /// A background scan has stored its result. Emitted from the scan's thread.
    void workFinished();

private:
    int exec_system_profiler(PropertyMap& found) const;
    int exec_find(PropertyMap& found, SearchEngine engine) const;
    /// The value of @p key, which is added to @p name's properties, and @p name to the known ones,
    /// where missing.
    QString& valueInserted(const QString& name, const QString& key);

    std::atomic<SearchEngine> m_engine;
    bool m_hasData = false;
    bool m_scanEnded = false; ///< the thread has nothing left to do but to end
    PropertyMap m_data;
    QStringList m_names; ///< the keys of m_data, ascending
    QHash<QString, QString> m_versionCache;
    mutable QRecursiveMutex m_mutex; ///< guards all of the above but m_engine
};
