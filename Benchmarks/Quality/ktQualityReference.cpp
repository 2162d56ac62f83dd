// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds the true sky share and light of points by brute force, with independent random rays of Embree.
#include "ktQualityReference.h"

#include "ktQualityRandom.h"

#include <algorithm>
#include <cmath>
#include <embree3/rtcore.h>
#include <memory>
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

ktQualityVector positionOf(const ktQualityMesh& mesh, const ktQualityPoint& point) {
    const std::uint32_t* corner = &mesh.indices[3 * std::size_t(point.triangle)];
    const double weights[3] = {1.0 - point.u - point.v, point.u, point.v};
    ktQualityVector position{0, 0, 0};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t axis = 0; axis < 3; ++axis)
            position[axis] += weights[i] * mesh.position(corner[i])[axis];
    return position;
}

Start startAt(const ktQualityMesh& mesh, const ktQualityPoint& point, double diagonal) {
    constexpr double offsetShare = 2e-6; // of the size of the numbers: a few times the rounding errors of floats
    const double weights[3] = {1.0 - point.u - point.v, point.u, point.v};
    const ktQualityVector position = positionOf(mesh, point);
    ktQualityVector shading{0, 0, 0};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t axis = 0; axis < 3; ++axis)
            shading[axis] += weights[i] * mesh.cornerNormals[9 * std::size_t(point.triangle) + 3 * i + axis];
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

// Traces the paths of one point after another. For one thread.
class Tracer {
public:
    Tracer(const ktQualityScene& scene_, RTCScene structure_, const std::vector<std::uint32_t>& meshes_,
           double diagonal_, const ktQualityTracing& tracing_)
        : scene(scene_), structure(structure_), meshes(meshes_), diagonal(diagonal_), tracing(tracing_) {}

    ktQualityEstimate estimate(const ktQualityPoint& point, std::uint64_t stream) {
        const Start start = startAt(scene.meshes[point.mesh], point, diagonal);
        ktQualityRandom random(tracing.seed, stream);
        chooseSquares(random, tracing.rays, us, vs);
        sums = Sums();
        for (unsigned first = 0; first < tracing.rays; first += width) {
            const unsigned count = std::min(width, tracing.rays - first);
            active = 0;
            for (unsigned i = 0; i < count; ++i)
                aim(i, start, us[first + i], vs[first + i]);
            trace(RTC_INTERSECT_CONTEXT_FLAG_COHERENT);
            countHits(start, count);
            for (unsigned bounce = 1; bounce <= tracing.bounces && active != 0; ++bounce) {
                reflect(random);
                if (active != 0)
                    trace(RTC_INTERSECT_CONTEXT_FLAG_INCOHERENT);
                addOpen();
            }
        }
        return result();
    }

private:
    static constexpr unsigned width = 16;

    struct Sums {
        unsigned open = 0, hitsAbove = 0, backsAbove = 0;
        double light[3] = {0, 0, 0}, squares[3] = {0, 0, 0};
    };

