// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktViewCanvas.h"

#include <optional>
#include <QCoreApplication>

/// What is painted over the picture: legend, divider with its sides, rectangle, ring, measured distance, crosshair, a
/// message.
class ktViewOverlay {
    Q_DECLARE_TR_FUNCTIONS(ktViewOverlay)

public:
    using Vector = ktViewCamera::Vector;

    QRect rectangle;       ///< that is being dragged; null for none
    QString message;       ///< at the lower edge; empty for none
    double ringRadius = 0; ///< millimetres; 0 for none
    std::optional<Vector> ringCentre;
    std::optional<QPointF> crosshair; ///< of the keyboard; a share of the size
    bool isMeasuring = false;         ///< says which point to click
    std::vector<Vector> measured;     ///< no, one or two ends of a distance
    bool hasBoxes = false;            ///< boxes around marked uses

    void paint(QPainter& painter, const QSize& size, const ktViewState& state) const;
    /// The pixel of the crosshair in a view of that size. Needs a crosshair.
    QPoint crosshairPlace(const QSize& size) const;
    /// The legend of false colours, at the right edge.
    static void paintLegend(QPainter& painter, const QSize& size);
    /// A length with unit: "12.3 mm", "1.23 m".
    static QString lengthText(double millimetres);

private:
    static void paintDivider(QPainter& painter, const QSize& size, const ktViewLook& look);
    void paintMessages(QPainter& painter, const QSize& size) const;
    void paintRing(QPainter& painter, const QSize& size, const ktViewCamera& camera) const;
    void paintMeasured(QPainter& painter, const QSize& size, const ktViewCamera& camera) const;
    void paintCrosshair(QPainter& painter, const QSize& size) const;
    void paintBoxes(QPainter& painter, const QSize& size, const ktViewState& state) const;
};
