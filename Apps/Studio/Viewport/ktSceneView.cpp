// SPDX-License-Identifier: LGPL-2.1-or-later
// The viewport's widget: keeps the camera and the look.
#include "ktSceneView.h"

#include "ktSceneCamera.h"
#include "ktViewCamera.h"

class ktSceneView::Private {
public:
    OSG::NodeRefPtr root;
    ktViewCamera camera;
    ktViewMode mode = ktViewMode::Baked;
};

ktSceneView::ktSceneView(QWidget* parent) : QWidget(parent), d(std::make_unique<Private>()) {
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
}
ktSceneView::~ktSceneView() = default;
void ktSceneView::setScene(const OSG::NodePtr& root) {
    d->root = root;
}
void ktSceneView::updateResults() {
    update();
}
void ktSceneView::setSelection(const std::vector<OSG::NodePtr>&) {
    update();
}
void ktSceneView::setViewMode(ktViewMode mode) {
    d->mode = mode;
}
ktViewMode ktSceneView::viewMode() const {
    return d->mode;
}
void ktSceneView::setWireOverlay(bool) {}
void ktSceneView::setHeadlight(bool) {}
void ktSceneView::setExposure(double) {}
void ktSceneView::setGroundPlaneShown(bool) {}
void ktSceneView::setBackground(const QColor&, const QColor&) {}
void ktSceneView::setComparison(ktComparison) {}
void ktSceneView::setDivider(double) {}
void ktSceneView::keepResultsForComparison() {}
void ktSceneView::frameAll() {}
void ktSceneView::frameSelection() {}
void ktSceneView::setStandardView(ktStandardView view) {
    d->camera.setStandardView(view);
}
void ktSceneView::setParallelProjection(bool parallel) {
    d->camera.setParallel(parallel);
}
bool ktSceneView::isParallelProjection() const {
    return d->camera.isParallel();
}
void ktSceneView::setMouseStyle(ktMouseStyle) {}
void ktSceneView::setTurntable(bool) {}
void ktSceneView::setFileCamera(const ktSceneCamera&) {}
const ktViewCamera& ktSceneView::camera() const {
    return d->camera;
}
void ktSceneView::setCamera(const ktViewCamera& camera) {
    d->camera = camera;
}
void ktSceneView::showRadiusRing(double) {}
void ktSceneView::setMeasuring(bool) {}
QImage ktSceneView::renderPicture(const QSize&, double) {
    return {};
}
bool ktSceneView::usesOpenGL() const {
    return false;
}
