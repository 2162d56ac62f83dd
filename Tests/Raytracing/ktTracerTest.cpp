// SPDX-License-Identifier: LGPL-2.1-or-later
// Requirements on every tracer: the same tests run for Embree and for the hemisphere tracer.
#include "ktBruteForce.h"
#include "ktEmbreeTracer.h"
#include "ktHemisphereSampler.h"
#include "ktHemisphereTracer.h"

#include <cfloat>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace {

struct Kind {
    std::string name;
    std::function<std::unique_ptr<ktTracer>()> make;
};

void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.name;
}

std::unique_ptr<ktTracer> makeEmbree(const char* config) {
    return std::make_unique<ktEmbreeTracer>(config);
}

class Tracer : public testing::TestWithParam<Kind> {
protected:
    void build(const std::vector<ktTestMesh>& shapes) {
        meshes = shapes;
        std::vector<ktTracerMesh> views;
        for (ktTestMesh& mesh : meshes)
            views.push_back(mesh.view());
        ASSERT_TRUE(tracer->build(views, {}));
    }

    ktRayVertex vertexAt(float x, float y, float z) const {
        return {{x, y, z}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, prepared.get()};
    }

    double openShare(const ktRayVertex& vertex, const ktRayLimits& limits) const {
        std::uint32_t visible = 0;
        tracer->countVisible(&vertex, 1, limits, &visible, nullptr);
        return double(visible) / set.count;
    }

    std::unique_ptr<ktTracer> tracer = GetParam().make();
    ktDirectionSet set = ktMakeHemisphereDirections(32, 32, 0.25f, 0.25f, 1);
    std::unique_ptr<ktPreparedDirections> prepared = tracer->prepareDirections(set);
    std::vector<ktTestMesh> meshes;
    ktRayLimits unlimited{0.0f, FLT_MAX, true};
};

ktTestMesh discAbove(double radius, double height) {
    ktTestMesh mesh;
    mesh.addDisc(radius, height, 256);
    return mesh;
}

ktRayPacket onePacket(const std::vector<std::array<double, 6>>& rays, float minDistance, float maxDistance) {
    ktRayPacket packet;
    for (std::uint32_t i = 0; i < rays.size(); ++i) {
        packet.originX[i] = float(rays[i][0]);
        packet.originY[i] = float(rays[i][1]);
        packet.originZ[i] = float(rays[i][2]);
        packet.directionX[i] = float(rays[i][3]);
        packet.directionY[i] = float(rays[i][4]);
        packet.directionZ[i] = float(rays[i][5]);
        packet.minDistance[i] = minDistance;
        packet.maxDistance[i] = maxDistance;
        packet.active |= 1u << i;
    }
    return packet;
}

