// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

/// The host's render widget, as far as a plug-in needs it. Main thread only.
class KT_HOST_EXPORT ktOSGWidget {
public:
    /// Whether the widget draws.
    static bool isRenderEnabled();
    /// Turns drawing on or off.
    static void enableRender(bool enable);
    /// The ray-tracing state of the view; only good for ktRaytracingUtils::restoreRaytracing().
    static int getRaytracing();
    /// Number of render windows.
    static int getMGLWCount();
};
