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

} // namespace

void ktAmbientOcclusion::computeIllumination(bool indirect) {
    const std::int64_t start_us = wallClock_us();
    ktController::setModified(1);
    numRays = 0;
    ktRaytracingUtils* utils = ktRaytracingManager::getRaytracingUtils();
    utils->configureTracing(directSampleCountU, directSampleCountV, minDistance, maxDistance);

    std::uint64_t directCount = 0;
    std::uint64_t gatherCount = 0;
    if (indirect) {
        const std::int64_t steps =
            static_cast<std::int64_t>(geometryNodes.size()) * (std::int64_t(numOfIndirections) + 1);
        startProgress(static_cast<int>(steps));
        updateState(BuildingAccelerationStructure, 0);
        if (!keepRunning)
            return;
        if (numOfIndirections != 0)
            clearVertexColors(mode);
        if (!keepRunning)
            return;
        utils->buildAccelerationStructure(visibleGeometryNodes, visibleLightNodes);
        if (!keepRunning)
            return;
        computeDirectIllumination();
        utils->finishPass();
        if (refineDirect)
            recreateRefinedGeometry();
        if (!keepRunning) {
            printTotalTime(secondsSince(start_us));
            return;
        }
        storeDirectToBakingData();
        directCount = numRays;

        if (numOfIndirections != 0) {
            numRays = 0;
            // With the lights' own light baked, bounced light counts from any distance.
            const float gatherDistance = mode == LightAndShadows ? std::numeric_limits<float>::max() : maxDistance;
            utils->configureTracing(gatherSampleCount, gatherSampleCount, minDistance, gatherDistance);
            std::cout << " Start the gathering process" << std::endl;
            for (int bounce = 0; bounce < numOfIndirections; ++bounce) {
                if (!keepRunning) {
                    printTotalTime(secondsSince(start_us));
                    return;
                }
                if (refineDirect) {
                    std::cout << "Now rebuild the acceleration structure since we have refine turned on" << std::endl;
                    updateState(RebuildingAccelerationStructure, 0);
                    utils->buildAccelerationStructure(visibleGeometryNodes, visibleLightNodes);
                }
                std::cout << "Gather the indirect illumination" << std::endl;
                gatherIndirectIllumination();
                if (refineDirect)
                    recreateRefinedGeometry();
                utils->finishPass();
            }
            gatherCount = numRays;
        }
    } else {
        if (!keepRunning) {
            printTotalTime(secondsSince(start_us));
            return;
        }
        startProgress(static_cast<int>(geometryNodes.size()));
        updateState(BuildingAccelerationStructure, 0);
        utils->buildAccelerationStructure(visibleGeometryNodes, visibleLightNodes);
        if (!keepRunning)
            return;
        const std::int64_t passStart_us = wallClock_us();
        computeDirectIllumination();
        std::cout << "Direct Illumination complete, took " << secondsSince(passStart_us) << " seconds to complete"
                  << std::endl;
        directCount = numRays;
        if (refineDirect)
            recreateRefinedGeometry();
        utils->finishPass();
        storeDirectToBakingData();
    }

    stopProgress();
    numRays = squared(directSampleCountU) * directCount + squared(gatherSampleCount) * gatherCount;
    const double seconds = secondsSince(start_us);
    printTotalTime(seconds);
    std::cout << "Num Rays: " << numRays << std::endl;
    std::cout << "MRays per second: " << static_cast<double>(numRays) / seconds / 1e6 << std::endl;
}
