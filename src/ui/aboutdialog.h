#pragma once

#include <QDialog>

#include <memory>

class QMainWindow;

namespace Ui {
class aboutDialog;
}

/// The modal box that tells the program's name, author and version. Its caller runs it with exec().
class aboutDialog : public QDialog
{
    Q_OBJECT

public:
    explicit aboutDialog(QMainWindow* parent = nullptr);
    ~aboutDialog() override;

    void ui_init();
    /// Fills the form's template with what the build fixed.
    void ui_setText();
    /// Shows the application icon; nothing where it cannot be read.
    void ui_setPix();
    void ui_connect();

private:
    std::unique_ptr<Ui::aboutDialog> m_ui;
};