    // Sends a ray in a cosine-weighted direction: uniform on the disc below the hemisphere.
    void aim(unsigned lane, const Start& start, double u, double v) {
        const double radius = std::sqrt(u), angle = 2 * M_PI * v;
        const double x = radius * std::cos(angle), y = radius * std::sin(angle), z = std::sqrt(1.0 - u);
        float* const direction[3] = {packet.ray.dir_x, packet.ray.dir_y, packet.ray.dir_z};
        float* const origin[3] = {packet.ray.org_x, packet.ray.org_y, packet.ray.org_z};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            direction[axis][lane] =
                static_cast<float>(x * start.tangent[axis] + y * start.bitangent[axis] + z * start.normal[axis]);
            origin[axis][lane] = static_cast<float>(start.origin[axis]);
        }
        packet.ray.tnear[lane] = static_cast<float>(std::max(tracing.minDistance_mm, 0.5 * start.offset));
        active |= 1u << lane;
    }

    void trace(RTCIntersectContextFlags flags) {
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        context.flags = flags;
        alignas(64) int valid[width];
        for (unsigned i = 0; i < width; ++i) {
            valid[i] = isActive(i) ? -1 : 0;
            packet.ray.tfar[i] = static_cast<float>(tracing.maxDistance_mm);
            packet.ray.time[i] = 0;
            packet.ray.mask[i] = 0xFFFFFFFFu;
            packet.ray.id[i] = packet.ray.flags[i] = 0;
            packet.hit.geomID[i] = RTC_INVALID_GEOMETRY_ID;
        }
        rtcIntersect16(valid, structure, &context, &packet);
    }

    bool isActive(unsigned lane) const { return (active >> lane & 1u) != 0; }
    bool isOpen(unsigned lane) const { return packet.hit.geomID[lane] == RTC_INVALID_GEOMETRY_ID; }
    ktQualityVector direction(unsigned lane) const {
        return {packet.ray.dir_x[lane], packet.ray.dir_y[lane], packet.ray.dir_z[lane]};
    }
    bool hitsBack(unsigned lane) const {
        return dot(direction(lane), {packet.hit.Ng_x[lane], packet.hit.Ng_y[lane], packet.hit.Ng_z[lane]}) > 0;
    }

    // The first rays of the paths.
    void countHits(const Start& start, unsigned count) {
        for (unsigned i = 0; i < count; ++i) {
            std::fill_n(weight[i], 3, 1.0f);
            if (isOpen(i))
                ++sums.open;
            else if (dot(direction(i), start.face) > 0) {
                // Rays below the own face pass through it and see the back sides of the own solid.
                ++sums.hitsAbove;
                sums.backsAbove += hitsBack(i);
            }
        }
        addOpen();
    }

    // Adds the light of paths that have reached the sky. They end.
    void addOpen() {
        for (unsigned i = 0; i < width; ++i) {
            if (!isActive(i) || !isOpen(i))
                continue;
            for (std::size_t c = 0; c < 3; ++c) {
                sums.light[c] += weight[i][c];
                sums.squares[c] += static_cast<double>(weight[i][c]) * weight[i][c];
            }
            active &= ~(1u << i);
        }
    }

    // Aims the next rays of the paths. Those that have hit a back side or something black end.
    void reflect(ktQualityRandom& random) {
        for (unsigned i = 0; i < width; ++i) {
            if (!isActive(i))
                continue;
            active &= ~(1u << i);
            const ktQualityPoint hit{meshes[packet.hit.geomID[i]], packet.hit.primID[i], packet.hit.u[i],
                                     packet.hit.v[i]};
            const ktQualityMesh& mesh = scene.meshes[hit.mesh];
            if (hitsBack(i) || !mesh.albedo)
                continue;
            const std::array<float, 3> albedo = mesh.albedo(hit.triangle, hit.u, hit.v);
            for (std::size_t c = 0; c < 3; ++c)
                weight[i][c] *= albedo[c];
            if (weight[i][0] <= 0 && weight[i][1] <= 0 && weight[i][2] <= 0)
                continue;
            const double u = random.next(), v = random.next();
            aim(i, startAt(mesh, hit, diagonal), u, v);
        }
    }

    ktQualityEstimate result() const {
        const double rays = tracing.rays;
        ktQualityEstimate estimate;
        estimate.sky = static_cast<float>(sums.open / rays);
        estimate.skyVariance = estimate.sky * (1 - estimate.sky) / static_cast<float>(rays - 1);
        for (std::size_t c = 0; c < 3; ++c) {
            const double mean = sums.light[c] / rays;
            estimate.light[c] = static_cast<float>(mean);
            estimate.lightVariance[c] =
                static_cast<float>(std::max(0.0, sums.squares[c] / rays - mean * mean) / (rays - 1));
        }
        estimate.isInside = 2 * sums.backsAbove > sums.hitsAbove;
        return estimate;
    }

    const ktQualityScene& scene;
    RTCScene structure;
    const std::vector<std::uint32_t>& meshes;
    double diagonal;
    const ktQualityTracing& tracing;
    std::vector<float> us, vs;
    Sums sums;
    unsigned active = 0; // bit i: the path in lane i goes on
    float weight[width][3];
    alignas(64) RTCRayHit16 packet;
};

// Calls work(begin, end) for parts of the numbers below `count`, on several threads; 0: one a core.
template <class Work>
void forEach(std::size_t count, unsigned threads, const Work& work) {
    tbb::task_arena arena(threads == 0 ? tbb::task_arena::automatic : static_cast<int>(threads));
    arena.execute([&] {
        tbb::parallel_for(tbb::blocked_range<std::size_t>(0, count, 16),
                          [&](const auto& range) { work(range.begin(), range.end()); });
    });
}

// Squared distance of a point to the segment from a to b.
double squaredDistance(const ktQualityVector& p, const ktQualityVector& a, const ktQualityVector& b) {
    ktQualityVector along, to;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        along[axis] = b[axis] - a[axis];
        to[axis] = p[axis] - a[axis];
    }
    const double length = dot(along, along);
    const double t = length > 0 ? std::clamp(dot(to, along) / length, 0.0, 1.0) : 0;
    for (std::size_t axis = 0; axis < 3; ++axis)
        to[axis] -= t * along[axis];
    return dot(to, to);
}

