// SPDX-License-Identifier: LGPL-2.1-or-later
// Chooses the kernel, passes it groups of vertices, and collects the answers.
#include "ktHemisphereTracer.h"

#include "ktHemisphereKernel.h"
#include "ktTiledDirections.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <pthread.h>
#include <stdexcept>

#ifdef KT_HEMISPHERE_X86
#include <cpuid.h>
#endif

namespace {

#ifdef KT_HEMISPHERE_X86
// clang does not compile __builtin_cpu_supports("lzcnt").
bool hasLzcnt() {
    unsigned int a = 0, b = 0, c = 0, d = 0;
    return __get_cpuid(0x80000001u, &a, &b, &c, &d) && (c & bit_LZCNT);
}
#endif

const ktHemisphereKernel& chooseKernel([[maybe_unused]] std::uint32_t lanes) {
#ifdef KT_HEMISPHERE_X86
    const bool has8 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                      __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") &&
                      __builtin_cpu_supports("popcnt") && hasLzcnt();
    const bool has16 = has8 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                       __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
    if (has16 && lanes >= 16)
        return ktHemisphereKernelAvx512;
    if (has8 && lanes >= 8)
        return ktHemisphereKernelAvx2;
#endif
    return ktHemisphereKernelBase;
}

// Created when a thread traces its first vertex.
ktTraversalState& stateOfThread() {
    // A key with a destructor instead of a thread_local object: the system would end the process if it had no memory to
    // note the destructor of such an object.
    static const pthread_key_t key = [] {
        pthread_key_t made = 0;
        if (pthread_key_create(&made, [](void* old) { delete static_cast<ktTraversalState*>(old); }) != 0)
            throw std::bad_alloc();
        return made;
    }();
    thread_local ktTraversalState* state = nullptr;
    if (!state) {
        // NOLINTNEXTLINE(modernize-make-unique): would clear the stacks, which are large and mostly never used
        std::unique_ptr<ktTraversalState> made(new ktTraversalState);
        if (pthread_setspecific(key, made.get()) != 0)
            throw std::bad_alloc();
        state = made.release();
    }
    return *state;
}

// Beyond this, products overflow. Such a ray is not traced and counts as visible.
bool isTraceable(const float* p) {
    const float largest = 1.0e18f;
    return std::fabs(p[0]) <= largest && std::fabs(p[1]) <= largest && std::fabs(p[2]) <= largest;
}

bool isTraceable(const ktRayVertex& vertex) {
    return isTraceable(vertex.origin) && isTraceable(vertex.tangent) && isTraceable(vertex.bitangent) &&
           isTraceable(vertex.normal);
}

const std::vector<ktTileBatch>& batchesOf(const ktRayVertex& vertex) {
    return static_cast<const ktTiledDirections*>(vertex.directions)->batches;
}

/// Consecutive vertices of a call with the same directions; they are traced together.
struct Group {
    static constexpr std::uint32_t maxSize = 16;
    std::uint32_t first = 0, size = 0;
    const ktRayVertex* traceable[maxSize];
    std::uint32_t index[maxSize]; ///< of traceable[i], in the call
    std::uint32_t traceableCount;
    std::uint32_t untraced[maxSize]; ///< indices of the vertices that are not traced
    std::uint32_t untracedCount;

    /// @param rays about as many rays per group; a vertex is never divided
    Group(const ktRayVertex* v, std::uint32_t n, std::uint32_t rays) : vertices(v), count(n), maxRays(rays) { next(); }
    void next() {
        first += size;
        size = traceableCount = untracedCount = 0;
        if (first == count)
            return;
        const std::uint32_t limit = std::min(maxSize, std::max(1u, maxRays / vertices[first].directions->set.count));
        for (; size < limit && first + size < count; ++size) {
            const std::uint32_t v = first + size;
            if (vertices[v].directions != vertices[first].directions)
                break;
            if (isTraceable(vertices[v])) {
                index[traceableCount] = v;
                traceable[traceableCount++] = vertices + v;
            } else {
                untraced[untracedCount++] = v;
            }
        }
    }

private:
    const ktRayVertex* vertices;
    std::uint32_t count, maxRays;
};

/// Counts the rays of a group that hit nothing.
struct VisibleCounter {
    const Group& group;
    const ktTileBatch& batch;
    std::uint32_t* visible;
    std::uint64_t* const* masks;

