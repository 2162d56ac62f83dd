// SPDX-License-Identifier: LGPL-2.1-or-later
// Counts vertices and takes times of a run from the signals of plug-in and host.
#include "ktRunCounter.h"

#include "ktAmbientOcclusion.h"
#include "ktHostSignals.h"
#include "ktTracingStatistics.h"

#include <algorithm>

ktRunCounter::ktRunCounter() {
    const ktAmbientOcclusion* plugin = ktAmbientOcclusion::the();
    connect(plugin, &ktAmbientOcclusion::progressStarted, this, &ktRunCounter::onStarted);
    connect(plugin, &ktAmbientOcclusion::progressStep, this, &ktRunCounter::onStep);
    connect(plugin, &ktAmbientOcclusion::progressStopped, this, &ktRunCounter::onStopped);
    connect(&ktHostSignals::the(), &ktHostSignals::tracingProgress, this, &ktRunCounter::onTraced);
}

double ktRunCounter::getTracingSeconds() const {
    if (getVerticesTraced() == 0)
        return 0;
    return std::max(0.0, secondsBetween(tracingBegan, lastVertex) - (structureSeconds - firstStructureSeconds));
}

void ktRunCounter::onStarted(int max) {
    maxSteps = max;
    const ktAmbientOcclusion& plugin = *ktAmbientOcclusion::the();
    const int bounces = plugin.isIndirectIlluminationEnabled() ? plugin.getNumOfIndirections() : 0;
    nodeCount = max / (bounces + 1);
    steps = 0;
    started = tracingBegan = lastVertex = Clock::now();
}

void ktRunCounter::onStep(int counter) {
    // A step begins a node: the calls for the previous node have ended.
    callsDone += callDone;
    callDone = 0;
    steps = counter;
}

void ktRunCounter::onStopped() {
    lastVertex = Clock::now();
    callsDone += callDone;
    callDone = 0;
    structureSeconds = std::max(structureSeconds, ktReadTracingStatistics().structureSeconds);
}

// The first report comes when many vertices are traced, perhaps all of the first geometry. So the host's time of the
// build tells when tracing began. Another ray tracing has no such time.
void ktRunCounter::onTraced(std::uint64_t done, std::uint64_t) {
    const Clock::time_point now = Clock::now();
    if (getVerticesTraced() == 0) {
        const double built = ktReadTracingStatistics().structureSeconds;
        structureSeconds = firstStructureSeconds =
            built > 0 ? std::min(built, secondsBetween(started, now)) : secondsBetween(started, now);
        tracingBegan =
            started + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(structureSeconds));
    }
    // A smaller count means that a new call has begun.
    if (done < callDone)
        callsDone += callDone;
    callDone = done;
    lastVertex = now;
}
