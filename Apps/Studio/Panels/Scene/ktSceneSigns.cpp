// SPDX-License-Identifier: LGPL-2.1-or-later
// Draws the signs of the scene's columns.
#include "ktSceneSigns.h"

#include <functional>
#include <QApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>

namespace {

/// Draws in a square of 16 units, at any size, in the colours of the moment.
class SignEngine : public QIconEngine {
public:
    using Draw = void (*)(QPainter&, const QColor&);
    explicit SignEngine(Draw draw_) : draw(draw_) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
        const QColor color = QApplication::palette().color(QPalette::ButtonText);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.topLeft());
        painter->scale(rect.width() / 16.0, rect.height() / 16.0);
        painter->setPen(QPen(color, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        draw(*painter, color);
        painter->restore();
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return picture;
    }
    QIconEngine* clone() const override { return new SignEngine(draw); }

private:
    const Draw draw;
};

} // namespace

QIcon ktSceneSigns::shown() {
    return QIcon(new SignEngine([](QPainter& painter, const QColor& color) {
        QPainterPath lids(QPointF(1.5, 8));
        lids.quadTo(8, 1.5, 14.5, 8);
        lids.quadTo(8, 14.5, 1.5, 8);
        painter.drawPath(lids);
        painter.setBrush(color);
        painter.drawEllipse(QPointF(8, 8), 1.6, 1.6);
    }));
}

QIcon ktSceneSigns::locked() {
    return QIcon(new SignEngine([](QPainter& painter, const QColor& color) {
        QPainterPath bow(QPointF(5, 8));
        bow.lineTo(5, 5.5);
        bow.arcTo(5, 2.5, 6, 6, 180, -180);
        bow.lineTo(11, 8);
        painter.drawPath(bow);
        painter.setBrush(color);
        painter.drawRoundedRect(QRectF(3.5, 8, 9, 5.5), 1, 1);
    }));
}

QIcon ktSceneSigns::settings() {
    return QIcon(new SignEngine([](QPainter& painter, const QColor& color) {
        painter.drawLine(QPointF(2, 5), QPointF(14, 5));
        painter.drawLine(QPointF(2, 11), QPointF(14, 11));
        painter.setBrush(color);
        painter.drawEllipse(QPointF(10, 5), 1.8, 1.8);
        painter.drawEllipse(QPointF(6, 11), 1.8, 1.8);
    }));
}
