// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktHemisphereTracer.h"

#include "ktHemisphereKernel.h"
#include "ktHemisphereTiles.h"

#include <algorithm>
#include <cmath>

namespace {

const ktHemisphereKernel& chooseKernel([[maybe_unused]] std::uint32_t lanes) {
#ifdef KT_HEMISPHERE_X86
    const bool has8 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                      __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") &&
                      __builtin_cpu_supports("lzcnt") && __builtin_cpu_supports("popcnt");
    const bool has16 = has8 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                       __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
    if (has16 && lanes >= 16)
        return ktHemisphereKernelAvx512;
    if (has8 && lanes >= 8)
        return ktHemisphereKernelAvx2;
#endif
    return ktHemisphereKernelBase;
}

// One a thread, made when the thread traces its first vertex.
ktHemisphereWork& workOfThread() {
    thread_local std::unique_ptr<ktHemisphereWork> work;
    if (!work)
        work.reset(new ktHemisphereWork);
    return *work;
}

// Beyond this products overflow; such a ray is not traced and counts as open.
bool isTraceable(const float* p) {
    const float largest = 1.0e18f;
    return std::fabs(p[0]) <= largest && std::fabs(p[1]) <= largest && std::fabs(p[2]) <= largest;
}

bool isTraceable(const ktRayVertex& vertex) {
    return isTraceable(vertex.origin) && isTraceable(vertex.tangent) && isTraceable(vertex.bitangent) &&
           isTraceable(vertex.normal);
}

const std::vector<ktHemisphereBatch>& batchesOf(const ktRayVertex& vertex) {
    return static_cast<const ktHemisphereTiles*>(vertex.directions)->batches;
}

bool loadRay(const ktRayPacket& rays, std::uint32_t i, ktHemisphereRay& ray) {
    ray = {{rays.originX[i], rays.originY[i], rays.originZ[i]},
           {rays.directionX[i], rays.directionY[i], rays.directionZ[i]},
           rays.minDistance[i],
           rays.maxDistance[i]};
    return (rays.active >> i & 1u) && isTraceable(ray.origin) && isTraceable(ray.direction);
}

void clearHits(ktHitPacket& hits) {
    std::fill(hits.mesh, hits.mesh + ktHitPacket::width, ktHitPacket::noMesh);
    hits.backSide = 0;
}

} // namespace

ktHemisphereTracer::ktHemisphereTracer(std::uint32_t lanes) : kernel(chooseKernel(lanes)) {}

std::uint32_t ktHemisphereTracer::laneCount() const {
    return kernel.lanes;
}

bool ktHemisphereTracer::build(const std::vector<ktTracerMesh>& meshes, const Progress& progress) {
    return scene.build(meshes, progress);
}

std::unique_ptr<ktPreparedDirections> ktHemisphereTracer::prepareDirections(const ktDirectionSet& set) const {
    return std::make_unique<ktHemisphereTiles>(set);
}

void ktHemisphereTracer::countVisible(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                                      std::uint32_t* visible, std::uint64_t* const* masks) const {
    ktHemisphereWork& work = workOfThread();
    const ktHemisphereView view = scene.view();
    for (std::uint32_t v = 0; v < count; ++v) {
        const ktDirectionSet& set = vertices[v].directions->set;
        std::uint64_t* const mask = masks ? masks[v] : nullptr;
        if (mask)
            std::fill(mask, mask + set.wordCount(), 0);
        const bool traceable = isTraceable(vertices[v]);
        visible[v] = 0;
        for (const ktHemisphereBatch& batch : batchesOf(vertices[v])) {
            if (traceable)
                kernel.occlusion(view, batch, vertices[v], limits, work);
            for (std::uint32_t tile = 0; tile < batch.tileCount; ++tile) {
                const std::uint32_t open = traceable ? work.live[tile] : batch.live[tile];
                visible[v] += static_cast<std::uint32_t>(__builtin_popcount(open));
                for (std::uint32_t left = mask ? open : 0; left; left &= left - 1) {
                    const std::uint32_t ray = batch.source[tile][__builtin_ctz(left)];
                    mask[ray / 64] |= std::uint64_t(1) << (ray % 64);
                }
            }
        }
    }
}

void ktHemisphereTracer::findNearest(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                                     ktHitReceiver& receiver) const {
    ktHemisphereWork& work = workOfThread();
    const ktHemisphereView view = scene.view();
    std::vector<ktHitPacket> packets; // of one vertex: its rays are traced in an order of their own
    for (std::uint32_t v = 0; v < count; ++v) {
        const ktDirectionSet& set = vertices[v].directions->set;
        packets.resize(set.tileCount());
        for (ktHitPacket& packet : packets)
            clearHits(packet);
        for (const ktHemisphereBatch& batch : batchesOf(vertices[v])) {
            if (!isTraceable(vertices[v]))
                break;
            kernel.nearest(view, batch, vertices[v], limits, work);
            for (std::uint32_t tile = 0; tile < batch.tileCount; ++tile) {
                for (std::uint32_t left = batch.live[tile]; left; left &= left - 1) {
                    const std::uint32_t lane = static_cast<std::uint32_t>(__builtin_ctz(left));
                    const std::uint32_t id = work.hit[tile][lane];
                    if (id == ktHemisphereKernel::noTriangle)
                        continue;
                    const std::uint32_t ray = batch.source[tile][lane], to = ray % ktHitPacket::width;
                    ktHitPacket& packet = packets[ray / ktHitPacket::width];
                    packet.mesh[to] = scene.meshOf(id);
                    packet.triangle[to] = id - scene.firstOf(packet.mesh[to]);
                    packet.u[to] = work.u[tile][lane];
                    packet.v[to] = work.v[tile][lane];
                    packet.distance[to] = work.reach[tile][lane];
                    packet.backSide |= (work.back[tile] >> lane & 1u) << to;
                }
            }
        }
        for (std::uint32_t tile = 0; tile < set.tileCount(); ++tile)
            receiver.hits(v, tile, packets[tile]);
    }
}

std::uint32_t ktHemisphereTracer::occluded(const ktRayPacket& rays, bool bothSides) const {
    const ktHemisphereView view = scene.view();
    std::uint32_t hit = 0;
    ktHemisphereRay ray;
    for (std::uint32_t i = 0; i < ktRayPacket::width; ++i)
        if (loadRay(rays, i, ray) && kernel.rayOccluded(view, ray, bothSides))
            hit |= 1u << i;
    return hit;
}

void ktHemisphereTracer::nearest(const ktRayPacket& rays, bool bothSides, ktHitPacket& hits) const {
    const ktHemisphereView view = scene.view();
    clearHits(hits);
    ktHemisphereRay ray;
    for (std::uint32_t i = 0; i < ktRayPacket::width; ++i) {
        if (!loadRay(rays, i, ray))
            continue;
        const ktHemisphereHit hit = kernel.rayNearest(view, ray, bothSides);
        if (hit.triangle == ktHemisphereKernel::noTriangle)
            continue;
        hits.mesh[i] = scene.meshOf(hit.triangle);
        hits.triangle[i] = hit.triangle - scene.firstOf(hits.mesh[i]);
        hits.u[i] = hit.u;
        hits.v[i] = hit.v;
        hits.distance[i] = hit.distance;
        hits.backSide |= static_cast<std::uint32_t>(hit.back) << i;
    }
}
