// SPDX-License-Identifier: LGPL-2.1-or-later
// Turns events of the mouse and of the keyboard into movements of the camera, clicks and rectangles.
#include "ktViewControl.h"

#include <algorithm>
#include <cmath>
#include <QKeyEvent>
#include <QWheelEvent>
#include <QWidget>

namespace {

constexpr int clickDistance_px = 4; // a shorter drag is a click
constexpr double pi = 3.14159265358979;
constexpr double zoomPerStep = 0.88; // of the wheel
constexpr double keyAngle_rad = pi / 36;
constexpr double dividerStep = 0.02;
constexpr int crosshairStep_px = 10;

} // namespace

ktViewControl::ktViewControl(QWidget& widget_, ktViewCamera& camera_) : widget(widget_), camera(camera_) {}

QPointF ktViewControl::viewPoint(const QPointF& place) const {
    return {2 * (place.x() + 0.5) / std::max(1, widget.width()) - 1,
            1 - 2 * (place.y() + 0.5) / std::max(1, widget.height())};
}

double ktViewControl::aspect() const {
    return static_cast<double>(std::max(1, widget.width())) / std::max(1, widget.height());
}

ktViewControl::Action ktViewControl::actionOf(const QMouseEvent& event) const {
    const bool hasShift = event.modifiers() & Qt::ShiftModifier, hasControl = event.modifiers() & Qt::ControlModifier;
    if (style == ktMouseStyle::Blender) {
        const bool isAltLeft = event.button() == Qt::LeftButton && event.modifiers() & Qt::AltModifier;
        if (event.button() == Qt::MiddleButton || isAltLeft) // Alt + left for a mouse with two buttons
            return hasShift ? Action::Pan : hasControl ? Action::Zoom : Action::Orbit;
        return event.button() == Qt::LeftButton ? Action::Band : Action::None;
    }
    if (event.button() == Qt::MiddleButton)
        return Action::Pan;
    if (event.button() != Qt::LeftButton)
        return Action::None;
    return hasShift ? Action::Band : hasControl ? Action::Pan : Action::Orbit;
}

void ktViewControl::press(const QMouseEvent& event) {
    if (action != Action::None)
        return;
    start = last = event.pos();
    if (event.button() == Qt::LeftButton && isDivider(start)) {
        action = Action::Divider;
        return;
    }
    planned = actionOf(event);
    action = planned == Action::None            ? Action::None
             : event.button() == Qt::LeftButton ? Action::Click // until it moves
                                                : planned;
}

void ktViewControl::move(const QMouseEvent& event) {
    if (action == Action::Click && (event.pos() - start).manhattanLength() > clickDistance_px)
        action = planned;
    if (action == Action::None || action == Action::Click)
        return;
    drag(last, event.pos());
    last = event.pos();
}

void ktViewControl::drag(const QPoint& from, const QPoint& to) {
    const QPointF before = viewPoint(from), after = viewPoint(to);
    const double dx = after.x() - before.x(), dy = after.y() - before.y();
    switch (action) {
    case Action::Orbit:
        camera.orbit(-dx * aspect() * pi / 2, -dy * pi / 2);
        return cameraMoved();
    case Action::Pan:
        camera.pan(dx, dy, aspect());
        return cameraMoved();
    case Action::Zoom:
        camera.zoom(std::pow(4.0, -dy), 0, 0, aspect());
        return cameraMoved();
    case Action::Band:
        band = QRect(start, to).normalized();
        return rectangleMoved();
    case Action::Divider:
        return dividerMoved(std::clamp(static_cast<double>(to.x()) / std::max(1, widget.width()), 0.0, 1.0));
    case Action::None:
    case Action::Click:
        return;
    }
}

void ktViewControl::release(const QMouseEvent& event) {
    const Action ended = action;
    const QRect rectangle = band;
    action = Action::None;
    band = {};
    if (ended == Action::Click)
        clicked(event.pos(), event.modifiers());
    if (ended == Action::Band) {
        rectangleMoved();
        rectangleDone(rectangle, event.modifiers());
    }
}

void ktViewControl::doubleClick(const QMouseEvent& event) {
    if (event.button() == Qt::LeftButton)
        centreChosen(event.pos());
}

void ktViewControl::wheel(const QWheelEvent& event) {
    const double steps = event.angleDelta().y() / 120.0;
    if (steps == 0)
        return;
    const QPointF place = viewPoint(event.position());
    camera.zoom(std::pow(zoomPerStep, steps), place.x(), place.y(), aspect());
    cameraMoved();
}

bool ktViewControl::key(const QKeyEvent& event) {
    int right = 0, up = 0;
    switch (event.key()) {
    case Qt::Key_Left:
        right = -1;
        break;
    case Qt::Key_Right:
        right = 1;
        break;
    case Qt::Key_Up:
        up = 1;
        break;
    case Qt::Key_Down:
        up = -1;
        break;
    case Qt::Key_Plus:
    case Qt::Key_Minus:
        camera.zoom(event.key() == Qt::Key_Plus ? zoomPerStep : 1 / zoomPerStep, 0, 0, aspect());
        cameraMoved();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return crosshairClicked(event.modifiers() & ~Qt::KeypadModifier);
    default:
        return false;
    }
    keyStep(right, up, event.modifiers());
    return true;
}

void ktViewControl::keyStep(int right, int up, Qt::KeyboardModifiers modifiers) {
    const bool hasShift = modifiers & Qt::ShiftModifier;
    if (modifiers & Qt::AltModifier)
        return crosshairStepped(QPoint(right, -up) * (hasShift ? 1 : crosshairStep_px));
    if (modifiers & Qt::ControlModifier && right != 0 && dividerStepped(dividerStep * right))
        return;
    if (hasShift)
        camera.pan(-0.1 * right, -0.1 * up, aspect());
    else
        camera.orbit(keyAngle_rad * right, keyAngle_rad * up);
    cameraMoved();
}

std::vector<std::pair<QString, QString>> ktViewControl::describe() const {
    const bool isBlender = style == ktMouseStyle::Blender;
    return {
        {tr("Orbit"), isBlender ? tr("Middle button, or Alt + left button") : tr("Left button")},
        {tr("Pan"), isBlender ? tr("Shift + middle button") : tr("Middle button, or Ctrl + left button")},
        {tr("Zoom to the pointer"), isBlender ? tr("Wheel, or Ctrl + middle button") : tr("Wheel")},
        {tr("Select a part"), tr("Click")},
        {tr("Add a part to the selection, or remove it"), tr("Ctrl + click")},
        {tr("Select what a rectangle shows"), isBlender ? tr("Left button") : tr("Shift + left button")},
        {tr("Orbit around a point"), tr("Double click on it")},
        {tr("Orbit"), tr("Arrow keys")},
        {tr("Pan"), tr("Shift + arrow keys")},
        {tr("Zoom"), tr("+ and -")},
        {tr("Move the divider of a comparison"), tr("Drag it, or Ctrl + left and right arrow")},
        {tr("Move a crosshair"), tr("Alt + arrow keys; with Shift by one pixel")},
        {tr("Click at the crosshair: select, or set one end of a distance"), tr("Enter")},
        {tr("Add the part at the crosshair to the selection, or remove it"), tr("Ctrl + Enter")},
    };
}
