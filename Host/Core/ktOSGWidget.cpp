// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps the state of the render widget that plug-ins ask for: drawing, ray tracing, number of windows.
#include "ktOSGWidget.h"

#include "ktHostSignals.h"
#include "ktOSGWidgetState.h"

namespace {

bool isRendering = true;
int raytracingState = 0;
int renderWindowCount = 0;

} // namespace

bool ktOSGWidget::isRenderEnabled() {
    return isRendering;
}

void ktOSGWidget::enableRender(bool enable) {
    if (enable == isRendering)
        return;
    isRendering = enable;
    emit ktHostSignals::the().renderEnabledChanged(enable);
}

int ktOSGWidget::getRaytracing() {
    return raytracingState;
}

int ktOSGWidget::getMGLWCount() {
    return renderWindowCount;
}

void ktOSGWidgetState::setRaytracing(int raytracing) noexcept {
    raytracingState = raytracing;
}

void ktOSGWidgetState::setMGLWCount(int count) noexcept {
    renderWindowCount = count < 0 ? 0 : count;
}
