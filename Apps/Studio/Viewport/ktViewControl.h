// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktViewCamera.h"

#include <functional>
#include <QCoreApplication>
#include <QMouseEvent>
#include <QRect>
#include <QString>
#include <utility>
#include <vector>

class QKeyEvent;
class QWidget;

/// Turns events of the mouse and of the keyboard into movements of the camera, clicks and rectangles.
class ktViewControl {
    Q_DECLARE_TR_FUNCTIONS(ktViewControl)

public:
    /// @param widget gets the events; its size is that of the view
    ktViewControl(QWidget& widget, ktViewCamera& camera);

    void setMouseStyle(ktMouseStyle newStyle) { style = newStyle; }
    /// What mouse and keys do in the view: pairs of what happens and what to press.
    std::vector<std::pair<QString, QString>> describe() const;

    void press(const QMouseEvent& event);
    void move(const QMouseEvent& event);
    void release(const QMouseEvent& event);
    void doubleClick(const QMouseEvent& event);
    void wheel(const QWheelEvent& event);
    /// Arrows orbit, Shift + arrows pan, + and - zoom, Ctrl + arrows move the divider, Alt + arrows the crosshair,
    /// Enter clicks at it. Returns false for a key without a use.
    bool key(const QKeyEvent& event);

    /// -1 (left, bottom) to 1 (right, top).
    QPointF viewPoint(const QPointF& place) const;
    double aspect() const;
    /// The rectangle that is being dragged, or null.
    QRect rectangle() const { return band; }
    bool isDragging() const { return action != Action::None; }

    std::function<void()> cameraMoved = [] {};
    std::function<void(QPoint, Qt::KeyboardModifiers)> clicked = [](QPoint, Qt::KeyboardModifiers) {};
    std::function<void(QRect, Qt::KeyboardModifiers)> rectangleDone = [](QRect, Qt::KeyboardModifiers) {};
    std::function<void()> rectangleMoved = [] {};
    std::function<void(QPoint)> centreChosen = [](QPoint) {};
    /// Whether a place is on the divider, and its new place, 0 to 1.
    std::function<bool(QPoint)> isDivider = [](QPoint) { return false; };
    std::function<void(double)> dividerMoved = [](double) {};
    /// Moves the divider by a share of the width; false if none is shown.
    std::function<bool(double)> dividerStepped = [](double) { return false; };
    /// Moves the crosshair of the keyboard by pixels, and shows it.
    std::function<void(QPoint)> crosshairStepped = [](QPoint) {};
    /// Clicks at the crosshair; false if none is shown.
    std::function<bool(Qt::KeyboardModifiers)> crosshairClicked = [](Qt::KeyboardModifiers) { return false; };

private:
    enum class Action { None, Click, Orbit, Pan, Zoom, Band, Divider };

    Action actionOf(const QMouseEvent& event) const;
    void drag(const QPoint& from, const QPoint& to);
    void keyStep(int right, int up, Qt::KeyboardModifiers modifiers);

    QWidget& widget;
    ktViewCamera& camera;
    ktMouseStyle style = ktMouseStyle::MeshLab;
    Action action = Action::None, planned = Action::None;
    QPoint start, last;
    QRect band;
};
