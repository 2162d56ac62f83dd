// SPDX-License-Identifier: LGPL-2.1-or-later
// The signals of a run for the user interface: states, progress, cancel.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionInternal.h"

using namespace ktAmbientOcclusionInternal;

void ktAmbientOcclusion::updateState(CalculationState state, unsigned int node) {
    constexpr std::int64_t interval_us = 1000000;
    const std::int64_t now_us = wallClock_us();
    if (lastStateReport_us < 0)
        lastStateReport_us = now_us; // so the first report of the process is dropped
    if (now_us - lastStateReport_us < interval_us)
        return;
    Q_EMIT stateChanged(state, node);
    lastStateReport_us = now_us;
}

void ktAmbientOcclusion::startProgress(int maxSteps) {
    progressCounter = 0;
    Q_EMIT progressStarted(maxSteps);
}

void ktAmbientOcclusion::stepProgress() {
    ++progressCounter;
    Q_EMIT progressStep(static_cast<int>(progressCounter));
}

void ktAmbientOcclusion::stopProgress() {
    Q_EMIT progressStopped();
}

void ktAmbientOcclusion::cancelCalculation() {
    keepRunning = false;
    Q_EMIT calculationCanceled();
}
