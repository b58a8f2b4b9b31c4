#include "support/controlwalk.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QTest>

namespace {

bool isActionable(QAccessibleInterface& control)
{
    QAccessibleActionInterface* action = control.actionInterface();
    // A table is met by its cells. Since Qt 6.11 it can be scrolled by an action of its own.
    return control.role() != QAccessible::Table && !control.state().invisible && action &&
           !action->actionNames().isEmpty();
}

void collect(QAccessibleInterface& parent, QList<SpokenControl>& found)
{
    for (int i = 0; i < parent.childCount(); ++i) {
        QAccessibleInterface* child = parent.child(i);
        if (isActionable(*child)) {
            found.append({child->text(QAccessible::Name), child->text(QAccessible::Description),
                          qobject_cast<QWidget*>(child->object())});
        }
        collect(*child, found);
    }
}

} // namespace

QList<SpokenControl> spokenControls(QWidget& window)
{
    QList<SpokenControl> found;
    collect(*QAccessible::queryAccessibleInterface(&window), found);
    return found;
}

QStringList spokenNames(QWidget& window)
{
    QStringList names;
    for (const SpokenControl& control : spokenControls(window)) {
        names.append(control.name);
    }
    return names;
}

QList<QWidget*> tabWalk(Qt::Key key)
{
    const int tooMany = 1000;
    QList<QWidget*> walk;
    QWidget* const start = QApplication::focusWidget();
    for (QWidget* now = start; now && walk.size() < tooMany; now = QApplication::focusWidget()) {
        walk.append(now);
        QTest::keyClick(now, key);
        if (QApplication::focusWidget() == start) {
            break;
        }
    }
    return walk;
}

QStringList widgetNames(const QList<QWidget*>& widgets)
{
    QStringList names;
    for (const QWidget* widget : widgets) {
        const auto* button = qobject_cast<const QAbstractButton*>(widget);
        names.append(widget->objectName().isEmpty() && button ? button->text()
                                                              : widget->objectName());
    }
    return names;
}
