// SPDX-License-Identifier: LGPL-2.1-or-later
// The viewport's widget: keeps scene, camera and look, and connects drawing, control and picking.
#include "ktSceneView.h"

#include "ktGlCanvas.h"
#include "ktPointerInfo.h"
#include "ktSceneCamera.h"
#include "ktSrgb.h"
#include "ktTracedCanvas.h"
#include "ktViewControl.h"
#include "ktViewOverlay.h"
#include "ktViewPicker.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr double turn_radPerSecond = 0.35; // about 20 degrees
constexpr int turnInterval_ms = 30;
constexpr int dividerReach_px = 6;
constexpr QPointF middle(0.5, 0.5);
constexpr double dueSlice_ms = 8;
constexpr std::size_t mostTrianglesAtOnce = 250000;

std::array<float, 3> linearOf(const QColor& color) {
    return {ktFromSrgb(static_cast<float>(color.redF())), ktFromSrgb(static_cast<float>(color.greenF())),
            ktFromSrgb(static_cast<float>(color.blueF()))};
}

} // namespace

class ktSceneView::Private {
public:
    Private(ktSceneView& view_, Drawing drawing) : view(view_), picker(state.scene), control(view_, state.camera) {
        if (drawing == Drawing::Automatic && ktGlCanvas::isAvailable()) {
            auto* widget = new ktGlCanvas(state, &view); // the view deletes it
            canvas = glCanvas = widget;
        } else {
            canvas = new ktTracedCanvas(state, &view);
            overlay.hasBoxes = true;
            if (drawing == Drawing::Automatic)
                overlay.message = ktSceneView::tr("There is no OpenGL 3.3 here. The ray tracer draws instead.");
        }
        canvas->shown = [this] { emit view.pictureShown(); };
        canvas->paintOverlay = [this](QPainter& painter) {
            overlay.rectangle = control.rectangle();
            overlay.paint(painter, view.size(), state);
        };
        control.cameraMoved = [this] {
            turnTimer.stop();
            canvas->viewChanged();
        };
        control.rectangleMoved = [this] { canvas->widget()->update(); };
        control.isDivider = [this](QPoint place) {
            return state.look.comparison != ktComparison::None &&
                   std::abs(place.x() - state.look.divider * view.width()) <= dividerReach_px;
        };
        control.dividerMoved = [this](double place) { view.setDivider(place); };
        control.dividerStepped = [this](double step) {
            if (state.look.comparison == ktComparison::None)
                return false;
            view.setDivider(state.look.divider + step);
            return true;
        };
        control.crosshairStepped = [this](QPoint step) { stepCrosshair(step); };
        control.crosshairClicked = [this](Qt::KeyboardModifiers keys) {
            if (!overlay.crosshair)
                return false;
            control.clicked(overlay.crosshairPlace(view.size()), keys);
            return true;
        };
        control.clicked = [this](QPoint place, Qt::KeyboardModifiers keys) {
            whenPickable([this, place, keys] { click(place, keys); });
        };
        control.rectangleDone = [this](QRect place, Qt::KeyboardModifiers keys) {
            whenPickable([this, place, keys] { pickRectangle(place, keys); });
        };
        control.centreChosen = [this](QPoint place) {
            whenPickable([this, place] {
                if (const auto hit = pick(place)) {
                    state.camera.lookAt(hit->point);
                    canvas->viewChanged();
                }
            });
        };
        dueTimer.setInterval(0);
        QObject::connect(&dueTimer, &QTimer::timeout, &view, [this] {
            if (!state.scene.readDueResults(dueSlice_ms))
                return;
            dueTimer.stop();
            canvas->sceneChanged();
        });
        turnTimer.setInterval(turnInterval_ms);
        QObject::connect(&turnTimer, &QTimer::timeout, &view, [this] {
            const double seconds = static_cast<double>(turnClock.restart()) / 1000;
            state.camera.orbit(std::min(seconds, 0.5) * turn_radPerSecond, 0);
            canvas->viewChanged();
        });
    }

    ktSceneView& view;
    ktViewState state;
    ktViewCanvas* canvas = nullptr; // a child of the view
    ktGlCanvas* glCanvas = nullptr; // the same, or null
    ktViewPicker picker;
    ktViewControl control;
    ktViewOverlay overlay;
    QTimer turnTimer;
    QTimer dueTimer; // while the results of the scene are looked at
    QElapsedTimer turnClock;
    bool isMeasuring = false;
    QString info;

