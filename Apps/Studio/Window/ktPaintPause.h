// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <QTimer>

/// Leaves the panels and bars of a main window unpainted for a moment, so that its centre is on the screen first. Main
/// thread only.
class ktPaintPause {
public:
    /// @param window must outlive this
    explicit ktPaintPause(QMainWindow& window);

    /// Nothing in the window is painted from now on.
    void begin();
    /// Paints the centre again, and the rest after noteCentreShown() or a tenth of a second later; calls `afterwards`
    /// then. Without begin(), calls it at once.
    void showCentre(const std::function<void()>& afterwards = {});
    void noteCentreShown();
    /// Paints everything again.
    void end();

private:
    QMainWindow& window;
    QList<QPointer<QWidget>> paused;
    std::function<void()> whenEnded;
    QTimer limit;
};
