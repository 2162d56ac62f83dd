// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

/// The part of the host's render widget that plug-ins need. Main thread only.
class KT_HOST_EXPORT ktOSGWidget {
public:
    /// Whether the widget draws.
    static bool isRenderEnabled();
    /// Turns drawing on or off.
    static void enableRender(bool enable);
    /// The ray-tracing state of the view; use it only for ktRaytracingUtils::restoreRaytracing().
    static int getRaytracing();
    /// Number of render windows.
    static int getMGLWCount();
};
