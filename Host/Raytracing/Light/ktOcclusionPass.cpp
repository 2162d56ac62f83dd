// SPDX-License-Identifier: LGPL-2.1-or-later
// Traces sky rays and shadow rays for the direct light at the vertices of a geometry, in batches.
#include "ktOcclusionPass.h"

#include "ktCancelPoint.h"
#include "ktLuminance.h"
#include "ktParallel.h"
#include "ktVertexFrames.h"
#include "ktVertexGroups.h"

#include <algorithm>

namespace {

constexpr std::uint32_t batchSize = 64;        // groups per task, neighbours along the curve
constexpr std::uint32_t raysPerCall = 1 << 14; // few, so that a cancel takes effect within two milliseconds

// The light of the lights at one vertex.
struct Light {
    float arriving[3] = {0, 0, 0};
    float unshadowed[3] = {0, 0, 0};
};

// Traces one batch: up to batchSize groups.
class Batch {
public:
    Batch(const ktOcclusionTask& task_, const ktVertexGroups& groups_, std::size_t begin_, std::size_t end)
        : task(task_), groups(groups_), begin(begin_), size(static_cast<std::uint32_t>(end - begin_)) {
        const ktVertexFrames frames(task.toWorld, task.directions, task.sceneSize);
        std::fill(slot, slot + batchSize, -1);
        for (std::uint32_t i = 0; i < size; ++i) {
            const std::size_t vertex = groups.first(begin + i);
            if (frames.make(task.positions + 3 * vertex, task.normals + 3 * vertex,
                            groups.oneRingOf(begin + i, task.oneRings), vertices[traceable])) {
                task.toWorld.position(task.positions + 3 * vertex, points[traceable]);
                slot[i] = static_cast<int>(traceable);
                ++traceable;
            }
        }
    }

    void trace() {
        const std::uint32_t rays = task.directions->set.count;
        const std::uint32_t step = std::clamp<std::uint32_t>(raysPerCall / rays, 1, batchSize);
        for (std::uint32_t first = 0; first < traceable; first += step) {
            ktThrowIfCanceled();
            task.tracer->countVisible(vertices + first, std::min(step, traceable - first), task.limits, visible + first,
                                      nullptr);
        }
        if (task.lights)
            for (const ktSceneLight& light : *task.lights)
                traceLight(light);
    }

    // Writes the results of all vertices of the batch. Returns how many could not be traced.
    std::uint32_t write(osg::Vec4f* results) const {
        std::uint32_t unusable = 0;
        for (std::uint32_t i = 0; i < size; ++i) {
            const osg::Vec4f result =
                slot[i] < 0 ? osg::Vec4f(0, 0, 0, 1) : resultOf(static_cast<std::uint32_t>(slot[i]));
            for (std::uint32_t k = groups.starts[begin + i]; k < groups.starts[begin + i + 1]; ++k) {
                results[groups.order[k]] = result;
                if (task.sky)
                    task.sky[groups.order[k]] = slot[i] < 0 ? 1.0f : skyOf(static_cast<std::uint32_t>(slot[i]));
                unusable += slot[i] < 0;
            }
        }
        return unusable;
    }

    /// Groups whose rays were traced.
    std::uint32_t tracedCount() const { return traceable; }
    std::uint32_t vertexCount() const { return groups.starts[begin + size] - groups.starts[begin]; }

private:
    // One shadow ray per vertex, sixteen vertices per packet.
    void traceLight(const ktSceneLight& light) {
        ktThrowIfCanceled();
        for (std::uint32_t first = 0; first < traceable; first += ktRayPacket::width) {
            const std::uint32_t count = std::min<std::uint32_t>(ktRayPacket::width, traceable - first);
            ktRayPacket rays;
            float colors[ktRayPacket::width][3];
            for (std::uint32_t i = 0; i < count; ++i) {
                const ktRayVertex& vertex = vertices[first + i];
                float direction[3];
                if (!light.irradianceAt(points[first + i], vertex.normal, colors[i]) ||
                    !light.directionFrom(vertex.origin, direction, rays.maxDistance[i]))
                    continue;
                rays.originX[i] = vertex.origin[0];
                rays.originY[i] = vertex.origin[1];
                rays.originZ[i] = vertex.origin[2];
                rays.directionX[i] = direction[0];
                rays.directionY[i] = direction[1];
                rays.directionZ[i] = direction[2];
                rays.minDistance[i] = task.limits.minDistance;
                rays.active |= 1u << i;
            }
            if (rays.active == 0)
                continue;
            const std::uint32_t shadowed = task.tracer->occluded(rays, task.limits.bothSides);
            for (std::uint32_t i = 0; i < count; ++i) {
                if ((rays.active >> i & 1u) == 0)
                    continue;
                for (int c = 0; c < 3; ++c) {
                    sums[first + i].unshadowed[c] += colors[i][c];
                    if ((shadowed >> i & 1u) == 0)
                        sums[first + i].arriving[c] += colors[i][c];
                }
            }
        }
    }

    float skyOf(std::uint32_t index) const {
        return static_cast<float>(visible[index]) / static_cast<float>(task.directions->set.count);
    }

    osg::Vec4f resultOf(std::uint32_t index) const {
        const Light& light = sums[index];
        const float share = (skyOf(index) + ktLuminance(light.arriving)) / (1.0f + ktLuminance(light.unshadowed));
        return osg::Vec4f(light.arriving[0], light.arriving[1], light.arriving[2],
                          std::clamp(share, ktDarkestResult, 1.0f));
    }

    const ktOcclusionTask& task;
    const ktVertexGroups& groups;
    std::size_t begin;
    std::uint32_t size;
    std::uint32_t traceable = 0;
    int slot[batchSize]; // index of a group in `vertices`; -1 if it cannot be traced
    ktRayVertex vertices[batchSize];
    float points[batchSize][3]; // the vertices; their rays start near them
    std::uint32_t visible[batchSize];
    Light sums[batchSize];
};

} // namespace

ktVertexCounts ktTraceOcclusion(const ktOcclusionTask& task, osg::Vec4f* results, std::atomic<std::uint32_t>& done) {
    const ktVertexGroups groups = ktGroupVertices(task.positions, task.normals, task.count);
    std::atomic<std::uint32_t> traced{0}, unusable{static_cast<std::uint32_t>(groups.unusable.size())};
    for (std::uint32_t vertex : groups.unusable)
        results[vertex] = osg::Vec4f(0, 0, 0, 1);
    for (std::size_t i = 0; task.sky && i < groups.unusable.size(); ++i)
        task.sky[groups.unusable[i]] = 1.0f;
    done += unusable;
    ktParallel::forRange(groups.size(), batchSize, [&](std::size_t begin, std::size_t end) {
        ktThrowIfCanceled();
        Batch batch(task, groups, begin, end);
        batch.trace();
        traced += batch.tracedCount();
        unusable += batch.write(results);
        done += batch.vertexCount();
    });
    return {traced, unusable};
}
