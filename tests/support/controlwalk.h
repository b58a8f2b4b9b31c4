#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <Qt>

class QWidget;

/// A control as a screen reader meets it.
struct SpokenControl
{
    QString name;
    QString description;
    QWidget* widget = nullptr;
};

/// The visible controls in @p window that can be pressed, edited or focused, in the order of the
/// accessibility tree.
[[nodiscard]] QList<SpokenControl> spokenControls(QWidget& window);

/// The names of spokenControls(), in their order.
[[nodiscard]] QStringList spokenNames(QWidget& window);

/// Where the focus goes by pressing @p key, from the widget that has it until it is there again:
/// the first element is where it started. The window must be active.
[[nodiscard]] QList<QWidget*> tabWalk(Qt::Key key = Qt::Key_Tab);

/// @p widgets by object name, or by text where a button has none.
[[nodiscard]] QStringList widgetNames(const QList<QWidget*>& widgets);
