// SPDX-License-Identifier: LGPL-2.1-or-later
// Implements ktTracer with Embree, in packets of 4, 8 or 16 rays; the reference for the hemisphere tracer.
#include "ktEmbreeTracer.h"

#include "ktEmbreePacket.h"
#include "ktMemoryShortage.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace {

constexpr int tileWidth = static_cast<int>(ktDirectionTile::width);

// Embree accepts no larger coordinates. Such a ray is not traced and counts as open.
bool isTraceable(float x, float y, float z) {
    const float largest = 1.0e18f;
    return std::fabs(x) <= largest && std::fabs(y) <= largest && std::fabs(z) <= largest;
}

bool isTraceable(const ktRayVertex& vertex) {
    return isTraceable(vertex.origin[0], vertex.origin[1], vertex.origin[2]) &&
           isTraceable(vertex.tangent[0], vertex.tangent[1], vertex.tangent[2]) &&
           isTraceable(vertex.bitangent[0], vertex.bitangent[1], vertex.bitangent[2]) &&
           isTraceable(vertex.normal[0], vertex.normal[1], vertex.normal[2]);
}

RTCIntersectContext makeContext(RTCIntersectContextFlags flags, bool bothSides) {
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    context.flags = flags;
    context.filter = bothSides ? nullptr : ktRejectBackSides;
    return context;
}

[[noreturn]] void throwDeviceError(RTCDevice device, const char* action) {
    const RTCError code = rtcGetDeviceError(device);
    const char* reason = code == RTC_ERROR_OUT_OF_MEMORY     ? "out of memory"
                         : code == RTC_ERROR_UNSUPPORTED_CPU ? "this processor is not supported"
                                                             : "internal error";
    throw std::runtime_error(std::string("Embree cannot ") + action + ": " + reason + " (code " + std::to_string(code) +
                             ")");
}

// Traces the rays of one vertex, Width at a time. Calls take(tile, mask of its open rays) for each tile.
template <int Width, class Take>
void traceVertex(RTCScene scene, ktRotateTile rotateTile, const ktRayVertex& vertex, const ktRayLimits& limits,
                 Take&& take) {
    using Packet = ktEmbreePacket<Width>;
    const ktDirectionSet& set = vertex.directions->set;
    if (!isTraceable(vertex)) {
        for (std::uint32_t tile = 0; tile < set.tileCount(); ++tile)
            take(tile, set.laneMask(tile));
        return;
    }
    RTCIntersectContext context = makeContext(RTC_INTERSECT_CONTEXT_FLAG_INCOHERENT, limits.bothSides);
    alignas(64) typename Packet::Ray rays;
    alignas(64) int valid[Width];
    alignas(64) float x[tileWidth], y[tileWidth], z[tileWidth];
    ktPrepareEmbreeRays<typename Packet::Ray, Width>(rays);
    for (int i = 0; i < Width; ++i) {
        rays.org_x[i] = vertex.origin[0];
        rays.org_y[i] = vertex.origin[1];
        rays.org_z[i] = vertex.origin[2];
        rays.tnear[i] = limits.minDistance;
    }
    for (std::uint32_t tile = 0; tile < set.tileCount(); ++tile) {
        rotateTile(set.tiles[tile], vertex, x, y, z);
        const std::uint32_t lanes = set.laneMask(tile);
        std::uint32_t open = 0;
        for (int first = 0; first < tileWidth; first += Width) {
            std::memcpy(rays.dir_x, x + first, sizeof(rays.dir_x));
            std::memcpy(rays.dir_y, y + first, sizeof(rays.dir_y));
            std::memcpy(rays.dir_z, z + first, sizeof(rays.dir_z));
            for (int i = 0; i < Width; ++i) {
                rays.tfar[i] = limits.maxDistance;
                valid[i] = -static_cast<int>(lanes >> (first + i) & 1u);
            }
            Packet::occluded(valid, scene, &context, &rays);
            // Embree sets tfar of a ray that hit something to minus infinity.
            for (int i = 0; i < Width; ++i)
                open |= static_cast<std::uint32_t>(rays.tfar[i] >= 0.0f) << (first + i);
        }
        take(tile, open & lanes);
    }
}

