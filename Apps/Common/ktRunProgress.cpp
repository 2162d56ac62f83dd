// SPDX-License-Identifier: LGPL-2.1-or-later
// Calculates share, rate and remaining time of a run, and formats durations and counts.
#include "ktRunProgress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

std::string formatDuration(double seconds) {
    const long long whole = std::llround(std::max(0.0, seconds));
    char text[64];
    if (whole >= 3600)
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
    else
        std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
    return text;
}

std::string formatCount(double count) {
    char text[64];
    if (count < 999.5)
        std::snprintf(text, sizeof text, "%.0f", count);
    else if (count < 999.5e3)
        std::snprintf(text, sizeof text, "%.3g k", count / 1e3);
    else if (count < 999.5e6)
        std::snprintf(text, sizeof text, "%.3g M", count / 1e6);
    else
        std::snprintf(text, sizeof text, "%.3g G", count / 1e9);
    return text;
}

ktRunPhase ktRunProgress::phase() const {
    if (counter.getVerticesTraced() == 0)
        return ktRunPhase::Preparing;
    return counter.getSteps() <= counter.getNodeCount() ? ktRunPhase::Shadows : ktRunPhase::Bounces;
}

double ktRunProgress::share() const {
    if (counter.getMaxSteps() <= 0)
        return 0;
    if (vertexCount == 0 || counter.getNodeCount() == 0)
        return std::clamp(static_cast<double>(counter.getSteps()) / counter.getMaxSteps(), 0.0, 0.99);
    const double passes = static_cast<double>(counter.getMaxSteps()) / counter.getNodeCount();
    return std::min(0.99,
                    static_cast<double>(counter.getVerticesTraced()) / (static_cast<double>(vertexCount) * passes));
}

double ktRunProgress::verticesPerSecond() const {
    const double tracing = secondsBetween(counter.getTracingStart(), ktRunCounter::Clock::now());
    return tracing > 0 ? static_cast<double>(counter.getVerticesTraced()) / tracing : 0;
}

double ktRunProgress::secondsLeft() const {
    const double done = share(), tracing = secondsBetween(counter.getTracingStart(), ktRunCounter::Clock::now());
    return done > 0.01 && tracing > 0.5 ? tracing / done * (1 - done) : -1;
}
