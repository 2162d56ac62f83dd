// SPDX-License-Identifier: LGPL-2.1-or-later
// Paints the centre of a main window before its panels and bars.
#include "ktPaintPause.h"

#include <utility>

static constexpr int longestPause_ms = 100;

ktPaintPause::ktPaintPause(QMainWindow& window_) : window(window_) {
    limit.setSingleShot(true);
    limit.setInterval(longestPause_ms);
    QObject::connect(&limit, &QTimer::timeout, &limit, [this] { end(); });
}

void ktPaintPause::begin() {
    end();
    for (QWidget* part : window.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
        if (!part->isWindow() && part->isVisible() && part->updatesEnabled()) {
            part->setUpdatesEnabled(false);
            paused.append(part);
        }
}

void ktPaintPause::showCentre(const std::function<void()>& afterwards) {
    if (paused.removeAll(window.centralWidget()) == 0) {
        if (afterwards)
            afterwards();
        return;
    }
    whenEnded = afterwards;
    window.centralWidget()->setUpdatesEnabled(true);
    limit.start();
}

void ktPaintPause::noteCentreShown() {
    if (limit.isActive())
        end();
}

void ktPaintPause::end() {
    limit.stop();
    for (const QPointer<QWidget>& part : paused)
        if (part)
            part->setUpdatesEnabled(true);
    paused.clear();
    if (const auto act = std::exchange(whenEnded, nullptr))
        act();
}
