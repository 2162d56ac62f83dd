// SPDX-License-Identifier: LGPL-2.1-or-later
// Traces the same rays with the hemisphere tracer and with Embree, and counts the differences.
#include "ktTracerComparison.h"

#include "ktEmbreeTracer.h"
#include "ktHemisphereSampler.h"
#include "ktHemisphereTracer.h"
#include "ktOneRing.h"
#include "ktRoundingJudge.h"
#include "ktVertexFrames.h"

#include <algorithm>
#include <cfloat>
#include <random>

namespace {

bool isUsable(const ktTestMesh& mesh, std::size_t firstIndex) {
    for (std::size_t k = 0; k < 3; ++k)
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (!(std::fabs(mesh.positions[3 * mesh.indices[firstIndex + k] + axis]) < 1e18f))
                return false;
    return true;
}

float diagonalOf(const std::vector<ktTestMesh>& meshes) {
    float lower[3] = {FLT_MAX, FLT_MAX, FLT_MAX}, upper[3] = {-FLT_MAX, -FLT_MAX, -FLT_MAX};
    for (const ktTestMesh& mesh : meshes) {
        for (std::size_t i = 0; i < mesh.indices.size(); ++i) {
            if (!isUsable(mesh, i - i % 3))
                continue;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                lower[axis] = std::min(lower[axis], mesh.positions[3 * mesh.indices[i] + axis]);
                upper[axis] = std::max(upper[axis], mesh.positions[3 * mesh.indices[i] + axis]);
            }
        }
    }
    return upper[0] < lower[0] ? 0 : std::hypot(upper[0] - lower[0], upper[1] - lower[1], upper[2] - lower[2]);
}

struct Hits : ktHitReceiver {
    std::vector<float> distance; // negative: no hit
    void hits(std::uint32_t, std::uint32_t, const ktHitPacket& packet) override {
        for (std::uint32_t i = 0; i < ktHitPacket::width; ++i)
            distance.push_back(packet.mesh[i] == ktHitPacket::noMesh ? -1.0f : packet.distance[i]);
    }
};

// The judge tests every triangle, which is slow. If more rays differ, something is wrong anyway.
constexpr std::uint64_t mostJudged = 400;

void count(const ktRoundingJudge& judge, const float* origin, const float* direction, const ktRayLimits& limits,
           bool oursMet, ktTracerComparison::Result& result) {
    if (++result.differing > mostJudged) {
        ++result.wrong;
        return;
    }
    const ktRoundingJudge::Verdict verdict = judge.judge(origin, direction, limits);
    if (verdict.isOpenToRounding())
        return;
    ++(verdict.certain == oursMet ? result.embreeWrong : result.wrong);
}

} // namespace

ktTracerComparison::ktTracerComparison(std::vector<ktTestMesh> shapes, std::uint32_t lanes, ktLeafKind kind)
    : meshes(std::move(shapes)), tracer(new ktHemisphereTracer(lanes, kind)) {
    for (ktTestMesh& mesh : meshes)
        views.push_back(mesh.view());
    tracer->build(views, {});
    size = diagonalOf(meshes);
}

const ktTracer& ktTracerComparison::embree() const {
    if (!oracle) {
        oracle = std::make_unique<ktEmbreeTracer>();
        oracle->build(views, {});
    }
    return *oracle;
}

void ktTracerComparison::addSurfaceVertices(std::size_t count, unsigned seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> unit(0, 1);
    const ktWorldTransform identity;
    const ktVertexFrames frames(identity, nullptr, size);
    std::vector<std::vector<ktOneRing>> oneRings;
    for (const ktTestMesh& mesh : meshes)
        oneRings.push_back(
            ktMakeOneRings(mesh.positions.data(), static_cast<std::uint32_t>(mesh.positions.size() / 3), mesh.indices));
    for (std::size_t tries = 0, wanted = vertices.size() + count; vertices.size() < wanted && tries < 20 * count;
         ++tries) {
        const std::size_t m = generator() % meshes.size();
        const ktTestMesh& mesh = meshes[m];
        if (mesh.indices.empty())
            continue;
        const std::size_t first = 3 * (generator() % (mesh.indices.size() / 3));
        if (!isUsable(mesh, first))
            continue;
        const std::uint32_t* corner = &mesh.indices[first];
        const auto at = [&](std::size_t i, std::size_t axis) { return mesh.positions[3 * corner[i] + axis]; };
        const bool isCorner = generator() % 2 == 0;
        const float u = isCorner ? 0 : unit(generator), v = isCorner ? 0 : (1 - u) * unit(generator);
        const float side = generator() % 4 == 0 ? -1.0f : 1.0f;
        float position[3], normal[3], a[3], b[3];
        for (std::size_t axis = 0; axis < 3; ++axis) {
            a[axis] = (at(1, axis) - at(0, axis)) / size;
            b[axis] = (at(2, axis) - at(0, axis)) / size;
            position[axis] = isCorner ? at(0, axis) : (1 - u - v) * at(0, axis) + u * at(1, axis) + v * at(2, axis);
        }
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::size_t y = (axis + 1) % 3, z = (axis + 2) % 3;
            normal[axis] = side * (a[y] * b[z] - a[z] * b[y]);
        }
        ktRayVertex vertex;
        if (frames.make(position, normal, isCorner ? oneRings[m][corner[0]] : ktOneRing(), vertex))
            vertices.push_back(vertex);
    }
}

