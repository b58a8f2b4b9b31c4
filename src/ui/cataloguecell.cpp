#include "ui/cataloguecell.h"

#include "ui/rowbutton.h"
#include "ui/tablecolumn.h"
#include "ui/versionlabel.h"

#include <QHBoxLayout>
#include <QTableWidget>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString cellStyleSheet =
    u"QLabel { color: black; }"
    "QPushButton { color: black; background-color: #d0d0d0; border: 1px solid #a0a0a0; "
    "border-radius: 3px; }"
    "QPushButton:hover { background-color: #c0c0c0; }"
    "QPushButton:pressed { background-color: #b0b0b0; }"
    "QPushButton#cancelBtn { color: red; }"_s;

QLabel* newVersionLabel(const QString& version, QWidget* cell)
{
    auto* label = new VersionLabel(version, cell);
    label->setTextFormat(Qt::PlainText); // a version is not markup
    label->setAlignment(Qt::AlignCenter);
    return label;
}

QPushButton* newRowButton(const QString& name, const QString& text, const QString& toolTip,
                          QWidget* cell)
{
    auto* button = new RowButton(text, cell);
    button->setObjectName(name);
    button->setFixedSize(24, 24);
    // Markup can stand behind its first line alone, where Qt does not look for any.
    button->setToolTip(toolTip);
    return button;
}

/// Shows one of two buttons; either can be null.
void exchangeButtons(QPushButton* hidden, QPushButton* shown)
{
    if (shown) {
        shown->show();
    }
    if (hidden) {
        // The window's word: it is not active yet when a box has just been answered.
        if (shown && hidden->window()->focusWidget() == hidden) {
            shown->setFocus(); // else it would go on to the next row's button
        }
        hidden->hide();
    }
}

} // namespace

CatalogueCell::CatalogueCell(const CatalogueEntry& entry, QWidget* parent) : QWidget(parent)
{
    setStyleSheet(cellStyleSheet);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(4, 0, 4, 0);
    layout->setSpacing(4);

    m_label = newVersionLabel(entry.version, this);
    layout->addWidget(m_label, 1);

    m_cancel = newRowButton(u"cancelBtn"_s, u"✕"_s, tr("Cancel download"), this);
    m_cancel->setAccessibleName(tr("Cancel download of %1").arg(entry.name));
    m_cancel->hide();
    layout->addWidget(m_cancel, 0);

    m_download =
        newRowButton(u"downloadBtn"_s, u"⤓"_s, tr("Download & install:\n") + entry.fileName, this);
    m_download->setAccessibleName(tr("Download %1").arg(entry.name));
    layout->addWidget(m_download, 0);
}

CatalogueCell* CatalogueCell::in(const QTableWidget& table, int row)
{
    return dynamic_cast<CatalogueCell*>(table.cellWidget(row, CatalogueColumn));
}

void CatalogueCell::showIdle(const QString& version)
{
    m_isDownloading = false;
    setText(version);
    exchangeButtons(m_cancel, m_download);
}

void CatalogueCell::showDownload(const QString& percentage)
{
    m_isDownloading = true;
    setText(percentage);
    exchangeButtons(m_download, m_cancel);
}

void CatalogueCell::setText(const QString& text)
{
    if (m_label) {
        m_label->setText(text);
    }
}

QPushButton* CatalogueCell::downloadButton() const
{
    return m_download;
}

QPushButton* CatalogueCell::cancelButton() const
{
    return m_cancel;
}

QPushButton* CatalogueCell::shownButton() const
{
    return m_isDownloading ? m_cancel : m_download;
}
