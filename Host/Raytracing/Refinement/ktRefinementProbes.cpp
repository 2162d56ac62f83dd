// SPDX-License-Identifier: LGPL-2.1-or-later
// Traces light at probe points on surfaces, with as many rays as refinement needs above the noise.
#include "ktRefinementProbes.h"

#include "ktCancelPoint.h"
#include "ktHemisphereSampler.h"
#include "ktParallel.h"
#include "ktParallelSort.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr std::uint64_t seed = 0x6B744C6F6F6B2121ull; // an arbitrary number; the same in every run
constexpr std::uint32_t fewestRays = 8;               // along an axis

// The probes in world space, as arrays.
struct Arrays {
    std::vector<float> positions, normals;
    std::vector<ktOneRing> oneRings;
};

} // namespace

// With n times n stratified rays, the measured error of the visible sky fraction is about 0.37 / n^1.5. It should be a
// fifth of the difference.
std::uint32_t ktRefinementProbes::raysPerAxis(float difference) {
    const double rays = std::pow(5 * 0.37 / std::max(double(difference), 1e-4), 2.0 / 3.0);
    return std::max(fewestRays, static_cast<std::uint32_t>(std::lround(rays / 4)) * 4);
}

ktRefinementProbes::ktRefinementProbes(const ktRefinementTasks& tasks_, float difference, bool indirect_)
    : tasks(tasks_), indirect(indirect_ && tasks_.gather) {
    directions = indirect ? tasks.gather->directions : tasks.direct->directions;
    const std::uint32_t rays = raysPerAxis(difference);
    if (rays * rays >= directions->set.count)
        return;
    ownDirections = ktMakeHemisphereDirections(rays, rays, 0.25f, 0.25f, seed);
    prepared = (indirect ? tasks.gather->tracer : tasks.direct->tracer)->prepareDirections(ownDirections);
    directions = prepared.get();
}

ktRefinementProbes::~ktRefinementProbes() = default;

std::size_t ktRefinementProbes::add(const ktSurfacePoint& point) {
    points.push_back(point);
    return points.size() - 1;
}

void ktRefinementProbes::clear() {
    points.clear();
    measured.clear();
}

void ktRefinementProbes::trace() {
    measured.resize(points.size());
    if (points.empty())
        return;
    // Probes at one point form a group that adds up their one-rings in this order.
    std::vector<std::uint32_t> order(points.size());
    for (std::uint32_t i = 0; i < order.size(); ++i)
        order[i] = i;
    ktParallel::sort(order.begin(), order.end(), [this](std::uint32_t a, std::uint32_t b) {
        // Any fixed order will do. NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
        const int difference = std::memcmp(&points[a], &points[b], sizeof(ktSurfacePoint));
        return difference != 0 ? difference < 0 : a < b;
    });
    ktThrowIfCanceled();
    Arrays arrays;
    for (std::uint32_t i : order) {
        const ktSurfacePoint& point = points[i];
        arrays.positions.insert(arrays.positions.end(), point.position, point.position + 3);
        arrays.normals.insert(arrays.normals.end(), point.normal, point.normal + 3);
        arrays.oneRings.push_back(point.oneRing);
    }
    std::atomic<std::uint32_t> done{0};
    const auto count = static_cast<std::uint32_t>(points.size());
    const auto take = [&](ktVertexTask& task) {
        task.directions = directions;
        task.setVertices(ktWorldTransform(), count, arrays.positions.data(), arrays.normals.data(),
                         arrays.oneRings.data());
    };
    const std::uint64_t raysPerPoint = directions->set.count;
    if (indirect) {
        ktGatherTask task = *tasks.gather;
        take(task);
        std::vector<float> received(3 * std::size_t(count));
        traced.indirect += raysPerPoint * ktGatherLight(task, received.data(), done).traced;
        for (std::size_t i = 0; i < order.size(); ++i)
            measured[order[i]] = ktMeasureIndirect(&received[3 * i]);
    } else {
        ktOcclusionTask task = *tasks.direct;
        take(task);
        std::vector<osg::Vec4f> results(count);
        traced.direct += raysPerPoint * ktTraceOcclusion(task, results.data(), done).traced;
        for (std::size_t i = 0; i < order.size(); ++i)
            measured[order[i]] = ktMeasureDirect(results[i]);
    }
}
