// SPDX-License-Identifier: LGPL-2.1-or-later
// Gathers one bounce of indirect light at the vertices of a geometry, in batches on all threads.
#include "ktGatherPass.h"

#include "ktCancelPoint.h"
#include "ktParallel.h"
#include "ktSideCount.h"
#include "ktVertexFrames.h"
#include "ktVertexGroups.h"

#include <algorithm>

namespace {

constexpr std::uint32_t batchSize = 64;        // groups per task, neighbours along the curve
constexpr std::uint32_t raysPerCall = 1 << 15; // few, so that a cancel takes effect within milliseconds

// Adds up the light of the rays of each vertex, in the order of the rays.
class Sums : public ktHitReceiver {
public:
    Sums(const ktBounceLight& light_, const ktDirectionSet& directions_) : light(light_), directions(directions_) {}

    void hits(std::uint32_t vertex, std::uint32_t tile, const ktHitPacket& packet) override {
        const std::uint32_t lanes = directions.laneMask(tile);
        light.addRadiance(packet, lanes, sums[first + vertex]);
        if (countsSides)
            sides[first + vertex].add(packet, lanes);
    }

    std::uint32_t first = 0; // the first vertex of the current call
    float sums[batchSize][3] = {};
    ktSideCount sides[batchSize];
    bool countsSides = false;

private:
    const ktBounceLight& light;
    const ktDirectionSet& directions;
};

ktVertexCounts gatherBatch(const ktGatherTask& task, const ktVertexGroups& groups, std::size_t begin, std::size_t end,
                           float* received) {
    const ktDirectionSet& directions = task.directions->set;
    const ktVertexFrames frames(task.toWorld, task.directions, task.sceneSize);
    ktRayVertex vertices[batchSize];
    std::size_t groupOf[batchSize];
    std::uint32_t traceable = 0, unusable = 0;
    for (std::size_t group = begin; group < end; ++group) {
        const std::size_t vertex = groups.first(group);
        if (frames.make(task.positions + 3 * vertex, task.normals + 3 * vertex, groups.oneRingOf(group, task.oneRings),
                        vertices[traceable]))
            groupOf[traceable++] = group;
        else
            unusable += groups.starts[group + 1] - groups.starts[group];
    }
    Sums sums(*task.light, directions);
    sums.countsSides = task.isValid != nullptr;
    const std::uint32_t step = std::clamp<std::uint32_t>(raysPerCall / directions.count, 1, batchSize);
    for (sums.first = 0; sums.first < traceable; sums.first += step) {
        ktThrowIfCanceled();
        task.tracer->findNearest(vertices + sums.first, std::min(step, traceable - sums.first), task.limits, sums);
    }
    for (std::uint32_t i = 0; i < traceable; ++i)
        for (std::uint32_t k = groups.starts[groupOf[i]]; k < groups.starts[groupOf[i] + 1]; ++k) {
            if (task.isValid && sums.sides[i].isInside())
                task.isValid[groups.order[k]] = 0;
            for (int c = 0; c < 3; ++c)
                received[3 * std::size_t(groups.order[k]) + c] = sums.sums[i][c] / static_cast<float>(directions.count);
        }
    return {traceable, unusable};
}

} // namespace

ktVertexCounts ktGatherLight(const ktGatherTask& task, float* received, std::atomic<std::uint32_t>& done) {
    std::fill_n(received, 3 * std::size_t(task.count), 0.0f);
    const ktVertexGroups groups = ktGroupVertices(task.positions, task.normals, task.count);
    std::atomic<std::uint32_t> traced{0}, unusable{static_cast<std::uint32_t>(groups.unusable.size())};
    done += unusable;
    ktParallel::forRange(groups.size(), batchSize, [&](std::size_t begin, std::size_t end) {
        ktThrowIfCanceled();
        const ktVertexCounts piece = gatherBatch(task, groups, begin, end, received);
        traced += piece.traced;
        unusable += piece.unusable;
        done += groups.starts[end] - groups.starts[begin];
    });
    return {traced, unusable};
}
