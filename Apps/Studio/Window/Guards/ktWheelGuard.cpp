// SPDX-License-Identifier: LGPL-2.1-or-later
// Lets the wheel scroll a panel, not its values.
#include "ktWheelGuard.h"

#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QEvent>
#include <QScrollBar>

ktWheelGuard::ktWheelGuard(QWidget* panel) : QObject(panel) {
    for (QWidget* widget : panel->findChildren<QWidget*>()) {
        const bool isSlider = qobject_cast<QAbstractSlider*>(widget) && !qobject_cast<QScrollBar*>(widget);
        if (!isSlider && !qobject_cast<QAbstractSpinBox*>(widget) && !qobject_cast<QComboBox*>(widget))
            continue;
        widget->setFocusPolicy(Qt::StrongFocus); // the wheel itself gives no focus
        widget->installEventFilter(this);
    }
}

bool ktWheelGuard::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::Wheel || static_cast<QWidget*>(watched)->hasFocus())
        return false;
    event->ignore(); // Qt gives it to the widget around
    return true;
}
