// SPDX-License-Identifier: LGPL-2.1-or-later
// Traces batches of vertices: sky rays, shadow rays, gathered light, sides of surfaces.
#include "ktVertexBatch.h"

#include "ktCancelPoint.h"
#include "ktParallel.h"
#include "ktReflectedLight.h"
#include "ktVertexTask.h"

#include <algorithm>

namespace {

// Few, so that a cancel takes effect within two milliseconds.
constexpr std::uint32_t skyRaysPerCall = 1 << 14;
constexpr std::uint32_t gatherRaysPerCall = 1 << 15;

std::uint32_t verticesPerCall(std::uint32_t rays, const ktBatchWork& work) {
    return std::clamp<std::uint32_t>(rays / work.directions->set.count, 1, ktVertexBatch::mostItems);
}

// Adds up the light of the rays of each vertex, in the order of the rays.
class Sums : public ktHitReceiver {
public:
    Sums(const ktBatchWork& work_, ktVertexBatch& batch_)
        : work(work_), batch(batch_), addsLight(work.kind == ktBatchKind::Gather),
          countsSides(work.countsSides || !addsLight) {}

    void hits(std::uint32_t vertex, std::uint32_t tile, const ktHitPacket& packet) override {
        const std::uint32_t lanes = work.directions->set.laneMask(tile);
        ktVertexLight& light = batch.light[first + vertex];
        if (addsLight)
            work.light->addRadiance(packet, lanes, light.arriving);
        if (countsSides)
            light.sides.add(packet, lanes);
    }

    std::uint32_t first = 0; // the first vertex of the current call

private:
    const ktBatchWork& work;
    ktVertexBatch& batch;
    const bool addsLight, countsSides;
};

void traceHits(const ktBatchWork& work, ktVertexBatch& batch) {
    Sums sums(work, batch);
    const std::uint32_t step = verticesPerCall(gatherRaysPerCall, work);
    for (sums.first = 0; sums.first < batch.count; sums.first += step) {
        ktThrowIfCanceled();
        work.tracer->findNearest(batch.vertices + sums.first, std::min(step, batch.count - sums.first), work.limits,
                                 sums);
    }
}

void traceSky(const ktBatchWork& work, ktVertexBatch& batch) {
    std::uint32_t visible[ktVertexBatch::mostItems];
    const std::uint32_t step = verticesPerCall(skyRaysPerCall, work);
    for (std::uint32_t first = 0; first < batch.count; first += step) {
        ktThrowIfCanceled();
        work.tracer->countVisible(batch.vertices + first, std::min(step, batch.count - first), work.limits,
                                  visible + first, nullptr);
    }
    for (std::uint32_t i = 0; i < batch.count; ++i)
        batch.light[i].visible = visible[i];
}

// One shadow ray per vertex, sixteen vertices per packet.
void traceLight(const ktBatchWork& work, const ktSceneLight& light, ktVertexBatch& batch) {
    ktThrowIfCanceled();
    for (std::uint32_t first = 0; first < batch.count; first += ktRayPacket::width) {
        const std::uint32_t count = std::min<std::uint32_t>(ktRayPacket::width, batch.count - first);
        ktRayPacket rays;
        float colors[ktRayPacket::width][3];
        for (std::uint32_t i = 0; i < count; ++i) {
            const ktRayVertex& vertex = batch.vertices[first + i];
            float direction[3];
            if (!light.irradianceAt(batch.points[first + i], vertex.normal, colors[i]) ||
                !light.directionFrom(vertex.origin, direction, rays.maxDistance[i]))
                continue;
            rays.originX[i] = vertex.origin[0];
            rays.originY[i] = vertex.origin[1];
            rays.originZ[i] = vertex.origin[2];
            rays.directionX[i] = direction[0];
            rays.directionY[i] = direction[1];
            rays.directionZ[i] = direction[2];
            rays.minDistance[i] = work.limits.minDistance;
            rays.active |= 1u << i;
        }
        if (rays.active == 0)
            continue;
        const std::uint32_t shadowed = work.tracer->occluded(rays, work.limits.bothSides);
        for (std::uint32_t i = 0; i < count; ++i) {
            if ((rays.active >> i & 1u) == 0)
                continue;
            for (int c = 0; c < 3; ++c) {
                batch.light[first + i].unshadowed[c] += colors[i][c];
                if ((shadowed >> i & 1u) == 0)
                    batch.light[first + i].arriving[c] += colors[i][c];
            }
        }
    }
}

} // namespace

ktBatchWork ktBatchWork::of(const ktVertexTask& task, ktBatchKind kind) {
    ktBatchWork work;
    work.kind = kind;
    work.tracer = task.tracer;
    work.directions = task.directions;
    work.limits = task.limits;
    return work;
}

std::uint32_t ktItemsPerBatch(const ktBatchWork& work) {
    return verticesPerCall(work.kind == ktBatchKind::Direct ? skyRaysPerCall : gatherRaysPerCall, work);
}

void ktTraceBatch(const ktBatchWork& work, ktVertexBatch& batch) {
    if (work.kind != ktBatchKind::Direct) {
        traceHits(work, batch);
        return;
    }
    traceSky(work, batch);
    if (work.lights)
        for (const ktSceneLight& light : *work.lights)
            traceLight(work, light, batch);
}

std::uint32_t ktRunBatch(const ktBatchLoop& loop, std::size_t begin, std::size_t end) {
    ktThrowIfCanceled();
    ktVertexBatch batch;
    batch.begin = begin;
    batch.end = end;
    loop.make(batch);
    ktTraceBatch(loop.work, batch);
    loop.finish(batch);
    return batch.count;
}

void ktRunLoop(const ktBatchLoop& loop, ktLoopHelpers* helpers) {
    if (helpers) {
        helpers->run(loop);
        return;
    }
    ktParallel::forRange(loop.count, ktVertexBatch::mostItems,
                         [&](std::size_t begin, std::size_t end) { ktRunBatch(loop, begin, end); });
}
