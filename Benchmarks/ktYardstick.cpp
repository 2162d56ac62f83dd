// SPDX-License-Identifier: LGPL-2.1-or-later
// Traces all occlusion rays of a surface with ktEmbreeLoop on all threads, to measure the reference speed.
#include "ktYardstick.h"

#include "ktFlushDenormals.h"
#include "ktHemisphereSampler.h"
#include "ktVertexFrames.h"
#include "ktVertexGroups.h"

#include <atomic>
#include <chrono>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

ktYardstick::ktYardstick(const ktBenchmarkSurface& surface, std::uint32_t countU, std::uint32_t countV,
                         float maxDistance)
    : directions(ktMakeHemisphereDirections(countU, countV, 0.25f, 0.25f, 1)) {
    limits.maxDistance = maxDistance;
    const float size = surface.diagonal();
    const ktVertexGroups groups =
        ktGroupVertices(surface.positions.data(), surface.normals.data(), surface.vertexCount());
    const std::vector<ktOneRing> oneRings =
        ktMakeOneRings(surface.positions.data(), surface.vertexCount(), surface.indices);
    const ktWorldTransform identity;
    const ktVertexFrames frames(identity, &prepared, size);
    for (std::size_t group = 0; group < groups.size(); ++group) {
        const std::size_t first = 3 * std::size_t(groups.first(group));
        ktRayVertex vertex;
        if (frames.make(&surface.positions[first], &surface.normals[first], groups.oneRingOf(group, oneRings.data()),
                        vertex))
            vertices.push_back(vertex);
    }
    limits.minDistance = ktVertexFrames::minHitDistance(size);

    ktTracerMesh mesh;
    mesh.positions = surface.positions.data();
    mesh.indices = surface.indices.data();
    mesh.vertexCount = surface.vertexCount();
    mesh.triangleCount = surface.triangleCount();
    loop.build({mesh});
}

double ktYardstick::trace(int threads) {
    std::atomic<std::uint64_t> openRays{0};
    tbb::task_arena arena(threads);
    const auto begin = std::chrono::steady_clock::now();
    arena.execute([&] {
        tbb::parallel_for(
            tbb::blocked_range<std::size_t>(0, vertices.size(), 64),
            [&](const tbb::blocked_range<std::size_t>& range) {
                const ktFlushDenormals fast;
                std::uint64_t sum = 0;
                for (std::size_t i = range.begin(); i < range.end(); ++i)
                    sum += loop.visible(vertices[i], limits, nullptr);
                openRays += sum;
            },
            tbb::simple_partitioner());
    });
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    open = static_cast<double>(openRays) / rayCount();
    return seconds.count();
}
