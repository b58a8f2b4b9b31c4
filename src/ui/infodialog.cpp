#include "ui/infodialog.h"

#include <QMessageBox>
#include <QPixmap>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Gives @p box the image at @p path, 64 points wide and high at the most.
void setIcon(QMessageBox& box, const QString& path)
{
    QPixmap icon(path);
    if (icon.isNull()) {
        return;
    }
    const qreal ratio = box.devicePixelRatioF();
    icon = icon.scaled(QSize(64, 64) * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    icon.setDevicePixelRatio(ratio);
    box.setIconPixmap(icon);
}

} // namespace

void InfoDialog::show(QWidget* parent, const QString& title, const QString& text,
                      const QString& iconPath)
{
    QMessageBox box(QMessageBox::NoIcon, title, text, QMessageBox::Ok, parent);
    setIcon(box, iconPath);
    box.exec();
}

void InfoDialog::information(QWidget* parent, const QString& title, const QString& text)
{
    show(parent, title, text, u":/images/icon-info.png"_s);
}

void InfoDialog::warning(QWidget* parent, const QString& title, const QString& text)
{
    show(parent, title, text, u":/images/icon-warning.png"_s);
}

bool InfoDialog::confirm(QWidget* parent, const QString& title, const QString& text)
{
    QMessageBox box(QMessageBox::NoIcon, title, QString(), QMessageBox::Ok | QMessageBox::Cancel,
                    parent);
    box.setText(text);
    box.setTextFormat(Qt::RichText);
    setIcon(box, u":/images/icon-warning.png"_s);
    return box.exec() == QMessageBox::Ok;
}
