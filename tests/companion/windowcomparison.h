#pragma once

#include "randomcatalogues.h"
#include "support/modalbox.h"
#include "support/windowsetup.h"

#include "companion/preview/previewtable.h"

#include <QHash>

/// A real window on a machine with random applications, fed with random catalogues, beside what
/// `preview` says of the same catalogue and machine.
class WindowComparison
{
public:
    /// Everything random follows from @p seed.
    explicit WindowComparison(quint32 seed);

    /// Makes @p cases catalogues and machines anew and returns the first difference between window
    /// and preview; empty when there is none.
    [[nodiscard]] QString firstDifference(int cases);
    /// How many rows have been compared so far, by the colour of the window's row.
    [[nodiscard]] QHash<QString, int> rowsByColor() const { return m_rowsByColor; }
    /// How many rows a log of another catalogue left open.
    [[nodiscard]] int openRows() const { return m_openRows; }

private:
    void installRandomly();

    /// Whether the window has loaded @p catalogue.
    [[nodiscard]] bool load(const QByteArray& catalogue);
    [[nodiscard]] bool offersNothing(const QByteArray& catalogue) const;
    [[nodiscard]] QString compareWithLog(const QByteArray& catalogue, const QByteArray& log);
    [[nodiscard]] QString compareMatches(const QList<PreviewRow>& rows,
                                         const QByteArray& log) const;
    [[nodiscard]] QString compareWithForeignLog(const QByteArray& catalogue, const QByteArray& log);
    [[nodiscard]] QString compareOnce();

    RandomCatalogues m_random;
    WindowSetup m_setup;
    BoxAnswerer m_boxes{QMessageBox::Ok};
    QHash<QString, int> m_rowsByColor;
    int m_openRows = 0;
};

/// A row as shownRows() has it; a "?" for what is open.
[[nodiscard]] QString previewedRow(const PreviewRow& row);
