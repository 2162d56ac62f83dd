// SPDX-License-Identifier: LGPL-2.1-or-later
// Traces light at the samples of a fit, and finds those that nobody sees.
#include "ktFitSampling.h"

#include "ktInsideTest.h"

#include <algorithm>
#include <atomic>

namespace {

constexpr float leastSky = 0.02f; // a point that sees less of the sky does not count
constexpr float enclosed = 0.5f;  // a point that sees less may lie inside a solid

} // namespace

ktSampleCounts ktTraceSamples(const ktOcclusionTask& points, const ktFitTask& fit, ktFitSamples& samples,
                              std::size_t first, bool findInvalid) {
    std::vector<osg::Vec4f> light(points.count);
    std::vector<float> sky(points.count);
    ktOcclusionTask task = points;
    task.sky = sky.data();
    std::atomic<std::uint32_t> done{0};
    ktSampleCounts counts;
    counts.points = ktTraceOcclusion(task, light.data(), done);
    std::vector<std::uint32_t> asked;
    for (std::uint32_t i = 0; i < task.count; ++i) {
        // w comes last.
        std::copy_n(light[i].getValues() + (4 - samples.channels), samples.channels,
                    &samples.values[(first + i) * samples.channels]);
        if (!findInvalid)
            continue;
        if (sky[i] < leastSky)
            samples.isValid[first + i] = 0;
        else if (sky[i] < enclosed || !task.limits.bothSides)
            asked.push_back(i);
    }
    if (!asked.empty()) {
        task.directions = fit.insideDirections;
        counts.insideRays = task.directions->set.count * ktMarkInside(task, asked, &samples.isValid[first]);
    }
    return counts;
}

// The gathered rays tell the inside from the outside.
ktSampleCounts ktTraceSamples(const ktGatherTask& points, const ktFitTask&, ktFitSamples& samples, std::size_t first,
                              bool findInvalid) {
    ktGatherTask task = points;
    task.isValid = findInvalid ? &samples.isValid[first] : nullptr;
    std::atomic<std::uint32_t> done{0};
    ktSampleCounts counts;
    counts.points = ktGatherLight(task, &samples.values[3 * first], done);
    return counts;
}
