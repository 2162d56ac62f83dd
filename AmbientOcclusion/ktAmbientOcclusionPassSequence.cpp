// SPDX-License-Identifier: LGPL-2.1-or-later
// The sequence of passes of one run.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"
#include "ktController.h"
#include "ktRaytracingManager.h"
#include "ktRaytracingUtils.h"

#include <iostream>
#include <limits>

using namespace ktAmbientOcclusionInternal;

namespace {

double secondsSince(std::int64_t start_us) {
    return static_cast<double>(wallClock_us() - start_us) / 1e6;
}

void printTotalTime(double seconds) {
    std::cout << "Ambient Occlusion Time " << seconds << " seconds" << std::endl;
}

std::uint64_t squared(int count) {
    return static_cast<std::uint64_t>(count) * static_cast<std::uint64_t>(count);
}

/// What a run writes to standard output when a cancel ends it before a step.
enum class OnCancel { SayNothing, TellTime };

} // namespace

void ktAmbientOcclusion::computeIllumination(bool indirect) {
    const std::int64_t start_us = wallClock_us();
    ktController::setModified(1);
    numRays = 0;
    ktRaytracingUtils* utils = ktRaytracingManager::getRaytracingUtils();
    utils->configureTracing(directSampleCountU, directSampleCountV, minDistance, maxDistance);

    std::uint64_t directCount = 0;
    std::uint64_t gatherCount = 0;
    const auto build = [&] { utils->buildAccelerationStructure(visibleGeometryNodes, visibleLightNodes); };
    const auto clearColors = [&] {
        if (numOfIndirections != 0)
            clearVertexColors(mode);
    };
    const auto traceDirect = [&] {
        computeDirectIllumination();
        utils->finishPass();
        if (refineDirect)
            recreateRefinedGeometry();
    };
    const auto storeDirect = [&] {
        storeDirectToBakingData();
        directCount = numRays;
        if (numOfIndirections == 0)
            return;
        numRays = 0;
        // In mode LightAndShadows, bounced light counts from any distance.
        const float gatherDistance = mode == LightAndShadows ? std::numeric_limits<float>::max() : maxDistance;
        utils->configureTracing(gatherSampleCount, gatherSampleCount, minDistance, gatherDistance);
        std::cout << " Start the gathering process" << std::endl;
    };
    const auto gatherBounce = [&] {
        if (refineDirect) {
            std::cout << "Now rebuild the acceleration structure since we have refine turned on" << std::endl;
            updateState(RebuildingAccelerationStructure, 0);
            build();
        }
        std::cout << "Gather the indirect illumination" << std::endl;
        gatherIndirectIllumination();
        if (refineDirect)
            recreateRefinedGeometry();
        utils->finishPass();
        gatherCount = numRays;
    };
    const auto startDirectOnly = [&] {
        startProgress(static_cast<int>(geometryNodes.size()));
        updateState(BuildingAccelerationStructure, 0);
        build();
    };
    const auto traceAndStoreDirect = [&] {
        const std::int64_t passStart_us = wallClock_us();
        computeDirectIllumination();
        std::cout << "Direct Illumination complete, took " << secondsSince(passStart_us) << " seconds to complete"
                  << std::endl;
        directCount = numRays;
        if (refineDirect)
            recreateRefinedGeometry();
        utils->finishPass();
        storeDirectToBakingData();
    };

    // Runs one step. If the run was cancelled before it, skips the step and returns false.
    const auto step = [&](OnCancel onCancel, const auto& action) {
        if (!keepRunning) {
            if (onCancel == OnCancel::TellTime)
                printTotalTime(secondsSince(start_us));
            return false;
        }
        action();
        return true;
    };
    bool isComplete = false;
    if (indirect) {
        const std::int64_t passes = std::int64_t(numOfIndirections) + 1;
        startProgress(static_cast<int>(static_cast<std::int64_t>(geometryNodes.size()) * passes));
        updateState(BuildingAccelerationStructure, 0);
        isComplete = step(OnCancel::SayNothing, clearColors) && step(OnCancel::SayNothing, build) &&
                     step(OnCancel::SayNothing, traceDirect) && step(OnCancel::TellTime, storeDirect);
        for (int bounce = 0; isComplete && bounce < numOfIndirections; ++bounce)
            isComplete = step(OnCancel::TellTime, gatherBounce);
    } else {
        isComplete = step(OnCancel::TellTime, startDirectOnly) && step(OnCancel::SayNothing, traceAndStoreDirect);
    }
    if (!isComplete)
        return;

    stopProgress();
    numRays = squared(directSampleCountU) * directCount + squared(gatherSampleCount) * gatherCount;
    const double seconds = secondsSince(start_us);
    printTotalTime(seconds);
    std::cout << "Num Rays: " << numRays << std::endl;
    std::cout << "MRays per second: " << static_cast<double>(numRays) / seconds / 1e6 << std::endl;
}
