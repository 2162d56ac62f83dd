// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktViewLook.h"
#include "ktViewScene.h"

#include <functional>
#include <QImage>
#include <QPainter>
#include <QWidget>

/// What the viewport shows now.
struct ktViewState {
    ktViewScene scene;
    ktViewCamera camera;
    ktViewLook look;
    bool isHurried = false; ///< other work needs the processors: draw less at once
};

/// Draws the state into a widget. The functions are called after the state changed.
class ktViewCanvas {
public:
    virtual ~ktViewCanvas() = default;

    virtual QWidget* widget() = 0;
    /// Geometry, results, materials or visible parts changed.
    virtual void sceneChanged() = 0;
    /// Camera, look or marked parts changed.
    virtual void viewChanged() = 0;
    /// Keeps the present results, for ktComparison::EarlierResults.
    virtual void keepResults() = 0;
    /// Draws the scene without marks. Null if that is not possible.
    virtual QImage render(const QSize& size, const ktViewCamera& camera, const ktViewLook& look) = 0;
    /// Does ahead what takes long in the first picture. Takes some tenths of a second.
    virtual void warmUp() {}
    virtual bool isWarmingUp() const { return false; }
    /// Whether the widget shows the state in full quality.
    virtual bool isSettled() const = 0;

    /// Paints over the picture, in the widget's coordinates.
    std::function<void(QPainter&)> paintOverlay;
    /// Called when a picture is on the screen.
    std::function<void()> shown;
};