    /// @param liveOf gives the rays of a tile that hit nothing
    template <class LiveOf>
    void add(std::uint32_t v, const LiveOf& liveOf) {
        std::uint64_t* const mask = masks ? masks[v] : nullptr;
        for (std::uint32_t t = 0; t < batch.tileCount; ++t) {
            const std::uint32_t live = liveOf(t);
            visible[v] += static_cast<std::uint32_t>(__builtin_popcount(live));
            for (std::uint32_t remaining = mask ? live : 0; remaining; remaining &= remaining - 1) {
                const std::uint32_t ray = batch.sourceRay[t][__builtin_ctz(remaining)];
                mask[ray / 64] |= std::uint64_t(1) << (ray % 64);
            }
        }
    }
};

/// Writes the hits of a group to the packets, in the order of the caller's set.
struct HitWriter {
    const Group& group;
    const ktTriangleNumbers& numbers;
    const ktTileBatch& batch;
    ktHitPacket* packets;
    std::uint32_t tileCount; ///< packets per vertex

    void add(std::uint32_t i, const ktTraversalState& state, std::uint32_t firstTile) const {
        ktHitPacket* const ofVertex = packets + std::size_t(group.index[i] - group.first) * tileCount;
        for (std::uint32_t t = 0; t < batch.tileCount; ++t) {
            const ktTileState& tile = state.tile[firstTile + t];
            for (std::uint32_t remaining = batch.validRays[t]; remaining; remaining &= remaining - 1) {
                const std::uint32_t lane = static_cast<std::uint32_t>(__builtin_ctz(remaining));
                const std::uint32_t id = tile.hit[lane];
                if (id == ktHemisphereKernel::noTriangle)
                    continue;
                const std::uint32_t ray = batch.sourceRay[t][lane], to = ray % ktHitPacket::width;
                ktHitPacket& packet = ofVertex[ray / ktHitPacket::width];
                packet.mesh[to] = numbers.meshOf(id);
                packet.triangle[to] = id - numbers.firstOf(packet.mesh[to]);
                packet.u[to] = tile.u[lane];
                packet.v[to] = tile.v[lane];
                packet.distance[to] = tile.tFar[lane];
                packet.backSide |= (tile.backSide >> lane & 1u) << to;
            }
        }
    }
};

bool loadRay(const ktRayPacket& rays, std::uint32_t i, ktKernelRay& ray) {
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

ktHemisphereTracer::ktHemisphereTracer(std::uint32_t lanes, ktLeafKind kind)
    : kernel(chooseKernel(lanes)), leafKind(kind) {}

std::uint32_t ktHemisphereTracer::laneCount() const {
    return kernel.lanes;
}

bool ktHemisphereTracer::build(const std::vector<ktTracerMesh>& meshes, const Progress& progress) {
    const bool instances =
        std::any_of(meshes.begin(), meshes.end(), [](const ktTracerMesh& mesh) { return mesh.toWorld != nullptr; });
    // Only one of them has a structure at a time.
    if (hasInstances != instances) {
        bvh.clear();
        twoLevel.clear();
    }
    hasInstances = instances;
    return hasInstances ? twoLevel.build(meshes, progress, leafKind) : bvh.build(meshes, progress, leafKind);
}

ktStructureImage ktHemisphereTracer::structureImage() {
    const ktBvhHead head = hasInstances ? twoLevel.head() : bvh.head();
    ktStructureImage image;
    image.head.resize(sizeof head);
    std::memcpy(image.head.data(), &head, sizeof head);
    image.parts = hasInstances ? twoLevel.parts() : bvh.parts();
    return image;
}

std::vector<ktStructureImage::Part> ktHemisphereTracer::beginCopy(const std::vector<ktTracerMesh>& meshes,
                                                                  const std::vector<char>& head) try {
    if (head.size() != sizeof copied)
        throw std::invalid_argument("the structure is of another tracer");
    std::memcpy(&copied, head.data(), sizeof copied);
    bvh.clear();
    twoLevel.clear();
    hasInstances = copied.hasInstances != 0;
    hasInstances ? twoLevel.beginCopy(meshes, copied) : bvh.beginCopy(meshes, copied);
    return hasInstances ? twoLevel.parts() : bvh.parts();
} catch (...) {
    bvh.clear();
    twoLevel.clear();
    throw;
}

void ktHemisphereTracer::endCopy() {
    hasInstances ? twoLevel.endCopy(copied) : bvh.endCopy(copied);
}

const ktKernelFunctions& ktHemisphereTracer::functions() const {
    return hasInstances ? kernel.twoLevel : kernel.oneLevel;
}

ktBvhView ktHemisphereTracer::view() const {
    return hasInstances ? twoLevel.view() : ktBvhView{bvh.rootRef(), nullptr, nullptr};
}

const ktTriangleNumbers& ktHemisphereTracer::triangleNumbers() const {
    return hasInstances ? twoLevel.triangleNumbers() : bvh.triangleNumbers();
}

std::unique_ptr<ktPreparedDirections> ktHemisphereTracer::prepareDirections(const ktDirectionSet& set) const {
    return std::make_unique<ktTiledDirections>(set);
}

void ktHemisphereTracer::countVisible(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                                      std::uint32_t* visible, std::uint64_t* const* masks) const {
    ktTraversalState& state = stateOfThread();
    for (Group group(vertices, count, ~0u); group.size; group.next()) {
        const ktDirectionSet& set = vertices[group.first].directions->set;
        for (std::uint32_t v = group.first; v < group.first + group.size; ++v) {
            visible[v] = 0;
            if (masks && masks[v])
                std::fill(masks[v], masks[v] + set.wordCount(), 0);
        }
        for (const ktTileBatch& batch : batchesOf(vertices[group.first])) {
            VisibleCounter counter{group, batch, visible, masks};
            functions().occlusion(
                view(),
                {&batch, group.traceable, group.traceableCount, &limits,
                 [](void* to, std::uint32_t i, const ktTraversalState& done, std::uint32_t firstTile) {
                     VisibleCounter& receiver = *static_cast<VisibleCounter*>(to);
                     receiver.add(receiver.group.index[i],
                                  [&](std::uint32_t t) { return done.tile[firstTile + t].live; });
                 },
                 &counter},
                state);
            for (std::uint32_t i = 0; i < group.untracedCount; ++i)
                counter.add(group.untraced[i], [&](std::uint32_t t) { return batch.validRays[t]; });
        }
    }
}

void ktHemisphereTracer::findNearest(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                                     ktHitReceiver& receiver) const {
    ktTraversalState& state = stateOfThread();
    // The hits of a group are collected here: rays are traced in another order, and the receiver may trace too. The
    // groups are small, so that the hits stay in the cache.
    constexpr std::uint32_t maxRays = 1024;
    std::vector<ktHitPacket> packets;
    for (Group group(vertices, count, maxRays); group.size; group.next()) {
        const std::uint32_t tileCount = vertices[group.first].directions->set.tileCount();
        packets.resize(std::size_t(group.size) * tileCount);
        for (ktHitPacket& packet : packets)
            clearHits(packet);
        for (const ktTileBatch& batch : batchesOf(vertices[group.first])) {
            HitWriter writer{group, triangleNumbers(), batch, packets.data(), tileCount};
            functions().nearest(view(),
                                {&batch, group.traceable, group.traceableCount, &limits,
                                 [](void* to, std::uint32_t i, const ktTraversalState& done, std::uint32_t firstTile) {
                                     static_cast<const HitWriter*>(to)->add(i, done, firstTile);
                                 },
                                 &writer},
                                state);
        }
        for (std::uint32_t v = 0; v < group.size; ++v)
            for (std::uint32_t t = 0; t < tileCount; ++t)
                receiver.hits(group.first + v, t, packets[std::size_t(v) * tileCount + t]);
    }
}

std::uint32_t ktHemisphereTracer::occluded(const ktRayPacket& rays, bool bothSides) const {
    const ktBvhView bvhView = view();
    std::uint32_t hit = 0;
    ktKernelRay ray;
    for (std::uint32_t i = 0; i < ktRayPacket::width; ++i)
        if (loadRay(rays, i, ray) && functions().rayOccluded(bvhView, ray, bothSides))
            hit |= 1u << i;
    return hit;
}

void ktHemisphereTracer::nearest(const ktRayPacket& rays, bool bothSides, ktHitPacket& hits) const {
    const ktBvhView bvhView = view();
    clearHits(hits);
    ktKernelRay ray;
    for (std::uint32_t i = 0; i < ktRayPacket::width; ++i) {
        if (!loadRay(rays, i, ray))
            continue;
        const ktKernelHit hit = functions().rayNearest(bvhView, ray, bothSides);
        if (hit.triangle == ktHemisphereKernel::noTriangle)
            continue;
        hits.mesh[i] = triangleNumbers().meshOf(hit.triangle);
        hits.triangle[i] = hit.triangle - triangleNumbers().firstOf(hits.mesh[i]);
        hits.u[i] = hit.u;
        hits.v[i] = hit.v;
        hits.distance[i] = hit.distance;
        hits.backSide |= static_cast<std::uint32_t>(hit.backSide) << i;
    }
}
