// SPDX-License-Identifier: LGPL-2.1-or-later
// Provides the current ray-tracing utilities: the host's, made on first request, or a replacement.
#include "ktRaytracingManager.h"

#include "ktLog.h"
#include "ktSceneRaytracing.h"
#include "ktTracingStatistics.h"

#include <exception>

namespace {

// Null and not replaced: the host's utilities are made when first requested.
ktRaytracingUtils* current = nullptr;
bool isReplaced = false;

ktRaytracingUtils* makeOwn() noexcept {
    try {
        // Never destroyed: at the exit of the process, workers and scene graph may be destroyed first.
        static ktSceneRaytracing* const own = new ktSceneRaytracing;
        return own;
    } catch (const std::exception& error) {
        ktLog::error("Ray tracing is not available: %s", error.what());
        return nullptr;
    }
}

} // namespace

ktRaytracingUtils* ktRaytracingManager::getRaytracingUtils() {
    if (!isReplaced && !current)
        current = makeOwn();
    return current;
}

void ktRaytracingManager::setRaytracingUtils(ktRaytracingUtils* utils) {
    current = utils;
    isReplaced = true;
}

ktTracingStatistics ktReadTracingStatistics() {
    const auto* const own = dynamic_cast<const ktSceneRaytracing*>(current);
    return own ? own->getStatistics() : ktTracingStatistics();
}
