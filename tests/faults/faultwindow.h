#pragma once

#include "support/downloadbench.h"
#include "support/testline.h"

#include <QHash>
#include <QStringList>

#include <functional>

class PreferenceDialog;
class QMessageBox;

/// The real window with all it depends on, to which one fault after another can happen.
///
/// HOME is private, `find` lists the sample machine's applications, catalogue and installers come
/// from servers of this process. Each test injects its fault, compares what the user sees, the log
/// and the disk, and ends with windowStillWorks().
class FaultWindow : public DownloadBench
{
public:
    explicit FaultWindow(Source source = Prompt);

    /// A window that has loaded a catalogue of "Atlas" 2.0 (installed: 1.0) and "Bench" 2.0 (not
    /// installed), both with "tool.dmg", and has scanned: what the user had before the fault.
    void openWorking(Visibility visibility = Shown, TestLine at = {});
    /// What rows() gives of that window.
    [[nodiscard]] static QStringList workingRows();

    /// Each row as "name | installed version | look()".
    [[nodiscard]] QStringList rows() const;
    /// What the server answers from now on when it is asked for the catalogue.
    void serveCatalogue(const HttpReply& reply);
    /// "Reload Web Data" of the menu, until the load has ended.
    void reload();
    /// The log's lines since the last call, each without its time and with "N" in a duration's
    /// place.
    [[nodiscard]] QStringList takeLines();
    /// What a whole load of the catalogue logs when its transfers log @p between.
    [[nodiscard]] static QStringList loadLines(const QString& address,
                                               const QStringList& between = {});
    /// The line between two attempts to load the catalogue.
    [[nodiscard]] static QString retryLine();
    /// Reloads, and fails the test unless all this holds: one box tells @p error, the log has
    /// @p transfers between its usual lines, the table is workingRows() still, nothing has been
    /// opened, and disk and settings are untouched.
    /// @p look is run with the open box.
    void expectFailedLoad(const QString& error, const QStringList& transfers,
                          const std::function<void(QMessageBox&)>& look = {}, TestLine at = {});
    /// Everything below HOME but the sample machine itself and the log: paths below HOME, in order,
    /// hidden files too, a folder with a final "/".
    [[nodiscard]] QStringList disk() const;
    /// disk() of a window that has changed nothing.
    [[nodiscard]] static QStringList untouchedDisk();
    /// Whether config.xml is byte for byte what it was when the window was created.
    [[nodiscard]] bool isConfigUntouched() const;
    /// Fails the test unless disk and settings are.
    void expectUntouchedDisk(TestLine at = {}) const;

    /// Markup that shows a picture of this machine, 900 pixels high, wherever it counts as markup.
    [[nodiscard]] QString pictureMarkup() const;
    static constexpr int pictureHeight = 900;

    /// Opens the preferences by the menu, runs @p use, presses OK and waits for the reload and the
    /// scan that follow. False when no dialog opens.
    bool changePreferences(const std::function<void(PreferenceDialog&)>& use);
    /// The same with texts for "lineEdit_" + key.
    bool changeSettings(const QHash<QString, QString>& textByKey);
    /// Gives the settings by that dialog that lead to this process's servers and ~/Downloads.
    bool repairSettings();

    /// Whether the window, used as a user does, still loads a good catalogue without a box, scans,
    /// shows the right rows and colours, downloads an installer, saves and opens it, and scans
    /// again. Warns of the first thing that does not work. The `find` of the sample machine and the
    /// download folder are put back first.
    [[nodiscard]] bool windowStillWorks(TestLine at = {});

private:
    void prepareGoodWorld();
    [[nodiscard]] bool downloadsAndOpens(TestLine at);
};
