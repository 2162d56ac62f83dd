// SPDX-License-Identifier: LGPL-2.1-or-later
// Traces a vertex's rays with Embree in plain packets of 16: the reference speed for the tracers.
#include "ktEmbreeLoop.h"

#include <cstring>
#include <embree3/rtcore.h>

namespace {

void prepare(const ktRayVertex& vertex, const ktRayLimits& limits, RTCRay16& ray) {
    for (int i = 0; i < 16; ++i) {
        ray.org_x[i] = vertex.origin[0];
        ray.org_y[i] = vertex.origin[1];
        ray.org_z[i] = vertex.origin[2];
        ray.tnear[i] = limits.minDistance;
        ray.time[i] = 0;
        ray.mask[i] = 0xFFFFFFFFu;
        ray.id[i] = ray.flags[i] = 0;
    }
}

void setReach(const ktRayLimits& limits, RTCRay16& ray) {
    for (float& reach : ray.tfar)
        reach = limits.maxDistance;
}

void setValid(std::uint32_t lanes, int* valid) {
    for (int i = 0; i < 16; ++i)
        valid[i] = -static_cast<int>(lanes >> i & 1);
}

} // namespace

ktEmbreeLoop::ktEmbreeLoop(Mode mode)
    : device(rtcNewDevice(nullptr)), scene(rtcNewScene(device)), rotateTile(ktChooseRotateTile()) {
    rtcSetSceneBuildQuality(scene, RTC_BUILD_QUALITY_HIGH);
    if (mode == Mode::Robust)
        rtcSetSceneFlags(scene, RTC_SCENE_FLAG_ROBUST);
}

ktEmbreeLoop::~ktEmbreeLoop() {
    rtcReleaseScene(scene);
    rtcReleaseDevice(device);
}

void ktEmbreeLoop::build(const std::vector<ktTracerMesh>& meshes) {
    for (const ktTracerMesh& mesh : meshes) {
        RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
        rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, mesh.positions, 0, 12,
                                   mesh.vertexCount);
        rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, mesh.indices, 0, 12,
                                   mesh.triangleCount);
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(scene, geometry);
        rtcReleaseGeometry(geometry);
    }
    rtcJoinCommitScene(scene);
}

std::uint32_t ktEmbreeLoop::visible(const ktRayVertex& vertex, const ktRayLimits& limits, std::uint64_t* mask) const {
    const ktDirectionSet& set = vertex.directions->set;
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    context.flags = RTC_INTERSECT_CONTEXT_FLAG_INCOHERENT;
    alignas(64) RTCRay16 ray;
    alignas(64) int valid[16];
    prepare(vertex, limits, ray);
    if (mask)
        std::memset(mask, 0, set.wordCount() * sizeof *mask);
    std::uint32_t count = 0;
    for (std::uint32_t tile = 0; tile < set.tileCount(); ++tile) {
        rotateTile(set.tiles[tile], vertex, ray.dir_x, ray.dir_y, ray.dir_z);
        setReach(limits, ray);
        setValid(set.laneMask(tile), valid);
        rtcOccluded16(valid, scene, &context, &ray);
        std::uint32_t open = 0;
        for (int i = 0; i < 16; ++i)
            open |= static_cast<std::uint32_t>(ray.tfar[i] >= 0) << i;
        open &= set.laneMask(tile);
        count += static_cast<std::uint32_t>(__builtin_popcount(open));
        if (mask)
            mask[tile / 4] |= static_cast<std::uint64_t>(open) << (tile % 4 * 16);
    }
    return count;
}

std::uint32_t ktEmbreeLoop::nearest(const ktRayVertex& vertex, const ktRayLimits& limits) const {
    const ktDirectionSet& set = vertex.directions->set;
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    context.flags = RTC_INTERSECT_CONTEXT_FLAG_COHERENT;
    alignas(64) RTCRayHit16 hit;
    alignas(64) int valid[16];
    prepare(vertex, limits, hit.ray);
    std::uint32_t count = 0;
    for (std::uint32_t tile = 0; tile < set.tileCount(); ++tile) {
        rotateTile(set.tiles[tile], vertex, hit.ray.dir_x, hit.ray.dir_y, hit.ray.dir_z);
        setReach(limits, hit.ray);
        setValid(set.laneMask(tile), valid);
        for (unsigned& id : hit.hit.geomID)
            id = RTC_INVALID_GEOMETRY_ID;
        rtcIntersect16(valid, scene, &context, &hit);
        for (unsigned id : hit.hit.geomID)
            count += id != RTC_INVALID_GEOMETRY_ID;
    }
    return count;
}
