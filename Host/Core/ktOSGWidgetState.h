// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

/// State of ktOSGWidget that the application sets, because there is no window here. Main thread only.
class KT_HOST_EXPORT ktOSGWidgetState {
public:
    /// Ray-tracing state of the view, as ktOSGWidget::getRaytracing() reports it; 0 is off.
    static void setRaytracing(int raytracing) noexcept;
    /// Number of render windows; negative counts as 0.
    static void setMGLWCount(int count) noexcept;
};