    std::optional<ktViewPicker::Hit> pick(const QPointF& place) const {
        const QPointF point = control.viewPoint(place);
        return picker.pick(state.camera, control.aspect(), point.x(), point.y(), state.look.hasGroundPlanes);
    }

    /// Runs the action when the picker is ready; at most one waits.
    void whenPickable(std::function<void()> action) {
        if (!picker.isReady())
            view.setCursor(Qt::BusyCursor);
        picker.prepare([this, action = std::move(action)] {
            view.unsetCursor();
            action();
        });
    }

    void click(const QPoint& place, Qt::KeyboardModifiers keys) {
        const auto hit = pick(place);
        if (!isMeasuring) {
            emit view.nodePicked(hit ? state.scene.uses[hit->use].node.get() : OSG::NodePtr(OSG::NullFC), keys);
            return;
        }
        if (!hit)
            return;
        if (overlay.measured.size() >= 2)
            overlay.measured.clear();
        overlay.measured.push_back(hit->point);
        canvas->widget()->update();
        if (overlay.measured.size() == 2) {
            const auto &a = overlay.measured[0], &b = overlay.measured[1];
            tell(ktSceneView::tr("Distance %1")
                     .arg(ktViewOverlay::lengthText(std::hypot(b[0] - a[0], b[1] - a[1], b[2] - a[2]))));
        }
    }

    void pickRectangle(const QRect& place, Qt::KeyboardModifiers keys) {
        const QPointF topLeft = control.viewPoint(QPointF(place.left() - 0.5, place.top() - 0.5));
        const QPointF bottomRight = control.viewPoint(QPointF(place.right() + 0.5, place.bottom() + 0.5));
        std::vector<OSG::NodePtr> nodes;
        for (const std::uint32_t use :
             picker.pickRectangle(state.camera, control.aspect(), topLeft.x(), bottomRight.y(), bottomRight.x(),
                                  topLeft.y(), state.look.hasGroundPlanes))
            nodes.push_back(state.scene.uses[use].node);
        emit view.nodesPicked(nodes, keys);
    }

    void hover(const QPointF& place) {
        if (state.scene.uses.empty() || control.isDragging())
            return;
        picker.prepare({});
        const auto hit = pick(place);
        if (overlay.ringRadius > 0) {
            overlay.ringCentre = hit ? hit->point : state.camera.target();
            canvas->widget()->update();
        }
        if (!isMeasuring)
            tell(hit ? ktPointerInfo::text(state.scene, *hit) : QString());
    }

    void stepCrosshair(const QPoint& step) {
        const QPointF before = overlay.crosshair.value_or(middle);
        overlay.crosshair = QPointF(std::clamp(before.x() + step.x() / std::max(1.0, view.width() - 1.0), 0.0, 1.0),
                                    std::clamp(before.y() + step.y() / std::max(1.0, view.height() - 1.0), 0.0, 1.0));
        canvas->widget()->update();
        hover(overlay.crosshairPlace(view.size()));
    }

    void hideCrosshair() {
        if (!overlay.crosshair)
            return;
        overlay.crosshair.reset();
        canvas->widget()->update();
    }

    void tell(const QString& text) {
        if (info == text)
            return;
        info = text;
        emit view.pointerInfoChanged(text);
    }

    template <typename Value>
    void set(Value& member, const Value& value) {
        if (member == value)
            return;
        member = value;
        canvas->viewChanged();
    }
};

ktSceneView::ktSceneView(QWidget* parent, Drawing drawing)
    : QWidget(parent), d(std::make_unique<Private>(*this, drawing)) {
    // Qt puts a picture by OpenGL together with all widgets of the same window of the system. One of its own makes that
    // quick with software OpenGL. Windows inside windows are usual in X.
    if (d->glCanvas && QGuiApplication::platformName() == "xcb") {
        setAttribute(Qt::WA_DontCreateNativeAncestors);
        setAttribute(Qt::WA_NativeWindow);
    }
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(d->canvas->widget());
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(64, 48);
    setAccessibleName(tr("Viewport"));
    setAccessibleDescription(
        tr("Shows the scene. Arrow keys orbit, Shift and arrow keys pan, plus and minus zoom. Alt and arrow "
           "keys move a crosshair, and Enter clicks at it."));
}

ktSceneView::~ktSceneView() {
    delete d->canvas->widget(); // it reads the state
}

