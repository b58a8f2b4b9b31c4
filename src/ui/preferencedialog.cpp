#include "ui/preferencedialog.h"
#include "ui_preferencedialog.h"

#include "app/debug.h"
#include "config/configmanager.h"
#include "config/homefolder.h"
#include "ui/infodialog.h"

#include <QColorDialog>
#include <QFile>
#include <QFileDialog>
#include <QSaveFile>
#include <QShortcut>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The keys of the colours, by index.
const std::array colorKeys = {u"base"_s, u"equal"_s, u"down"_s, u"up"_s};

/// The bytes of the file at @p path, line ends included; empty when it cannot be read.
QByteArray readFile(const QString& path)
{
    QFile file(path);
    // A store without a file has no path either, about which Qt would complain.
    const bool isOpen = !path.isEmpty() && file.open(QIODevice::ReadOnly);
    return isOpen ? file.readAll() : QByteArray();
}

} // namespace

PreferenceDialog::PreferenceDialog(ConfigManager& config, QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::PreferenceDialog>())
    , m_config(config)
    , m_fileSnapshot(readFile(config.filePath()))
{
    ui_init();
}

PreferenceDialog::~PreferenceDialog() = default;

void PreferenceDialog::ui_init()
{
    m_ui->setupUi(this);
    setFixedSize(400, 520);
    m_colorButtons = {m_ui->colorButton_0, m_ui->colorButton_1, m_ui->colorButton_2,
                      m_ui->colorButton_3};
    // Enter means OK wherever no other button has the focus, which starts on the first text.
    m_ui->buttonBox->button(QDialogButtonBox::Ok)->setDefault(true);
    m_ui->lineEdit_downloadFolder->setFocus();
    ui_setWidget();
    ui_connect();
    ui_shortcut();
}

void PreferenceDialog::ui_setWidget()
{
    loadColor();
    for (int index = 0; index < m_colors.size(); ++index) {
        showColor(index);
    }
    m_ui->lineEdit_downloadFolder->setText(
        withHomeWrittenOut(m_config.getParameter(u"localconfig"_s, u"downloadFolder"_s)));
    m_ui->lineEdit_baseURL->setText(m_config.getParameter(u"webconfig"_s, u"baseURL"_s));
    m_ui->lineEdit_csvPath->setText(m_config.getParameter(u"webconfig"_s, u"csvPath"_s));
    m_ui->lineEdit_csvSeparator->setText(m_config.getParameter(u"webconfig"_s, u"csvSeparator"_s));
    m_ui->lineEdit_softPath->setText(m_config.getParameter(u"webconfig"_s, u"softPath"_s));
}

void PreferenceDialog::ui_connect()
{
    for (int index = 0; index < m_colorButtons.size(); ++index) {
        connect(m_colorButtons[index], &QPushButton::clicked, this,
                [this, index] { colorDialog(index); });
    }
    connect(m_ui->browseButton, &QPushButton::clicked, this,
            &PreferenceDialog::chooseDownloadFolder);
    connect(m_ui->resetButton, &QPushButton::clicked, this, &PreferenceDialog::onReset);
    connect(m_ui->buttonBox, &QDialogButtonBox::accepted, this, &PreferenceDialog::onAccepted);
    connect(m_ui->buttonBox, &QDialogButtonBox::rejected, this, &PreferenceDialog::onRejected);
}

void PreferenceDialog::ui_shortcut()
{
    const auto* close = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_W), this);
    connect(close, &QShortcut::activated, this, &PreferenceDialog::accept);
}

void PreferenceDialog::loadColor()
{
    m_colors.clear();
    for (const QString& key : colorKeys) {
        m_colors.append(QColor::fromString(m_config.getParameter(u"color"_s, key)));
    }
}

void PreferenceDialog::showColor(int index)
{
    const QString name = m_colors[index].name();
    m_colorButtons[index]->setStyleSheet(u"background-color: %1"_s.arg(name));
    // The button's name comes from its label; without this its colour could only be seen.
    m_colorButtons[index]->setAccessibleDescription(name);
}

void PreferenceDialog::colorDialog(int index)
{
    const QColor chosen =
        QColorDialog::getColor(m_colors[index], this, tr("Choisissez une couleur"));
    if (!chosen.isValid()) {
        return;
    }
    // By way of its name, which knows no transparency.
    m_colors[index] = QColor::fromString(chosen.name());
    showColor(index);
}

void PreferenceDialog::chooseDownloadFolder()
{
    const QString folder = QFileDialog::getExistingDirectory(this, tr("Download Folder"),
                                                             m_ui->lineEdit_downloadFolder->text(),
                                                             QFileDialog::ShowDirsOnly);
    if (!folder.isEmpty()) {
        m_ui->lineEdit_downloadFolder->setText(folder);
    }
}

void PreferenceDialog::onReset()
{
    if (!m_config.restoreDefault()) {
        InfoDialog::warning(this, tr("Error"), tr("Failed to restore default configuration."));
        return;
    }
    m_isResetDone = true;
    ui_setWidget();
    InfoDialog::information(this, tr("Success"), tr("Default configuration restored."));
}

void PreferenceDialog::onAccepted()
{
    Debug(Debug::Info) << "PreferenceDialog:Accepted";
    for (int index = 0; index < m_colors.size(); ++index) {
        m_config.setParameter(u"color"_s, colorKeys[size_t(index)], m_colors[index].name());
    }
    // As shown: a "~" stays written out from now on.
    m_config.setParameter(u"localconfig"_s, u"downloadFolder"_s,
                          m_ui->lineEdit_downloadFolder->text());
    m_config.setParameter(u"webconfig"_s, u"baseURL"_s, m_ui->lineEdit_baseURL->text());
    m_config.setParameter(u"webconfig"_s, u"csvPath"_s, m_ui->lineEdit_csvPath->text());
    m_config.setParameter(u"webconfig"_s, u"csvSeparator"_s, m_ui->lineEdit_csvSeparator->text());
    m_config.setParameter(u"webconfig"_s, u"softPath"_s, m_ui->lineEdit_softPath->text());
    if (!m_config.save()) {
        // Over the window behind: this dialog is hidden by now, and so might be a box of its own.
        InfoDialog::warning(
            parentWidget(), tr("Error"),
            tr("Failed to save configuration file — check that it isn't read-only."));
    }
    accept();
}

void PreferenceDialog::onRejected()
{
    Debug(Debug::Info) << "PreferenceDialog:Rejected";
    if (m_isResetDone && !m_fileSnapshot.isEmpty()) {
        restoreSnapshot();
    }
    reject();
}

void PreferenceDialog::restoreSnapshot()
{
    // Replaced as a whole: on a full disk the file of the reset stays.
    QSaveFile file(m_config.filePath());
    if (!file.open(QIODevice::WriteOnly) || file.write(m_fileSnapshot) != m_fileSnapshot.size() ||
        !file.flush() || !file.commit()) {
        return;
    }
    m_config.reloadFromDisk();
    Debug(Debug::Info) << "PreferenceDialog: reset was cancelled, original configuration restored";
}