template <int Width>
void countVisibleBy(RTCScene scene, ktRotateTile rotateTile, const ktRayVertex* vertices, std::uint32_t count,
                    const ktRayLimits& limits, std::uint32_t* visible, std::uint64_t* const* masks) {
    for (std::uint32_t v = 0; v < count; ++v) {
        std::uint64_t* mask = masks ? masks[v] : nullptr;
        if (mask)
            std::memset(mask, 0, vertices[v].directions->set.wordCount() * sizeof(*mask));
        std::uint32_t sum = 0;
        traceVertex<Width>(scene, rotateTile, vertices[v], limits, [&](std::uint32_t tile, std::uint32_t open) {
            sum += static_cast<std::uint32_t>(__builtin_popcount(open));
            if (mask)
                mask[tile / 4] |= static_cast<std::uint64_t>(open) << (tile % 4 * 16);
        });
        visible[v] = sum;
    }
}

// Copies rays first .. first + Width - 1 of a packet. Sets `valid` of those that are traced.
template <int Width, class Ray>
void loadRays(const ktRayPacket& packet, int first, Ray& rays, int* valid) {
    ktPrepareEmbreeRays<Ray, Width>(rays);
    for (int i = 0; i < Width; ++i) {
        const int k = first + i;
        const bool active = (packet.active >> k & 1u) != 0 &&
                            isTraceable(packet.originX[k], packet.originY[k], packet.originZ[k]) &&
                            isTraceable(packet.directionX[k], packet.directionY[k], packet.directionZ[k]);
        valid[i] = active ? -1 : 0;
        rays.org_x[i] = packet.originX[k];
        rays.org_y[i] = packet.originY[k];
        rays.org_z[i] = packet.originZ[k];
        rays.dir_x[i] = packet.directionX[k];
        rays.dir_y[i] = packet.directionY[k];
        rays.dir_z[i] = packet.directionZ[k];
        rays.tnear[i] = packet.minDistance[k];
        rays.tfar[i] = packet.maxDistance[k];
    }
}

template <int Width>
std::uint32_t occludedBy(RTCScene scene, const ktRayPacket& packet, bool bothSides) {
    using Packet = ktEmbreePacket<Width>;
    RTCIntersectContext context = makeContext(RTC_INTERSECT_CONTEXT_FLAG_COHERENT, bothSides);
    alignas(64) typename Packet::Ray rays;
    alignas(64) int valid[Width];
    std::uint32_t hit = 0;
    for (int first = 0; first < tileWidth; first += Width) {
        loadRays<Width>(packet, first, rays, valid);
        Packet::occluded(valid, scene, &context, &rays);
        for (int i = 0; i < Width; ++i)
            hit |= static_cast<std::uint32_t>(valid[i] != 0 && rays.tfar[i] < 0.0f) << (first + i);
    }
    return hit;
}

// Copies the hits of rays first .. first + Width - 1 into a packet.
template <int Width, class RayHit>
void storeHits(const RayHit& rays, const int* valid, int first, ktHitPacket& hits) {
    for (int i = 0; i < Width; ++i) {
        const int k = first + i;
        hits.mesh[k] = valid[i] != 0 ? rays.hit.geomID[i] : ktHitPacket::noMesh;
        hits.triangle[k] = rays.hit.primID[i];
        hits.u[k] = rays.hit.u[i];
        hits.v[k] = rays.hit.v[i];
        hits.distance[k] = rays.ray.tfar[i];
        const float dot = rays.ray.dir_x[i] * rays.hit.Ng_x[i] + rays.ray.dir_y[i] * rays.hit.Ng_y[i] +
                          rays.ray.dir_z[i] * rays.hit.Ng_z[i];
        hits.backSide |= static_cast<std::uint32_t>(hits.mesh[k] != ktHitPacket::noMesh && dot > 0.0f) << k;
    }
}

template <int Width>
void nearestBy(RTCScene scene, const ktRayPacket& packet, bool bothSides, ktHitPacket& hits) {
    using Packet = ktEmbreePacket<Width>;
    RTCIntersectContext context = makeContext(RTC_INTERSECT_CONTEXT_FLAG_COHERENT, bothSides);
    alignas(64) typename Packet::RayHit rays = {};
    alignas(64) int valid[Width];
    hits.backSide = 0;
    for (int first = 0; first < tileWidth; first += Width) {
        loadRays<Width>(packet, first, rays.ray, valid);
        for (int i = 0; i < Width; ++i)
            rays.hit.geomID[i] = RTC_INVALID_GEOMETRY_ID;
        Packet::intersect(valid, scene, &context, &rays);
        storeHits<Width>(rays, valid, first, hits);
    }
}