void ktSceneView::setScene(const OSG::NodePtr& root) {
    const bool wasEmpty = d->state.scene.uses.empty();
    d->dueTimer.stop();
    d->overlay.measured.clear();
    d->overlay.ringCentre.reset();
    d->state.scene.read(root);
    if (wasEmpty)
        d->state.camera.frame(d->state.scene.framedBoxes(false), d->control.aspect());
    d->canvas->sceneChanged();
}

void ktSceneView::setSceneBeside(const OSG::NodePtr& root) {
    if (!d->glCanvas)
        return setScene(root);
    d->state.scene.read(root, false);
    d->canvas->sceneChanged(); // what it draws is out of date
    d->dueTimer.start();
}

std::shared_ptr<ktViewShapes> ktSceneView::readShapes(const OSG::NodePtr& root,
                                                      const std::function<bool()>& isInterrupted) {
    auto copies = std::make_shared<ktViewShapes>();
    copies->readAll(root, isInterrupted);
    // Of many triangles, the first picture shows a part; coarser ones would take longer than it.
    if (copies->triangleCount() <= mostTrianglesAtOnce)
        copies->makeFirstLevels(isInterrupted);
    return copies;
}

void ktSceneView::takeShapes(ktViewShapes& copies) {
    d->state.scene.take(std::move(copies));
}

void ktSceneView::forgetShapes() {
    d->state.scene.forgetShapes();
}

void ktSceneView::updateResults() {
    if (!d->state.scene.readResults())
        d->state.scene.readAgain();
    d->canvas->sceneChanged();
}

void ktSceneView::setSelection(const std::vector<OSG::NodePtr>& nodes) {
    d->state.scene.select(nodes);
    d->canvas->viewChanged();
}

void ktSceneView::setViewMode(ktViewMode mode) {
    d->set(d->state.look.mode, mode);
}

ktViewMode ktSceneView::viewMode() const {
    return d->state.look.mode;
}

void ktSceneView::setWireOverlay(bool shown) {
    d->set(d->state.look.hasWires, shown);
}

void ktSceneView::setHeadlight(bool on) {
    d->set(d->state.look.hasHeadlight, on);
}

void ktSceneView::setExposure(double factor) {
    if (factor > 0 && std::isfinite(factor))
        d->set(d->state.look.exposure, static_cast<float>(factor));
}

void ktSceneView::setGroundPlaneShown(bool shown) {
    d->set(d->state.look.hasGroundPlanes, shown);
}

void ktSceneView::setBackground(const QColor& top, const QColor& bottom) {
    d->state.look.background.top = linearOf(top);
    d->state.look.background.bottom = linearOf(bottom);
    d->canvas->viewChanged();
}

void ktSceneView::resetBackground() {
    d->state.look.background = {};
    d->canvas->viewChanged();
}

void ktSceneView::setComparison(ktComparison comparison) {
    d->set(d->state.look.comparison, d->glCanvas ? comparison : ktComparison::None);
}

void ktSceneView::setDivider(double place) {
    d->set(d->state.look.divider, std::clamp(place, 0.0, 1.0));
}

void ktSceneView::keepResultsForComparison() {
    d->canvas->keepResults();
}

void ktSceneView::warmUp() {
    d->canvas->warmUp();
}

bool ktSceneView::isWarmingUp() const {
    return d->canvas->isWarmingUp();
}

void ktSceneView::setHurried(bool hurried) {
    d->state.isHurried = hurried;
}

void ktSceneView::frameAll() {
    d->state.camera.frame(d->state.scene.framedBoxes(false), d->control.aspect());
    d->canvas->viewChanged();
}

void ktSceneView::frameSelection() {
    d->state.camera.frame(d->state.scene.framedBoxes(d->state.scene.hasSelection()), d->control.aspect());
    d->canvas->viewChanged();
}

void ktSceneView::setStandardView(ktStandardView view) {
    d->state.camera.setStandardView(view);
    frameAll();
}

void ktSceneView::setParallelProjection(bool parallel) {
    d->state.camera.setParallel(parallel);
    d->canvas->viewChanged();
}

bool ktSceneView::isParallelProjection() const {
    return d->state.camera.isParallel();
}

void ktSceneView::setMouseStyle(ktMouseStyle style) {
    d->control.setMouseStyle(style);
}

std::vector<std::pair<QString, QString>> ktSceneView::describeControls() const {
    return d->control.describe();
}

void ktSceneView::setTurntable(bool on) {
    d->turnClock.start();
    on ? d->turnTimer.start() : d->turnTimer.stop();
}

