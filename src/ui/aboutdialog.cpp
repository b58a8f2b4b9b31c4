#include "ui/aboutdialog.h"
#include "ui_aboutdialog.h"

#include "app/buildinfo.h"

#include <QMainWindow>
#include <QPixmap>

using namespace Qt::Literals::StringLiterals;

aboutDialog::aboutDialog(QMainWindow* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::aboutDialog>())
{
    m_ui->setupUi(this);
    ui_init();
}

aboutDialog::~aboutDialog() = default;

void aboutDialog::ui_init()
{
    setFixedSize(400, 250);
    ui_setText();
    ui_setPix();
    ui_connect();
    // Else the text would have it, as the first control that takes it.
    m_ui->pushButton->setFocus();
}

void aboutDialog::ui_setText()
{
    // All at once, so that a "%1" inside a value stays what it is.
    m_ui->aboutText->setText(m_ui->aboutText->text().arg(
        BuildInfo::productName(), BuildInfo::authorName(), BuildInfo::authorMail(),
        BuildInfo::websiteUrl(), BuildInfo::productVersion(), BuildInfo::buildDate(),
        BuildInfo::qtVersion()));
}

void aboutDialog::ui_setPix()
{
    QPixmap icon(u":/images/AppIcon.png"_s);
    if (!icon.isNull()) {
        const qreal ratio = devicePixelRatioF();
        icon = icon.scaledToWidth(qRound(100 * ratio), Qt::FastTransformation);
        icon.setDevicePixelRatio(ratio);
    }
    m_ui->aboutPix->setPixmap(icon);
}

void aboutDialog::ui_connect()
{
    connect(m_ui->pushButton, &QPushButton::clicked, this, &aboutDialog::close);
}
