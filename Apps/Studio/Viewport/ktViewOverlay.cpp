// SPDX-License-Identifier: LGPL-2.1-or-later
// Paints legend, divider, rectangle, ring, measured distance and crosshair over the picture.
#include "ktViewOverlay.h"

#include "ktFalseColours.h"

#include <algorithm>
#include <cmath>
#include <QPainterPath>

namespace {

constexpr int mostBoxes = 200;
constexpr int crosshairGap_px = 3, crosshairArm_px = 12;
const QColor markColor(255, 149, 0);

std::optional<QPointF> placeOf(const ktViewCamera& camera, const ktViewCamera::Vector& point, const QSize& size) {
    const auto view = camera.project(point, static_cast<double>(size.width()) / std::max(1, size.height()));
    if (!view)
        return {};
    return QPointF(((*view)[0] + 1) / 2 * size.width(), (1 - (*view)[1]) / 2 * size.height());
}

/// Text on a dark field, so that it reads over any picture.
void paintText(QPainter& painter, const QPointF& place, const QString& text) {
    const QRectF field = QRectF(painter.fontMetrics().boundingRect(text)).translated(place).adjusted(-4, -2, 4, 2);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 160));
    painter.drawRoundedRect(field, 3, 3);
    painter.setPen(Qt::white);
    painter.drawText(place, text);
}

/// A line with a dark rim.
template <typename Shape>
void paintLine(QPainter& painter, const Shape& shape, const QColor& color) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(0, 0, 0, 160), 3.5));
    shape();
    painter.setPen(QPen(color, 1.5));
    shape();
}

} // namespace

QString ktViewOverlay::lengthText(double millimetres) {
    if (millimetres >= 1000)
        return tr("%L1 m").arg(millimetres / 1000, 0, 'g', 4);
    return tr("%L1 mm").arg(millimetres, 0, 'g', 4);
}

void ktViewOverlay::paintLegend(QPainter& painter, const QSize& size) {
    const int height = std::clamp(size.height() / 2, 60, 240), width = 16;
    const QRect bar(size.width() - 70, (size.height() - height) / 2, width, height);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 160));
    painter.drawRoundedRect(bar.adjusted(-8, -26, 46, 12), 4, 4);
    for (int row = 0; row < height; ++row)
        painter.fillRect(
            bar.left(), bar.top() + row, width, 1,
            QColor(ktFalseColours::srgbAt(1 - (static_cast<float>(row) + 0.5f) / static_cast<float>(height))));
    painter.setPen(Qt::white);
    for (int step = 0; step <= 4; ++step) {
        const int y = bar.bottom() - step * (height - 1) / 4;
        painter.drawLine(bar.right() + 2, y, bar.right() + 5, y);
        painter.drawText(bar.right() + 9, y + painter.fontMetrics().ascent() / 2 - 1, QString::number(step / 4.0));
    }
    painter.drawText(bar.left(), bar.top() - 10, tr("w", "share of open directions"));
}

void ktViewOverlay::paintRing(QPainter& painter, const QSize& size, const ktViewCamera& camera) const {
    QPolygonF ring; // facing the eye
    constexpr int corners = 72;
    for (int i = 0; i <= corners; ++i) {
        const double angle = i * 2 * std::acos(-1.0) / corners;
        Vector point = *ringCentre;
        for (std::size_t axis = 0; axis < 3; ++axis)
            point[axis] += ringRadius * (std::cos(angle) * camera.right()[axis] + std::sin(angle) * camera.up()[axis]);
        const auto place = placeOf(camera, point, size);
        if (!place)
            return;
        ring.append(*place);
    }
    paintLine(
        painter, [&] { painter.drawPolyline(ring); }, Qt::white);
    paintText(painter, ring[corners / 8] + QPointF(6, 0), lengthText(ringRadius));
}

void ktViewOverlay::paintMeasured(QPainter& painter, const QSize& size, const ktViewCamera& camera) const {
    std::vector<QPointF> places;
    for (const Vector& point : measured) {
        const auto place = placeOf(camera, point, size);
        if (!place)
            return;
        places.push_back(*place);
        paintLine(
            painter, [&] { painter.drawEllipse(*place, 4, 4); }, Qt::white);
    }
    if (places.size() < 2)
        return;
    paintLine(
        painter, [&] { painter.drawLine(places[0], places[1]); }, Qt::white);
    const double length =
        std::hypot(measured[1][0] - measured[0][0], measured[1][1] - measured[0][1], measured[1][2] - measured[0][2]);
    paintText(painter, (places[0] + places[1]) / 2 + QPointF(8, -8), lengthText(length));
}