// Finds the nearest hits of the rays of one vertex, tile by tile.
template <int Width>
void nearestOfVertex(RTCScene scene, ktRotateTile rotateTile, std::uint32_t index, const ktRayVertex& vertex,
                     const ktRayLimits& limits, ktHitReceiver& receiver) {
    using Packet = ktEmbreePacket<Width>;
    const ktDirectionSet& set = vertex.directions->set;
    const bool canTrace = isTraceable(vertex);
    RTCIntersectContext context = makeContext(RTC_INTERSECT_CONTEXT_FLAG_COHERENT, limits.bothSides);
    alignas(64) typename Packet::RayHit rays = {};
    alignas(64) int valid[Width];
    alignas(64) float x[tileWidth], y[tileWidth], z[tileWidth];
    ktHitPacket hits;
    ktPrepareEmbreeRays<typename Packet::Ray, Width>(rays.ray);
    for (int i = 0; i < Width; ++i) {
        rays.ray.org_x[i] = vertex.origin[0];
        rays.ray.org_y[i] = vertex.origin[1];
        rays.ray.org_z[i] = vertex.origin[2];
        rays.ray.tnear[i] = limits.minDistance;
    }
    for (std::uint32_t tile = 0; tile < set.tileCount(); ++tile) {
        rotateTile(set.tiles[tile], vertex, x, y, z);
        const std::uint32_t lanes = canTrace ? set.laneMask(tile) : 0;
        hits.backSide = 0;
        for (int first = 0; first < tileWidth; first += Width) {
            std::memcpy(rays.ray.dir_x, x + first, sizeof(rays.ray.dir_x));
            std::memcpy(rays.ray.dir_y, y + first, sizeof(rays.ray.dir_y));
            std::memcpy(rays.ray.dir_z, z + first, sizeof(rays.ray.dir_z));
            for (int i = 0; i < Width; ++i) {
                rays.ray.tfar[i] = limits.maxDistance;
                rays.hit.geomID[i] = RTC_INVALID_GEOMETRY_ID;
                valid[i] = -static_cast<int>(lanes >> (first + i) & 1u);
            }
            Packet::intersect(valid, scene, &context, &rays);
            storeHits<Width>(rays, valid, first, hits);
        }
        receiver.hits(index, tile, hits);
    }
}

template <int Width>
void findNearestBy(RTCScene scene, ktRotateTile rotateTile, const ktRayVertex* vertices, std::uint32_t count,
                   const ktRayLimits& limits, ktHitReceiver& receiver) {
    for (std::uint32_t v = 0; v < count; ++v)
        nearestOfVertex<Width>(scene, rotateTile, v, vertices[v], limits, receiver);
}

/// Without the cache for subdivision surfaces, which we do not have: if the system has no memory for it, Embree keeps a
/// lock for ever.
RTCDevice newDevice(const std::string& config) {
    return rtcNewDevice(((config.empty() ? "" : config + ',') + "tessellation_cache_size=0").c_str());
}

void onError(void*, RTCError code, const char*) {
    if (code == RTC_ERROR_OUT_OF_MEMORY || code == RTC_ERROR_UNKNOWN) // the latter if a task cannot start, too
        ktMemoryShortage::report();
}

bool reportProgress(void* progress, double share) {
    return (*static_cast<const ktTracer::Progress*>(progress))(static_cast<float>(share));
}

} // namespace

ktEmbreeTracer::ktEmbreeTracer(const char* config_, Quality quality_)
    : config(config_ ? config_ : ""), quality(quality_), rotateTile(ktChooseRotateTile()) {
    static_assert(ktHitPacket::noMesh == RTC_INVALID_GEOMETRY_ID, "a miss has the same value in Embree");
    start();
    if (rtcGetDeviceProperty(device, RTC_DEVICE_PROPERTY_NATIVE_RAY16_SUPPORTED))
        width = 16;
    else if (rtcGetDeviceProperty(device, RTC_DEVICE_PROPERTY_NATIVE_RAY8_SUPPORTED))
        width = 8;
}

void ktEmbreeTracer::start() {
    device = newDevice(config);
    if (!device)
        throwDeviceError(nullptr, "start");
    rtcSetDeviceErrorFunction(device, onError, nullptr);
}

ktEmbreeTracer::~ktEmbreeTracer() {
    clear();
    if (device)
        rtcReleaseDevice(device);
}

void ktEmbreeTracer::clear() {
    if (scene)
        rtcReleaseScene(scene);
    scene = nullptr;
}

