#pragma once

#include <QByteArray>
#include <QColor>
#include <QDialog>
#include <QList>

#include <memory>

class ConfigManager;
class QPushButton;

namespace Ui {
class PreferenceDialog;
}

/// Edits the row colours, the download folder and the catalogue's settings.
///
/// Works directly on the store. A reset replaces the file at once, so the dialog keeps the file's
/// bytes from its opening and writes them back when the user cancels. Created on the stack for one
/// exec(); an accepted result, not the saving, tells the caller to read the settings again.
class PreferenceDialog : public QDialog
{
    Q_OBJECT

public:
    /// @p config must outlive the dialog.
    explicit PreferenceDialog(ConfigManager& config, QWidget* parent = nullptr);
    ~PreferenceDialog() override;

    void ui_init();
    /// Shows the store's values; edits not yet saved are gone.
    void ui_setWidget();
    /// After the form's own connections: by the time onAccepted() and onRejected() run, the dialog
    /// is closed and has its result.
    void ui_connect();
    /// Control+W. Deliberately accepts without writing anything.
    void ui_shortcut();
    void loadColor();

public Q_SLOTS:
    /// Lets the user choose colour @p index, 0 to 3.
    void colorDialog(int index);
    /// Writes everything to the store and saves it, whatever was typed.
    void onAccepted();
    /// Undoes a reset. Not run by Escape and the close button, which deliberately keep it.
    void onRejected();
    /// Restores the defaults, on disk too.
    void onReset();

private:
    void chooseDownloadFolder();
    void restoreSnapshot();
    void showColor(int index);

    std::unique_ptr<Ui::PreferenceDialog> m_ui;
    ConfigManager& m_config;
    QList<QPushButton*> m_colorButtons; ///< button N edits colour N
    QList<QColor> m_colors;             ///< "base", "equal", "down", "up": not the labels' order
    QByteArray m_fileSnapshot;          ///< of the opening; empty if the file could not be read
    bool m_isResetDone = false;
};