void ktSceneView::setFileCamera(const ktSceneCamera& camera) {
    if (camera.node == OSG::NullFC)
        return;
    const OSG::Matrix matrix = camera.node->getToWorld();
    ktViewCamera::Vector eye, forward, up;
    for (OSG::UInt32 axis = 0; axis < 3; ++axis) {
        eye[axis] = matrix[3][axis];
        forward[axis] = -double(matrix[2][axis]);
        up[axis] = matrix[1][axis];
    }
    const double scale = std::hypot(up[0], up[1], up[2]);
    if (!(scale > 0) || !std::isfinite(scale))
        return;
    for (double& value : up)
        value /= scale;
    ktViewCamera& view = d->state.camera;
    const ktViewCamera::Vector centre = d->state.scene.bounds.centre();
    // The camera orbits around what is in front of it.
    const double forwardLength = std::hypot(forward[0], forward[1], forward[2]);
    double distance = 0;
    for (std::size_t axis = 0; axis < 3; ++axis)
        distance += (centre[axis] - eye[axis]) * forward[axis] / std::max(forwardLength, 1e-30);
    distance = std::max(distance, 1e-3 * d->state.scene.bounds.diagonal() + 1e-6);
    view.setParallel(!camera.isPerspective);
    if (camera.isPerspective) {
        view.setHeightAngle(camera.heightAngle_rad);
    } else {
        const double height = camera.height * scale; // world units
        view.setHeightAngle(2 * std::atan(height / 2 / distance));
    }
    view.place(eye, forward, up, distance);
    d->turnTimer.stop();
    d->canvas->viewChanged();
}

const ktViewCamera& ktSceneView::camera() const {
    return d->state.camera;
}

void ktSceneView::setCamera(const ktViewCamera& camera) {
    d->state.camera = camera;
    d->canvas->viewChanged();
}

void ktSceneView::showRadiusRing(double radiusMillimetres) {
    d->overlay.ringRadius = radiusMillimetres > 0 ? radiusMillimetres : 0;
    if (!d->overlay.ringCentre && !d->state.scene.bounds.isEmpty())
        d->overlay.ringCentre = d->state.camera.target();
    d->canvas->widget()->update();
}

void ktSceneView::setMeasuring(bool on) {
    d->isMeasuring = d->overlay.isMeasuring = on;
    d->overlay.measured.clear();
    d->overlay.crosshair = on ? std::optional(middle) : std::nullopt;
    d->tell({});
    d->canvas->widget()->update();
}

QImage ktSceneView::renderPicture(const QSize& size, double turn_degrees) {
    if (size.width() < 1 || size.height() < 1 || size.width() > 16384 || size.height() > 16384)
        return {};
    d->state.scene.readDueResults(std::numeric_limits<double>::infinity());
    ktViewCamera camera = d->state.camera;
    if (turn_degrees != 0)
        camera.orbit(turn_degrees * std::acos(-1.0) / 180, 0);
    ktViewLook look = d->state.look;
    look.comparison = ktComparison::None;
    QImage image = d->canvas->render(size, camera, look);
    if (!image.isNull() && look.mode == ktViewMode::FalseColours && !d->state.scene.uses.empty()) {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        ktViewOverlay::paintLegend(painter, size);
    }
    return image;
}

bool ktSceneView::usesOpenGL() const {
    return d->glCanvas != nullptr;
}

bool ktSceneView::isSettled() const {
    return d->canvas->isSettled();
}

bool ktSceneView::event(QEvent* event) {
    // Arrow keys, plus and minus belong to the camera while the view has the focus.
    if (event->type() == QEvent::ShortcutOverride) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Left || key == Qt::Key_Right || key == Qt::Key_Up || key == Qt::Key_Down)
            event->accept();
    }
    return QWidget::event(event);
}

void ktSceneView::mousePressEvent(QMouseEvent* event) {
    d->hideCrosshair();
    d->control.press(*event);
}

void ktSceneView::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() == Qt::NoButton)
        d->hover(event->localPos());
    else
        d->control.move(*event);
}

void ktSceneView::mouseReleaseEvent(QMouseEvent* event) {
    d->control.release(*event);
}

void ktSceneView::mouseDoubleClickEvent(QMouseEvent* event) {
    d->control.doubleClick(*event);
}

void ktSceneView::wheelEvent(QWheelEvent* event) {
    d->control.wheel(*event);
    event->accept();
}

void ktSceneView::keyPressEvent(QKeyEvent* event) {
    if (!d->control.key(*event))
        QWidget::keyPressEvent(event);
}

void ktSceneView::leaveEvent(QEvent*) {
    d->tell(QString());
}
