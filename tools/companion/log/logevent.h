#pragma once

#include <QString>
#include <QStringList>

#include <utility>
#include <variant>

/// What a line of a client's log tells, one type for each kind of line.
namespace Logged {

struct CatalogueLoadBegun
{};
struct CatalogueTimedOut
{
    QString address;
};
struct CatalogueFailed
{
    QString error;
};
struct CatalogueRetried
{};
struct CatalogueLoadEnded
{};

struct ScanBegun
{};
/// The applications that a scan has found. Told by the last line of their list, or by the line that
/// announces it where there is none.
struct ScanResult
{
    qsizetype announced = 0; ///< how many there are
    QStringList names;       ///< ascending; fewer than announced when the log ends within the list
    [[nodiscard]] bool isWhole() const { return names.size() >= announced; }
};
struct ScanEnded
{
    double seconds = 0;
};
struct VersionUnreadable
{
    QString application;
    QString propertyList; ///< the path
};

/// Which installed application an entry of the catalogue stands for.
struct RowMatched
{
    QString row;        ///< the entry's name
    QString chosen;     ///< the application; empty where there is none
    QString candidates; ///< "'Synth' v1.0, 'Synth 2' v2.0"; empty unless there were several
    /// The candidates with their versions, as far as they are certain: empty where the log has not
    /// told before which applications there are.
    QList<std::pair<QString, QString>> versions;
};

/// The settings could not be read or written; the line's whole text says which.
struct SettingsFailed
{};

struct DownloadFolderSet
{
    QString folder;
};
struct DownloadBegun
{
    QString row;
    QString address;
};
struct DownloadAborted
{
    QString row;
};
struct DownloadSaved
{
    QString path;
};
struct DownloadFailed
{
    QString error;
};

struct ExtractionBegun
{
    QString archive;
};
struct ExtractionDone
{};
struct ExtractionFailed
{
    int exitCode = 0;
    QString said; ///< by unzip; empty when it said nothing
};
struct NothingToOpen
{};
struct UnzipNotStarted
{
    QString reason;
};

} // namespace Logged

/// What one entry of a log tells; the first kind where that is nothing, or not known.
using LogEvent = std::variant<
    std::monostate, Logged::CatalogueLoadBegun, Logged::CatalogueTimedOut, Logged::CatalogueFailed,
    Logged::CatalogueRetried, Logged::CatalogueLoadEnded, Logged::ScanBegun, Logged::ScanResult,
    Logged::ScanEnded, Logged::VersionUnreadable, Logged::RowMatched, Logged::SettingsFailed,
    Logged::DownloadFolderSet, Logged::DownloadBegun, Logged::DownloadAborted,
    Logged::DownloadSaved, Logged::DownloadFailed, Logged::ExtractionBegun, Logged::ExtractionDone,
    Logged::ExtractionFailed, Logged::NothingToOpen, Logged::UnzipNotStarted>;