void ktTracerComparison::addVertex(const float* origin, const float* normal) {
    const ktWorldTransform identity;
    const ktVertexFrames frames(identity, nullptr, 0);
    ktRayVertex vertex;
    if (!frames.make(origin, normal, ktOneRing(), vertex))
        return;
    std::copy(origin, origin + 3, vertex.origin);
    vertices.push_back(vertex);
}

ktRayLimits ktTracerComparison::widest() const {
    return {ktVertexFrames::minHitDistance(size), FLT_MAX, true};
}

ktTracerComparison::Result ktTracerComparison::occlusion(std::uint32_t countU, std::uint32_t countV,
                                                         const ktRayLimits& limits) const {
    const ktDirectionSet set = ktMakeHemisphereDirections(countU, countV, 0.25f, 0.25f, 1);
    const auto ours = tracer->prepareDirections(set), theirs = embree().prepareDirections(set);
    const ktRoundingJudge judge(views);
    std::vector<std::uint64_t> a(set.wordCount()), b(set.wordCount());
    std::uint64_t *const maskA[] = {a.data()}, *const maskB[] = {b.data()};
    Result result;
    for (ktRayVertex vertex : vertices) {
        std::uint32_t visible = 0;
        vertex.directions = ours.get();
        tracer->countVisible(&vertex, 1, limits, &visible, maskA);
        vertex.directions = theirs.get();
        embree().countVisible(&vertex, 1, limits, &visible, maskB);
        result.rays += set.count;
        result.met += set.count - visible;
        for (std::uint32_t ray = 0; ray < set.count; ++ray) {
            if (!((a[ray / 64] ^ b[ray / 64]) >> ray % 64 & 1))
                continue;
            float direction[3];
            ktRoundingJudge::directionOf(vertex, ray, direction);
            count(judge, vertex.origin, direction, limits, (b[ray / 64] >> ray % 64 & 1) != 0, result);
        }
    }
    return result;
}

ktTracerComparison::Result ktTracerComparison::nearest(std::uint32_t countU, std::uint32_t countV,
                                                       const ktRayLimits& limits) const {
    const ktDirectionSet set = ktMakeHemisphereDirections(countU, countV, 0.25f, 0.25f, 1);
    const auto ours = tracer->prepareDirections(set), theirs = embree().prepareDirections(set);
    const ktRoundingJudge judge(views);
    Result result;
    for (ktRayVertex vertex : vertices) {
        Hits a, b;
        vertex.directions = ours.get();
        tracer->findNearest(&vertex, 1, limits, a);
        vertex.directions = theirs.get();
        embree().findNearest(&vertex, 1, limits, b);
        result.rays += set.count;
        for (std::uint32_t ray = 0; ray < set.count; ++ray) {
            const float x = a.distance[ray], y = b.distance[ray];
            result.met += y >= 0;
            if ((x < 0) == (y < 0) && std::fabs(x - y) <= 1e-5f * std::max({x, y, size}))
                continue;
            // One tracer has a nearer hit than the other: this hit must depend on rounding.
            float direction[3];
            ktRoundingJudge::directionOf(vertex, ray, direction);
            ktRayLimits between = limits;
            if (x >= 0 && y >= 0)
                between.maxDistance = 0.5f * (x + y);
            count(judge, vertex.origin, direction, between, x >= 0 && x <= between.maxDistance, result);
        }
    }
    return result;
}

std::vector<std::uint32_t> ktTracerComparison::visible(std::uint32_t countU, std::uint32_t countV,
                                                       const ktRayLimits& limits) const {
    const ktDirectionSet set = ktMakeHemisphereDirections(countU, countV, 0.25f, 0.25f, 1);
    const auto prepared = tracer->prepareDirections(set);
    std::vector<std::uint32_t> counts(vertices.size());
    std::vector<ktRayVertex> batch = vertices;
    for (ktRayVertex& vertex : batch)
        vertex.directions = prepared.get();
    tracer->countVisible(batch.data(), static_cast<std::uint32_t>(batch.size()), limits, counts.data(), nullptr);
    return counts;
}
