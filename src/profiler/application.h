#pragma once

#include <QString>

class Profiler;

/// One catalogue entry as the user sees it: its name and the installed application it stands for.
///
/// Holds no version of its own: every query asks the profiler, so it follows the latest scan and
/// download.
class Application
{
public:
    /// Matches the catalogue's @p name at once. @p profiler is not owned and must live longer.
    Application(const QString& name, Profiler* profiler);

    /// Becomes another catalogue entry and matches it.
    void setName(const QString& name);
    [[nodiscard]] QString getName() const { return m_name; }
    /// The installed application that @p name would be matched to; changes nothing.
    [[nodiscard]] QString checkName(const QString& name) const;
    /// The installed application's name; empty when none was found.
    [[nodiscard]] QString getRealName() const { return m_realName; }
    /// Matches again, after a new scan.
    void update();

    [[nodiscard]] bool isInstall() const;
    [[nodiscard]] QString getSysVersion() const;
    [[nodiscard]] QString getWebVersion() const;
    /// 1 when the installed version is newer than the catalogue's, 0 when equal, -1 when older. An
    /// application that is not installed deliberately counts as version 0.
    [[nodiscard]] int versionsMatch() const;
    [[nodiscard]] QString getReleaseDate() const;
    [[nodiscard]] QString getFilename() const;
    [[nodiscard]] QString getUrlToFile() const;

    /// Six lines that describe the entry.
    [[nodiscard]] QString toString() const;
    /// Sends toString() to Qt's debug output, not to the log.
    void print() const;

private:
    Profiler* m_profiler;
    QString m_name;
    QString m_realName;
};