bool ktEmbreeTracer::build(const std::vector<ktTracerMesh>& meshes, const Progress& progress) {
    clear();
    if (meshes.empty())
        return true;
    if (!device)
        start();
    rtcGetDeviceError(device); // clears an error of an earlier build
    scene = rtcNewScene(device);
    if (!scene)
        throwDeviceError(device, "make a scene");
    rtcSetSceneBuildQuality(scene, quality == Quality::High ? RTC_BUILD_QUALITY_HIGH : RTC_BUILD_QUALITY_MEDIUM);
    rtcSetSceneFlags(scene, RTC_SCENE_FLAG_CONTEXT_FILTER_FUNCTION);
    for (std::size_t i = 0; i < meshes.size(); ++i) {
        const ktTracerMesh& mesh = meshes[i];
        if (mesh.triangleCount == 0)
            continue;
        RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
        rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, mesh.positions, 0,
                                   3 * sizeof(float), mesh.vertexCount);
        rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, mesh.indices, 0,
                                   3 * sizeof(std::uint32_t), mesh.triangleCount);
        rtcCommitGeometry(geometry);
        rtcAttachGeometryByID(scene, geometry, static_cast<unsigned int>(i));
        rtcReleaseGeometry(geometry);
    }
    if (progress)
        rtcSetSceneProgressMonitorFunction(scene, reportProgress, const_cast<Progress*>(&progress));
    rtcJoinCommitScene(scene); // builds in the caller's arena; rtcCommitScene() would use an arena of Embree
    rtcSetSceneProgressMonitorFunction(scene, nullptr, nullptr);

    const RTCError error = rtcGetDeviceError(device);
    if (error == RTC_ERROR_NONE)
        return true;
    if (error != RTC_ERROR_CANCELLED) {
        // Tasks that could not start leave their group and their arena in TBB unfinished: whoever releases the scene or
        // uses the device again waits for ever. So both stay as they are.
        scene = nullptr;
        device = nullptr;
    }
    clear();
    if (error == RTC_ERROR_CANCELLED)
        return false;
    throw std::runtime_error(std::string("Embree cannot build the acceleration structure") +
                             (error == RTC_ERROR_OUT_OF_MEMORY ? ": out of memory" : "") + " (code " +
                             std::to_string(error) + ")");
}

void ktEmbreeTracer::countVisible(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                                  std::uint32_t* visible, std::uint64_t* const* masks) const {
    switch (scene ? width : 0) {
    case 16:
        return countVisibleBy<16>(scene, rotateTile, vertices, count, limits, visible, masks);
    case 8:
        return countVisibleBy<8>(scene, rotateTile, vertices, count, limits, visible, masks);
    case 4:
        return countVisibleBy<4>(scene, rotateTile, vertices, count, limits, visible, masks);
    default:
        return ktTracer::countVisible(vertices, count, limits, visible, masks);
    }
}

void ktEmbreeTracer::findNearest(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                                 ktHitReceiver& receiver) const {
    switch (scene ? width : 0) {
    case 16:
        return findNearestBy<16>(scene, rotateTile, vertices, count, limits, receiver);
    case 8:
        return findNearestBy<8>(scene, rotateTile, vertices, count, limits, receiver);
    case 4:
        return findNearestBy<4>(scene, rotateTile, vertices, count, limits, receiver);
    default:
        return ktTracer::findNearest(vertices, count, limits, receiver);
    }
}

std::uint32_t ktEmbreeTracer::occluded(const ktRayPacket& rays, bool bothSides) const {
    switch (scene ? width : 0) {
    case 16:
        return occludedBy<16>(scene, rays, bothSides);
    case 8:
        return occludedBy<8>(scene, rays, bothSides);
    case 4:
        return occludedBy<4>(scene, rays, bothSides);
    default:
        return 0;
    }
}

void ktEmbreeTracer::nearest(const ktRayPacket& rays, bool bothSides, ktHitPacket& hits) const {
    switch (scene ? width : 0) {
    case 16:
        return nearestBy<16>(scene, rays, bothSides, hits);
    case 8:
        return nearestBy<8>(scene, rays, bothSides, hits);
    case 4:
        return nearestBy<4>(scene, rays, bothSides, hits);
    default:
        for (std::uint32_t& mesh : hits.mesh)
            mesh = ktHitPacket::noMesh;
        hits.backSide = 0;
    }
}