// One tracer for each packet width that this processor has.
std::vector<Kind> tracerKinds() {
    std::vector<Kind> kinds{{"Embree", [] { return makeEmbree(nullptr); }},
                            {"EmbreeSse42", [] { return makeEmbree("isa=sse4.2"); }}};
    if (__builtin_cpu_supports("avx2"))
        kinds.push_back({"EmbreeAvx2", [] { return makeEmbree("isa=avx2"); }});
    for (const std::uint32_t lanes : {4u, 8u, 16u})
        if (ktHemisphereTracer(lanes).laneCount() == lanes)
            for (const auto kind : {ktLeafKind::Unindexed, ktLeafKind::Patches})
                kinds.push_back(
                    {"Hemisphere" + std::to_string(lanes) + (kind == ktLeafKind::Unindexed ? "" : "Patches"),
                     [=] { return std::make_unique<ktHemisphereTracer>(lanes, kind); }});
    return kinds;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(All, Tracer, testing::ValuesIn(tracerKinds()),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(Tracer, GivenNothingBuilt_SeesNothing) {
    EXPECT_EQ(openShare(vertexAt(0, 0, 0), unlimited), 1.0);
    const ktRayPacket packet = onePacket({{0, 0, 0, 0, 0, 1}}, 0, FLT_MAX);
    EXPECT_EQ(tracer->occluded(packet, true), 0u);
    ktHitPacket hits;
    tracer->nearest(packet, true, hits);
    EXPECT_EQ(hits.mesh[0], ktHitPacket::noMesh);
}

TEST_P(Tracer, GivenCoaxialDisc_LeavesTheKnownShare) {
    build({discAbove(2.0, 1.5)});
    EXPECT_NEAR(openShare(vertexAt(0, 0, 0), unlimited), 1.5 * 1.5 / (1.5 * 1.5 + 2.0 * 2.0), 0.005);
}

TEST_P(Tracer, GivenClosedSphere_SeesNoSky) {
    ktTestMesh sphere;
    sphere.addSphere(3.0, 40, 80);
    build({sphere});
    EXPECT_EQ(openShare(vertexAt(0.3f, -0.2f, 0.5f), unlimited), 0.0);
}

TEST_P(Tracer, GivenDistances_CountsOnlyHitsBetweenThem) {
    ktTestMesh sphere;
    sphere.addSphere(3.0, 40, 80);
    build({sphere});
    const ktRayVertex centre = vertexAt(0, 0, 0);
    EXPECT_EQ(openShare(centre, {0.0f, 2.9f, true}), 1.0);
    EXPECT_EQ(openShare(centre, {3.1f, FLT_MAX, true}), 1.0);
    EXPECT_EQ(openShare(centre, {2.9f, 3.1f, true}), 0.0);
    EXPECT_EQ(openShare(centre, {3.1f, 2.9f, true}), 1.0);
}

TEST_P(Tracer, GivenNearerHitBelowMinimum_StillHitsWhatIsBehind) {
    build({discAbove(200.0, 1.0), discAbove(200.0, 2.0)});
    const ktRayPacket packet = onePacket({{0, 0, 0, 0, 0, 1}}, 1.5f, FLT_MAX);
    ktHitPacket hits;
    tracer->nearest(packet, true, hits);
    EXPECT_EQ(hits.mesh[0], 1u);
    EXPECT_FLOAT_EQ(hits.distance[0], 2.0f);
}

TEST_P(Tracer, GivenFrontSidesOnly_IgnoresBacks) {
    ktTestMesh sphere; // front faces outwards, so that its inside is the back
    sphere.addSphere(3.0, 40, 80);
    build({sphere});
    EXPECT_EQ(openShare(vertexAt(0, 0, 0), {0.0f, FLT_MAX, false}), 1.0);
    EXPECT_EQ(openShare(vertexAt(0, 0, 0), {0.0f, FLT_MAX, true}), 0.0);
    // Seen from below, the near side is a front.
    EXPECT_EQ(openShare(vertexAt(0, 0, -3.5f), {0.0f, FLT_MAX, false}), openShare(vertexAt(0, 0, -3.5f), unlimited));
    const ktRayPacket packet = onePacket({{0, 0, 0, 0, 0, 1}, {0, 0, 10, 0, 0, -1}}, 0, FLT_MAX);
    EXPECT_EQ(tracer->occluded(packet, false), 2u);
    EXPECT_EQ(tracer->occluded(packet, true), 3u);
    ktHitPacket hits;
    tracer->nearest(packet, true, hits);
    EXPECT_EQ(hits.backSide & 3u, 1u);
    tracer->nearest(packet, false, hits);
    EXPECT_EQ(hits.mesh[0], ktHitPacket::noMesh);
    EXPECT_EQ(hits.mesh[1], 0u);
}

TEST_P(Tracer, GivenFrontSidesOnly_HitsFrontBehindBack) {
    ktTestMesh up, down; // two sheets above the origin: the back of the nearer, the front of the farther
    up.addQuad({-9, -9, 1}, {18, 0, 0}, {0, 18, 0});
    down.addQuad({-9, -9, 2}, {0, 18, 0}, {18, 0, 0});
    build({up, down});
    ktHitPacket hits;
    const ktRayPacket packet = onePacket({{0.1, 0.2, 0, 0, 0, 1}}, 0, FLT_MAX);
    tracer->nearest(packet, false, hits);
    EXPECT_EQ(hits.mesh[0], 1u);
    EXPECT_EQ(tracer->occluded(packet, false), 1u);
}

TEST_P(Tracer, GivenMasks_AgreesWithCounts) {
    build({discAbove(2.0, 1.5)});
    const ktDirectionSet uneven = ktMakeHemisphereDirections(9, 11, 0.25f, 0.25f, 1);
    const auto preparedUneven = tracer->prepareDirections(uneven);
    std::vector<ktRayVertex> vertices{vertexAt(0, 0, 0), vertexAt(1, 0, 0), vertexAt(5, 0, 1)};
    vertices[1].directions = preparedUneven.get();
    std::vector<std::uint64_t> first(set.wordCount(), ~0ull), second(uneven.wordCount(), ~0ull);
    std::uint64_t* const masks[] = {first.data(), second.data(), nullptr};
    std::uint32_t counts[3], countsAlone[3];
    tracer->countVisible(vertices.data(), 3, unlimited, counts, masks);
    tracer->countVisible(vertices.data(), 3, unlimited, countsAlone, nullptr);
    const auto bits = [](const std::vector<std::uint64_t>& words) {
        std::uint32_t sum = 0;
        for (std::uint64_t word : words)
            sum += static_cast<std::uint32_t>(__builtin_popcountll(word));
        return sum;
    };
    EXPECT_EQ(bits(first), counts[0]);
    EXPECT_EQ(bits(second), counts[1]);
    EXPECT_EQ(second[1] >> (uneven.count - 64), 0u);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(counts[i], countsAlone[i]);
    EXPECT_LT(counts[1], uneven.count);
}

TEST_P(Tracer, GivenBatchOrSingleVertices_GivesTheSame) {
    build({discAbove(2.0, 1.5)});
    std::vector<ktRayVertex> vertices;
    for (int i = 0; i < 100; ++i)
        vertices.push_back(vertexAt(0.07f * float(i), 0.03f * float(i), 0.0f));
    std::vector<std::uint32_t> together(100);
    tracer->countVisible(vertices.data(), 100, unlimited, together.data(), nullptr);
    for (std::size_t i = 0; i < 100; ++i) {
        std::uint32_t alone = 0;
        tracer->countVisible(&vertices[i], 1, unlimited, &alone, nullptr);
        EXPECT_EQ(alone, together[i]) << i;
    }
}

TEST_P(Tracer, GivenRandomTriangles_AgreesWithBruteForceRayByRay) {
    std::mt19937 generator(11);
    std::uniform_real_distribution<double> place(-2, 2), size(-0.8, 0.8);
    std::vector<ktTestMesh> shapes(3);
    for (ktTestMesh& mesh : shapes) {
        for (int i = 0; i < 60; ++i) {
            const double p[3] = {place(generator), place(generator), place(generator)};
            std::uint32_t corners[3];
            for (std::uint32_t& corner : corners)
                corner = mesh.addVertex(p[0] + size(generator), p[1] + size(generator), p[2] + size(generator));
            mesh.addTriangle(corners[0], corners[1], corners[2]);
        }
    }
    build(shapes);
    const ktBruteForce oracle(meshes);
    for (const bool bothSides : {true, false}) {
        const ktRayLimits limits{0.3f, 2.5f, bothSides};
        const ktRayVertex vertex = vertexAt(0.1f, 0.05f, -0.2f);
        std::vector<std::uint64_t> mask(set.wordCount());
        std::uint64_t* const masks[] = {mask.data()};
        std::uint32_t visible = 0;
        tracer->countVisible(&vertex, 1, limits, &visible, masks);

        struct Receiver : ktHitReceiver {
            std::vector<ktHitPacket> packets;
            void hits(std::uint32_t, std::uint32_t tile, const ktHitPacket& packet) override {
                EXPECT_EQ(tile, packets.size());
                packets.push_back(packet);
            }
        } receiver;
        tracer->findNearest(&vertex, 1, limits, receiver);
        ASSERT_EQ(receiver.packets.size(), set.tileCount());

        int wrong = 0, met = 0;
        for (std::uint32_t ray = 0; ray < set.count; ++ray) {
            const ktDirectionTile& tile = set.tiles[ray / 16];
            const double origin[3] = {vertex.origin[0], vertex.origin[1], vertex.origin[2]};
            const double direction[3] = {tile.x[ray % 16], tile.y[ray % 16], tile.z[ray % 16]};
            const auto expected = oracle.nearest(origin, direction, limits.minDistance, limits.maxDistance, bothSides);
            const bool open = (mask[ray / 64] >> (ray % 64) & 1u) != 0;
            const ktHitPacket& hits = receiver.packets[ray / 16];
            met += expected.mesh >= 0;
            if (open != (expected.mesh < 0) || hits.mesh[ray % 16] != static_cast<std::uint32_t>(expected.mesh)) {
                ++wrong;
                continue;
            }
            if (expected.mesh < 0)
                continue;
            EXPECT_EQ(hits.triangle[ray % 16], static_cast<std::uint32_t>(expected.triangle));
            EXPECT_NEAR(hits.distance[ray % 16], expected.distance, 1e-4);
            EXPECT_NEAR(hits.u[ray % 16], expected.u, 1e-3);
            EXPECT_NEAR(hits.v[ray % 16], expected.v, 1e-3);
            EXPECT_EQ((hits.backSide >> (ray % 16) & 1u) != 0, expected.backSide);
        }
        EXPECT_LE(wrong, 2); // a ray through an edge may pass on either side
        EXPECT_GT(met, 200);
    }
}

TEST_P(Tracer, GivenLimitsPerRay_ObeysThem) {
    build({discAbove(2.0, 1.0)});
    ktRayPacket packet = onePacket({{0, 0.1, 0, 0, 0, 1}, {0, 0.1, 0, 0, 0, 1}, {0, 0.1, 0, 0, 0, 1}}, 0, FLT_MAX);
    packet.maxDistance[0] = 0.9f;
    packet.maxDistance[1] = 1.1f;
    packet.active = 3;
    EXPECT_EQ(tracer->occluded(packet, true), 2u);
}

TEST_P(Tracer, GivenNaNRay_LeavesItOpen) {
    build({discAbove(2.0, 1.0)});
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    const ktRayPacket packet =
        onePacket({{nan, 0, 0, 0, 0, 1}, {0, 0, 0, nan, 0, 1}, {0, inf, 0, 0, 0, 1}, {0, 0.1, 0, 0, 0, 1}}, 0, FLT_MAX);
    EXPECT_EQ(tracer->occluded(packet, true), 8u);
    EXPECT_EQ(openShare(vertexAt(float(nan), 0, 0), unlimited), 1.0);
    EXPECT_EQ(openShare(vertexAt(float(inf), 0, 0), unlimited), 1.0);
}

TEST_P(Tracer, GivenDegenerateTriangles_NeverHitsThem) {
    ktTestMesh mesh;
    const std::uint32_t a = mesh.addVertex(-1, -1, 1), b = mesh.addVertex(1, 1, 1), c = mesh.addVertex(0, 0, 1);
    mesh.addTriangle(a, b, c);
    mesh.addTriangle(a, a, b);
    mesh.addTriangle(c, c, c);
    build({mesh, ktTestMesh()});
    EXPECT_EQ(openShare(vertexAt(0, 0, 0), unlimited), 1.0);
}

TEST_P(Tracer, GivenStoppedBuild_IsEmpty) {
    ktTestMesh sphere;
    sphere.addSphere(3.0, 100, 100);
    std::vector<ktTracerMesh> views{sphere.view()};
    ASSERT_TRUE(tracer->build(views, {}));
    EXPECT_EQ(openShare(vertexAt(0, 0, 0), unlimited), 0.0);
    EXPECT_FALSE(tracer->build(views, [](float) { return false; }));
    EXPECT_EQ(openShare(vertexAt(0, 0, 0), unlimited), 1.0);
    EXPECT_TRUE(tracer->build(views, [](float) { return true; }));
    EXPECT_EQ(openShare(vertexAt(0, 0, 0), unlimited), 0.0);
}

TEST(EmbreeTracer, GivenProcessor_UsesItsWidestVectors) {
    EXPECT_EQ(ktEmbreeTracer("isa=sse4.2").packetWidth(), 4u);
    if (__builtin_cpu_supports("avx2")) {
        EXPECT_EQ(ktEmbreeTracer("isa=avx2").packetWidth(), 8u);
    }
    if (__builtin_cpu_supports("avx512vl")) {
        EXPECT_EQ(ktEmbreeTracer().packetWidth(), 16u);
    }
}
