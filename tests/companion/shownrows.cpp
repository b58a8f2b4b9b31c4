#include "shownrows.h"

#include <QHash>
#include <QLabel>
#include <QTableWidget>

using namespace Qt::Literals::StringLiterals;

QString rowText(const QString& name, const QString& installed, const QString& catalogue,
                const QString& color)
{
    return QStringList{name, installed, catalogue, color}.join(u" ¦ "_s);
}

QStringList shownRows(const QTableWidget& table)
{
    QStringList rows;
    for (int row = 0; row < table.rowCount(); ++row) {
        QStringList colors;
        for (int column = 0; column < 3; ++column) {
            colors.append(table.item(row, column)->background().color().name());
        }
        colors.removeDuplicates();
        rows.append(rowText(table.item(row, 0)->text(), table.item(row, 1)->text(),
                            table.cellWidget(row, 2)->findChild<QLabel*>()->text(),
                            colors.join(u'/')));
    }
    return rows;
}

QString colorOf(const QString& verdict)
{
    static const QHash<QString, QString> colors = {
        {u"not installed"_s, u"#d4d4d4"_s},
        {u"update available"_s, u"#ffdada"_s},
        {u"up to date"_s, u"#daffda"_s},
        {u"newer than the catalogue"_s, u"#dadaff"_s},
    };
    return colors.value(verdict, u"?"_s);
}
