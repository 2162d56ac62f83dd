// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds the true sky share of points by brute force, with independent random rays of Embree.
#include "ktSkyReference.h"

#include "ktQualityRandom.h"

#include <algorithm>
#include <cmath>
#include <embree3/rtcore.h>
#include <stdexcept>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

namespace {

double dot(const ktQualityVector& a, const ktQualityVector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

ktQualityVector cross(const ktQualityVector& a, const ktQualityVector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

// A vector of length 1; zero for one without direction.
ktQualityVector unit(const ktQualityVector& a) {
    const double length = std::sqrt(dot(a, a));
    if (!(length > 0))
        return {0, 0, 0};
    return {a[0] / length, a[1] / length, a[2] / length};
}

// Where the rays of a point start, and the frame of their directions.
struct Start {
    ktQualityVector origin, tangent, bitangent, normal;
    ktQualityVector face; // geometric normal, on the side of `normal`
    double offset;
};

Start startAt(const ktQualityMesh& mesh, const ktQualityPoint& point, double diagonal) {
    constexpr double offsetShare = 2e-6; // of the size of the numbers: a few times the rounding errors of floats
    const std::uint32_t* corner = &mesh.indices[3 * std::size_t(point.triangle)];
    const double weights[3] = {1.0 - point.u - point.v, point.u, point.v};
    ktQualityVector position{0, 0, 0}, shading{0, 0, 0};
    for (std::size_t i = 0; i < 3; ++i) {
        const ktQualityVector p = mesh.position(corner[i]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            position[axis] += weights[i] * p[axis];
            shading[axis] += weights[i] * mesh.cornerNormals[9 * std::size_t(point.triangle) + 3 * i + axis];
        }
    }
    Start start;
    ktQualityVector& face = start.face;
    face = unit(mesh.areaVector(point.triangle));
    start.normal = unit(shading);
    if (dot(start.normal, start.normal) == 0)
        start.normal = face;
    if (dot(face, start.normal) < 0)
        face = {-face[0], -face[1], -face[2]};
    double largest = diagonal;
    for (const double value : position)
        largest = std::max(largest, std::fabs(value));
    start.offset = offsetShare * largest;
    for (std::size_t axis = 0; axis < 3; ++axis)
        start.origin[axis] = position[axis] + start.offset * face[axis];
    const ktQualityVector& n = start.normal;
    const ktQualityVector aside = std::fabs(n[0]) < 0.6 ? ktQualityVector{1, 0, 0} : ktQualityVector{0, 1, 0};
    start.tangent = unit(cross(aside, n));
    start.bitangent = cross(n, start.tangent);
    return start;
}

// Independent random points of the unit square, as many as rays. Sorted into cells only so that the rays of a packet
// are neighbours, which is faster.
void chooseSquares(ktQualityRandom& random, unsigned rays, std::vector<float>& us, std::vector<float>& vs) {
    const auto cells = static_cast<std::uint32_t>(std::max(1.0, std::sqrt(rays / 16.0)));
    std::vector<float> u(rays), v(rays);
    std::vector<std::uint32_t> cell(rays), starts(cells * cells + 1, 0);
    for (unsigned i = 0; i < rays; ++i) {
        u[i] = random.nextFloat();
        v[i] = random.nextFloat();
        const auto row = std::min(cells - 1, static_cast<std::uint32_t>(u[i] * static_cast<float>(cells)));
        const auto column = std::min(cells - 1, static_cast<std::uint32_t>(v[i] * static_cast<float>(cells)));
        cell[i] = row * cells + column;
        ++starts[cell[i] + 1];
    }
    for (std::size_t i = 1; i < starts.size(); ++i)
        starts[i] += starts[i - 1];
    us.resize(rays);
    vs.resize(rays);
    for (unsigned i = 0; i < rays; ++i) {
        const std::uint32_t place = starts[cell[i]]++;
        us[place] = u[i];
        vs[place] = v[i];
    }
}

ktSkyEstimate estimateOne(RTCScene structure, const Start& start, const ktSkyReferenceOptions& options,
                          std::uint64_t stream) {
    ktQualityRandom random(options.seed, stream);
    static thread_local std::vector<float> us, vs;
    chooseSquares(random, options.rays, us, vs);
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    context.flags = RTC_INTERSECT_CONTEXT_FLAG_COHERENT;
    const auto near = static_cast<float>(std::max(options.minDistance_mm, 0.5 * start.offset));
    const auto far = static_cast<float>(options.maxDistance_mm);
    unsigned hits = 0, hitsAbove = 0, backsAbove = 0;
    alignas(64) RTCRayHit16 packet;
    alignas(64) int valid[16];
    for (unsigned first = 0; first < options.rays; first += 16) {
        const unsigned count = std::min(16u, options.rays - first);
        for (unsigned i = 0; i < 16; ++i) {
            valid[i] = i < count ? -1 : 0;
            const unsigned ray = first + std::min(i, count - 1);
            // Cosine-weighted: uniform on the disc below the hemisphere.
            const double radius = std::sqrt(us[ray]), angle = 2 * M_PI * vs[ray];
            const double x = radius * std::cos(angle), y = radius * std::sin(angle), z = std::sqrt(1.0 - us[ray]);
            float* const direction[3] = {packet.ray.dir_x, packet.ray.dir_y, packet.ray.dir_z};
            float* const origin[3] = {packet.ray.org_x, packet.ray.org_y, packet.ray.org_z};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                direction[axis][i] =
                    static_cast<float>(x * start.tangent[axis] + y * start.bitangent[axis] + z * start.normal[axis]);
                origin[axis][i] = static_cast<float>(start.origin[axis]);
            }
            packet.ray.tnear[i] = near;
            packet.ray.tfar[i] = far;
            packet.ray.time[i] = 0;
            packet.ray.mask[i] = 0xFFFFFFFFu;
            packet.ray.id[i] = packet.ray.flags[i] = 0;
            packet.hit.geomID[i] = RTC_INVALID_GEOMETRY_ID;
        }
        rtcIntersect16(valid, structure, &context, &packet);
        for (unsigned i = 0; i < count; ++i) {
            if (packet.hit.geomID[i] == RTC_INVALID_GEOMETRY_ID)
                continue;
            ++hits;
            const ktQualityVector direction{packet.ray.dir_x[i], packet.ray.dir_y[i], packet.ray.dir_z[i]};
            // Rays below the own face pass through it and see the back sides of the own solid.
            if (dot(direction, start.face) <= 0)
                continue;
            ++hitsAbove;
            backsAbove += dot(direction, {packet.hit.Ng_x[i], packet.hit.Ng_y[i], packet.hit.Ng_z[i]}) > 0;
        }
    }
    ktSkyEstimate estimate;
    estimate.sky = static_cast<float>(options.rays - hits) / static_cast<float>(options.rays);
    estimate.variance = estimate.sky * (1 - estimate.sky) / static_cast<float>(options.rays - 1);
    estimate.isInside = 2 * backsAbove > hitsAbove;
    return estimate;
}

} // namespace

ktSkyReference::ktSkyReference(const ktQualityScene& scene_)
    : scene(scene_), device(rtcNewDevice(nullptr)), structure(rtcNewScene(device)),
      diagonal(scene_.occluderDiagonal()) {
    rtcSetSceneBuildQuality(structure, RTC_BUILD_QUALITY_HIGH);
    rtcSetSceneFlags(structure, RTC_SCENE_FLAG_ROBUST);
    for (const ktQualityMesh& mesh : scene.meshes) {
        if (!mesh.isOccluder || mesh.indices.empty())
            continue;
        RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
        rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, mesh.positions.data(), 0, 12,
                                   mesh.vertexCount());
        rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, mesh.indices.data(), 0, 12,
                                   mesh.triangleCount());
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(structure, geometry);
        rtcReleaseGeometry(geometry);
    }
    rtcCommitScene(structure);
}

ktSkyReference::~ktSkyReference() {
    rtcReleaseScene(structure);
    rtcReleaseDevice(device);
}

std::vector<ktSkyEstimate> ktSkyReference::estimate(const std::vector<ktQualityPoint>& points,
                                                    const ktSkyReferenceOptions& options) const {
    if (options.rays < 2)
        throw std::invalid_argument("the reference needs at least 2 rays");
    std::vector<ktSkyEstimate> estimates(points.size());
    tbb::task_arena arena(options.threads == 0 ? tbb::task_arena::automatic : static_cast<int>(options.threads));
    arena.execute([&] {
        tbb::parallel_for(tbb::blocked_range<std::size_t>(0, points.size(), 16), [&](const auto& range) {
            for (std::size_t i = range.begin(); i < range.end(); ++i) {
                const Start start = startAt(scene.meshes[points[i].mesh], points[i], diagonal);
                estimates[i] = estimateOne(structure, start, options, i);
            }
        });
    });
    return estimates;
}
