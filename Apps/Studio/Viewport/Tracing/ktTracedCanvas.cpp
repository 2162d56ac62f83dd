// SPDX-License-Identifier: LGPL-2.1-or-later
// The widget that the host's ray tracer draws.
#include "ktTracedCanvas.h"

#include "ktEventPump.h"
#include "ktPreview.h"
#include "ktPreviewRenderer.h"
#include "ktTracedLook.h"
#include "ktTracer.h"
#include "ktTracerFactory.h"
#include "ktWorkers.h"

#include <exception>
#include <QPaintEvent>
#include <QTimer>

namespace {

constexpr int coarsest = 8; // pixels of the widget per pixel of the first picture, in each direction

ktPreviewCamera cameraOf(const ktViewCamera& camera, const QSize& size, const ktViewScene& scene) {
    return camera.previewCamera(static_cast<double>(size.width()) / size.height(), scene.allBounds);
}

ktPreviewOptions optionsOf(const ktViewLook& look, const QSize& size, std::function<bool()> isInterrupted) {
    ktPreviewOptions options;
    options.width_px = std::max(1, size.width());
    options.height_px = std::max(1, size.height());
    const bool isFalse = look.mode == ktViewMode::FalseColours;
    options.exposure = isFalse ? 1 : look.exposure;
    options.hasHeadlight = look.hasHeadlight && !isFalse;
    options.isInterrupted = std::move(isInterrupted);
    return options;
}

} // namespace

ktTracedCanvas::ktTracedCanvas(const ktViewState& state_, QWidget* parent) : QWidget(parent), state(state_) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

ktTracedCanvas::~ktTracedCanvas() {
    stop();
}

void ktTracedCanvas::stop() {
    isInterrupted = true;
    workers.reset();
    isInterrupted = false;
}

void ktTracedCanvas::sceneChanged() {
    viewChanged();
}

void ktTracedCanvas::viewChanged() {
    isFinest = false;
    if (isStartDue)
        return;
    isStartDue = true; // several changes make one picture
    QTimer::singleShot(0, this, [this] { start(); });
}

void ktTracedCanvas::prepare(const ktViewLook& look) {
    stop();
    if (!renderer || stamp != state.scene.stamp) {
        renderer.reset();
        tracer = ktMakeTracer();
        traced = ktMakeTracedScene(state.scene);
        renderer = std::make_unique<ktPreviewRenderer>(traced, *tracer);
        stamp = state.scene.stamp;
        isBuilt = false;
    }
    ktSetTracedLook(traced, state.scene, look);
}

// On a worker thread.
bool ktTracedCanvas::build() {
    if (!isBuilt)
        isBuilt = renderer->build([this] { return isInterrupted.load(); });
    return isBuilt;
}

void ktTracedCanvas::start() {
    isStartDue = false;
    if (isRendering || width() < 1 || height() < 1) // render() starts again at its end
        return;
    try {
        prepare(state.look);
        const QSize pixels = (QSizeF(size()) * devicePixelRatioF()).toSize();
        const ktPreviewCamera camera = cameraOf(state.camera, pixels, state.scene);
        workers = std::make_unique<ktWorkers>([this, pixels, camera, look = state.look, mine = ++number] {
            try {
                const auto mustEnd = [this] { return isInterrupted.load(); };
                for (int step = coarsest; build() && step >= 1; step /= 2) {
                    const QImage image =
                        renderer->draw(camera, optionsOf(look, pixels / step, mustEnd), look.background);
                    if (image.isNull())
                        return;
                    QMetaObject::invokeMethod(
                        this, [this, image, step, mine] { show(image, step == 1, mine); }, Qt::QueuedConnection);
                }
            } catch (const std::exception& error) {
                QMetaObject::invokeMethod(
                    this,
                    [this, reason = QString::fromUtf8(error.what())] {
                        failure = reason;
                        update();
                    },
                    Qt::QueuedConnection);
            }
        });
    } catch (const std::exception& error) {
        failure = QString::fromUtf8(error.what());
        update();
    }
}

void ktTracedCanvas::show(const QImage& image, bool finest, unsigned of) {
    if (of != number)
        return;
    picture = image;
    isFinest = finest && !isStartDue;
    update();
}

void ktTracedCanvas::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setRenderHint(QPainter::Antialiasing);
    if (picture.isNull())
        painter.fillRect(rect(), palette().window());
    else
        painter.drawImage(rect(), picture);
    if (!failure.isEmpty())
        painter.drawText(rect(), Qt::AlignCenter, failure);
    if (paintOverlay)
        paintOverlay(painter);
    if (!picture.isNull() && shown)
        QTimer::singleShot(0, this, [this] { shown(); });
}

void ktTracedCanvas::resizeEvent(QResizeEvent*) {
    viewChanged();
}

QImage ktTracedCanvas::render(const QSize& size, const ktViewCamera& camera, const ktViewLook& look) {
    QImage image;
    if (isRendering) // an event handler below
        return image;
    isRendering = true;
    try {
        prepare(look);
        const ktPreviewCamera view = cameraOf(camera, size, state.scene);
        ktEventPump pump;
        ktWorkers::run(
            [&] {
                if (build())
                    image = renderer->draw(view, optionsOf(look, size, {}), look.background);
            },
            pump);
    } catch (const std::exception& error) {
        failure = QString::fromUtf8(error.what());
        image = QImage();
    }
    isRendering = false;
    viewChanged();
    return image;
}
