// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

class ktRaytracingUtils;

/// Access to the host's ray-tracing utilities. Main thread only.
class KT_HOST_EXPORT ktRaytracingManager {
public:
    /// The current utilities, owned by the host; null if ray tracing is not available.
    static ktRaytracingUtils* getRaytracingUtils();
    /// Replaces the utilities; null means that ray tracing is not available. The caller keeps ownership and must keep
    /// the object alive until it is replaced.
    static void setRaytracingUtils(ktRaytracingUtils* utils);
};
