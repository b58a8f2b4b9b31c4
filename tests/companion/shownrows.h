#pragma once

#include <QStringList>

class QTableWidget;

/// A row in one text: the application, its installed version, the catalogue's, the row's colour.
[[nodiscard]] QString rowText(const QString& name, const QString& installed,
                              const QString& catalogue, const QString& color);

/// The window's rows as rowText() has them.
[[nodiscard]] QStringList shownRows(const QTableWidget& table);

/// The colour of a row with @p verdict; "?" for none.
[[nodiscard]] QString colorOf(const QString& verdict);
