#pragma once

#include "system/sysprofiler.h"
#include "web/webprofiler.h"

#include <QObject>

/// The one way to both sources of data, the scan of installed applications and the web catalogue;
/// decides which application a catalogue entry stands for.
///
/// Lives on the interface thread. The web queries take a catalogue name, the system queries an
/// installed application's name as find() returns it. What each forwarding operation does and what
/// its failure yields stands in SysProfiler and WebProfiler.
class Profiler : public QObject
{
    Q_OBJECT

public:
    Profiler(const QString& url, const QString& csvPath, const QString& csvSeparator,
             const QString& softPath);

    void webData_update();
    void webData_cancel();
    void webData_clear();
    /// Takes effect at the next webData_update().
    void webData_setConfig(const QString& url, const QString& csvPath, const QString& csvSeparator,
                           const QString& softPath);
    [[nodiscard]] QString webData_lastError() const;

    void sysData_update();
    /// Ends with workFinished().
    void sysData_update_thread();
    [[nodiscard]] bool sysData_hasData() const;
    /// Whether a workFinished() is still to come.
    [[nodiscard]] bool sysData_isScanning() const;
    void sysData_clear();

    [[nodiscard]] QStringList getWebAppList() const;
    [[nodiscard]] QString getWebVersion(const QString& name) const;
    [[nodiscard]] QString getReleaseDate(const QString& name) const;
    [[nodiscard]] QString getFilename(const QString& name) const;
    [[nodiscard]] bool isIgnored(const QString& name) const;
    [[nodiscard]] QString getUrlToFile(const QString& name) const;

    [[nodiscard]] QString getSysVersion(const QString& name);
    [[nodiscard]] bool isInstall(const QString& name) const;
    [[nodiscard]] QString getLocation(const QString& name) const;
    [[nodiscard]] QString getObtainedFrom(const QString& name) const;
    [[nodiscard]] QString getLastModified(const QString& name) const;
    [[nodiscard]] QString getKind(const QString& name) const;
    [[nodiscard]] QString getSignedBy(const QString& name) const;
    [[nodiscard]] QString getInfoString(const QString& name) const;

    /// The installed application that the catalogue's @p name stands for; empty when there is none.
    /// Of several whose name differs by digits, dots and blanks alone, the newest one.
    [[nodiscard]] QString find(const QString& name);
    /// See compareVersions().
    [[nodiscard]] int versionCompare(const QString& a, const QString& b) const;
    /// Whether @p text holds only digits, dots and blanks; true for an empty text.
    [[nodiscard]] bool regexMatch(const QString& text) const;

Q_SIGNALS:
    /// A background scan has ended and its result can be queried.
    void workFinished();

private:
    SysProfiler m_sysProfiler;
    WebProfiler m_webProfiler;
};