QPoint ktViewOverlay::crosshairPlace(const QSize& size) const {
    return QPointF(crosshair->x() * (size.width() - 1), crosshair->y() * (size.height() - 1)).toPoint();
}

void ktViewOverlay::paintCrosshair(QPainter& painter, const QSize& size) const {
    const QPointF middle = crosshairPlace(size) + QPointF(0.5, 0.5);
    paintLine(
        painter,
        [&] {
            for (const QPointF& arm : {QPointF(1, 0), QPointF(-1, 0), QPointF(0, 1), QPointF(0, -1)})
                painter.drawLine(middle + crosshairGap_px * arm, middle + crosshairArm_px * arm);
        },
        Qt::white);
}

void ktViewOverlay::paintDivider(QPainter& painter, const QSize& size, const ktViewLook& look) {
    const double x = look.divider * size.width();
    paintLine(
        painter, [&] { painter.drawLine(QPointF(x, 0), QPointF(x, size.height())); }, Qt::white);
    painter.setBrush(Qt::white);
    painter.drawEllipse(QPointF(x, size.height() / 2.0), 7, 7);
    const bool isEarlier = look.comparison == ktComparison::EarlierResults;
    const QString left = isEarlier ? tr("Before the bake") : tr("Without light");
    const QString right = isEarlier ? tr("Now") : tr("With light");
    constexpr int gap = 12;
    const int top = gap + painter.fontMetrics().ascent(), width = painter.fontMetrics().horizontalAdvance(left);
    paintText(painter, QPointF(x - gap - width, top), left);
    paintText(painter, QPointF(x + gap, top), right);
}

void ktViewOverlay::paintMessages(QPainter& painter, const QSize& size) const {
    const QString hint = !isMeasuring ? QString()
                         : measured.size() == 1
                             ? tr("Click the other end of the distance, or press Enter at the crosshair")
                         : measured.empty() ? tr("Click one end of the distance, or press Enter at the crosshair")
                                            : QString();
    QPointF place(12, size.height() - 12);
    for (const QString& text : {message, hint}) {
        if (text.isEmpty())
            continue;
        paintText(painter, place, text);
        place.ry() -= painter.fontMetrics().height() + 8;
    }
}

void ktViewOverlay::paintBoxes(QPainter& painter, const QSize& size, const ktViewState& state) const {
    int count = 0;
    for (const ktViewUse& use : state.scene.uses) {
        if (!use.isSelected || ++count > mostBoxes)
            continue;
        std::array<std::optional<QPointF>, 8> places;
        for (unsigned corner = 0; corner < 8; ++corner)
            places[corner] = placeOf(state.camera,
                                     {(corner & 1 ? use.bounds.high : use.bounds.low)[0],
                                      (corner & 2 ? use.bounds.high : use.bounds.low)[1],
                                      (corner & 4 ? use.bounds.high : use.bounds.low)[2]},
                                     size);
        painter.setPen(QPen(markColor, 1.5));
        for (unsigned corner = 0; corner < 8; ++corner)
            for (const unsigned bit : {1u, 2u, 4u})
                if (!(corner & bit) && places[corner] && places[corner | bit])
                    painter.drawLine(*places[corner], *places[corner | bit]);
    }
}

void ktViewOverlay::paint(QPainter& painter, const QSize& size, const ktViewState& state) const {
    if (hasBoxes)
        paintBoxes(painter, size, state);
    if (state.look.comparison != ktComparison::None)
        paintDivider(painter, size, state.look);
    if (state.look.mode == ktViewMode::FalseColours && !state.scene.uses.empty())
        paintLegend(painter, size);
    if (ringRadius > 0 && ringCentre)
        paintRing(painter, size, state.camera);
    paintMeasured(painter, size, state.camera);
    if (crosshair)
        paintCrosshair(painter, size);
    if (!rectangle.isNull()) {
        painter.setBrush(QColor(markColor.red(), markColor.green(), markColor.blue(), 40));
        painter.setPen(QPen(markColor, 1));
        painter.drawRect(rectangle);
    }
    paintMessages(painter, size);
}
