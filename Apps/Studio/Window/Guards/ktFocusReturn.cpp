// SPDX-License-Identifier: LGPL-2.1-or-later
// Remembers which widget lost the keyboard, and gives it back.
#include "ktFocusReturn.h"

#include <QApplication>
#include <utility>

ktFocusReturn::ktFocusReturn(QWidget* window) : QObject(window) {
    connect(qApp, &QApplication::focusChanged, this, [this, window](QWidget* old, QWidget* now) {
        const bool isLost = old && window->isAncestorOf(old) && !(old->isEnabled() && old->isVisible());
        if (isLost && !lost) // Qt may go on to a widget that is disabled next
            lost = old;
        else if (!isLost && now)
            lost.clear();
    });
}

void ktFocusReturn::giveBack() {
    const QPointer<QWidget> widget = std::exchange(lost, {});
    if (widget && widget->isEnabled() && widget->isVisible())
        widget->setFocus();
}
