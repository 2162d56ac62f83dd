// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

class ktRaytracingUtils;

/// Where the host's ray-tracing utilities are found. Main thread only.
class KT_HOST_EXPORT ktRaytracingManager {
public:
    /// The utilities in use; null when ray tracing is not available. Owned by the host.
    static ktRaytracingUtils* getRaytracingUtils();
    /// Replaces the utilities; null means that ray tracing is not available. The caller keeps ownership and must
    /// keep the object alive until it is replaced.
    static void setRaytracingUtils(ktRaytracingUtils* utils);
};
