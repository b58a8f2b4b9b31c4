#pragma once

#include <QCoreApplication>
#include <QPointer>
#include <QString>
#include <QWidget>

class QLabel;
class QPushButton;
class QTableWidget;

/// What a catalogue says of an application, as far as its row's cell tells it.
struct CatalogueEntry
{
    QString name; ///< for screen readers
    QString version;
    QString fileName; ///< of the installer
};

/// What stands over a row's catalogue column: a label, a ✕ that cancels the row's download and a ⤓
/// that starts it. Idle, it shows the catalogue's version and ⤓; while the row downloads, a
/// percentage and ✕.
///
/// Without a meta object of its own, so that style sheets and accessibility see a plain widget. A
/// child that somebody has deleted is gone without: what would have concerned it is skipped.
class CatalogueCell : public QWidget
{
    Q_DECLARE_TR_FUNCTIONS(CatalogueCell)

public:
    /// Idle.
    CatalogueCell(const CatalogueEntry& entry, QWidget* parent);

    /// The one in @p row of @p table; null where there is none.
    [[nodiscard]] static CatalogueCell* in(const QTableWidget& table, int row);

    void showIdle(const QString& version);
    void showDownload(const QString& percentage);
    /// Changes the text alone.
    void setText(const QString& text);

    /// The ⤓, null once it has been deleted; so with the ✕.
    [[nodiscard]] QPushButton* downloadButton() const;
    [[nodiscard]] QPushButton* cancelButton() const;
    /// The one of the two that the state shows.
    [[nodiscard]] QPushButton* shownButton() const;

private:
    QPointer<QLabel> m_label;
    QPointer<QPushButton> m_cancel;
    QPointer<QPushButton> m_download;
    bool m_isDownloading = false;
};