double distanceToTriangle(const ktQualityVector& p, const ktQualityVector* corners) {
    ktQualityVector edges[2], to;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        edges[0][axis] = corners[1][axis] - corners[0][axis];
        edges[1][axis] = corners[2][axis] - corners[0][axis];
        to[axis] = p[axis] - corners[0][axis];
    }
    const ktQualityVector normal = unit(cross(edges[0], edges[1]));
    bool isAbove = dot(normal, normal) > 0; // the point's projection is inside the triangle
    double square = HUGE_VAL;
    for (std::size_t i = 0; i < 3; ++i) {
        const ktQualityVector &a = corners[i], &b = corners[(i + 1) % 3];
        square = std::min(square, squaredDistance(p, a, b));
        isAbove =
            isAbove &&
            dot(cross({b[0] - a[0], b[1] - a[1], b[2] - a[2]}, {p[0] - a[0], p[1] - a[1], p[2] - a[2]}), normal) >= 0;
    }
    return isAbove ? std::fabs(dot(to, normal)) : std::sqrt(square);
}

// What the callback of a point query reads and writes.
struct Nearest {
    const ktQualityScene* scene;
    const std::vector<std::uint32_t>* meshes;
    std::uint32_t own;
    ktQualityVector point;
    double distance;
};

bool visitTriangle(RTCPointQueryFunctionArguments* arguments) {
    Nearest& nearest = *static_cast<Nearest*>(arguments->userPtr);
    const std::uint32_t number = (*nearest.meshes)[arguments->geomID];
    if (number == nearest.own)
        return false;
    const ktQualityMesh& mesh = nearest.scene->meshes[number];
    ktQualityVector corners[3];
    for (std::size_t i = 0; i < 3; ++i)
        corners[i] = mesh.position(mesh.indices[3 * std::size_t(arguments->primID) + i]);
    const double distance = distanceToTriangle(nearest.point, corners);
    if (distance > arguments->query->radius || distance >= nearest.distance)
        return false;
    nearest.distance = distance;
    arguments->query->radius = static_cast<float>(distance);
    return true;
}

} // namespace

ktQualityReference::ktQualityReference(const ktQualityScene& scene_)
    : scene(scene_), device(rtcNewDevice(nullptr)), structure(rtcNewScene(device)),
      diagonal(scene_.occluderDiagonal()) {
    rtcSetSceneBuildQuality(structure, RTC_BUILD_QUALITY_HIGH);
    rtcSetSceneFlags(structure, RTC_SCENE_FLAG_ROBUST);
    for (std::uint32_t number = 0; number < scene.meshes.size(); ++number) {
        const ktQualityMesh& mesh = scene.meshes[number];
        if (!mesh.isOccluder || mesh.indices.empty())
            continue;
        meshes.push_back(number);
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

ktQualityReference::~ktQualityReference() {
    rtcReleaseScene(structure);
    rtcReleaseDevice(device);
}

std::vector<ktQualityEstimate> ktQualityReference::estimate(const std::vector<ktQualityPoint>& points,
                                                            const ktQualityTracing& tracing) const {
    if (tracing.rays < 2)
        throw std::invalid_argument("the reference needs at least 2 rays");
    std::vector<ktQualityEstimate> estimates(points.size());
    forEach(points.size(), tracing.threads, [&](std::size_t begin, std::size_t end) {
        const auto tracer = std::make_unique<Tracer>(scene, structure, meshes, diagonal, tracing);
        for (std::size_t i = begin; i < end; ++i)
            estimates[i] = tracer->estimate(points[i], i);
    });
    return estimates;
}

std::vector<double> ktQualityReference::distancesToOthers(const std::vector<ktQualityPoint>& points, double limit_mm,
                                                          unsigned threads) const {
    std::vector<double> distances(points.size(), HUGE_VAL);
    forEach(points.size(), threads, [&](std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            Nearest nearest{&scene, &meshes, points[i].mesh, positionOf(scene.meshes[points[i].mesh], points[i]),
                            HUGE_VAL};
            RTCPointQuery query;
            query.x = static_cast<float>(nearest.point[0]);
            query.y = static_cast<float>(nearest.point[1]);
            query.z = static_cast<float>(nearest.point[2]);
            query.radius = static_cast<float>(limit_mm);
            query.time = 0;
            RTCPointQueryContext context;
            rtcInitPointQueryContext(&context);
            rtcPointQuery(structure, &query, &context, visitTriangle, &nearest);
            distances[i] = nearest.distance;
        }
    });
    return distances;
}
