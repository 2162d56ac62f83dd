// SPDX-License-Identifier: LGPL-2.1-or-later
// The vertices of one call are traced together. Each must get bit for bit the result that it gets alone.
#include "ktHemisphereSampler.h"
#include "ktHemisphereTracer.h"
#include "ktHostileMeshes.h"

#include <cfloat>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <random>

namespace {

using Hit = std::tuple<std::uint32_t, std::uint32_t, float, float, float, bool>;

/// Keeps every hit and calls the tracer in between, as gathering does.
struct Keeper : ktHitReceiver {
    std::map<std::uint32_t, std::vector<Hit>> hitsOf;
    const ktTracer* asked = nullptr;
    const ktRayVertex* askedVertex = nullptr;
    std::uint32_t answer = 0;

    void hits(std::uint32_t vertex, std::uint32_t tile, const ktHitPacket& packet) override {
        EXPECT_EQ(hitsOf[vertex].size(), 16u * tile);
        for (std::uint32_t i = 0; i < ktHitPacket::width; ++i) {
            if (packet.mesh[i] == ktHitPacket::noMesh)
                hitsOf[vertex].emplace_back(ktHitPacket::noMesh, 0, 0.0f, 0.0f, 0.0f, false);
            else
                hitsOf[vertex].emplace_back(packet.mesh[i], packet.triangle[i], packet.u[i], packet.v[i],
                                            packet.distance[i], packet.backSide >> i & 1);
        }
        if (asked)
            asked->countVisible(askedVertex, 1, {0.0f, FLT_MAX, true}, &answer, nullptr);
    }
};

struct Scene {
    std::vector<ktTestMesh> meshes;
    ktHemisphereTracer tracer;
    std::vector<ktDirectionSet> sets;
    std::vector<std::unique_ptr<ktPreparedDirections>> prepared;
    std::vector<ktRayVertex> vertices;
    ktRayLimits limits{0.0f, FLT_MAX, true};

    Scene(std::vector<ktTestMesh> shapes, std::uint32_t lanes) : meshes(std::move(shapes)), tracer(lanes) {
        std::vector<ktTracerMesh> views;
        for (ktTestMesh& mesh : meshes)
            views.push_back(mesh.view());
        EXPECT_TRUE(tracer.build(views, {}));
        // One tile up to three batches.
        for (const std::uint32_t side : {3u, 8u, 10u, 16u, 20u, 32u, 48u})
            sets.push_back(ktMakeHemisphereDirections(side, side, 1, 1, side));
        for (const ktDirectionSet& set : sets)
            prepared.push_back(tracer.prepareDirections(set));
        std::mt19937 generator(7);
        std::uniform_real_distribution<float> place(-2, 2), angle(0, 6.28f);
        for (int i = 0; i < 20; ++i) {
            const float a = angle(generator);
            vertices.push_back({{place(generator), place(generator), place(generator)},
                                {std::cos(a), std::sin(a), 0},
                                {-std::sin(a), std::cos(a), 0},
                                {0, 0, 1},
                                nullptr});
        }
    }

    void expectSameAsAlone(const std::string& what) {
        const auto count = static_cast<std::uint32_t>(vertices.size());
        std::vector<std::uint32_t> together(count);
        std::vector<std::vector<std::uint64_t>> masks(count);
        std::vector<std::uint64_t*> pointers;
        for (std::uint32_t v = 0; v < count; ++v) {
            masks[v].assign(vertices[v].directions->set.wordCount(), 77);
            pointers.push_back(masks[v].data());
        }
        tracer.countVisible(vertices.data(), count, limits, together.data(), pointers.data());
        Keeper all;
        all.asked = &tracer;
        all.askedVertex = &vertices[1];
        tracer.findNearest(vertices.data(), count, limits, all);
        std::size_t met = 0;
        for (std::uint32_t v = 0; v < count; ++v) {
            std::vector<std::uint64_t> mask(masks[v].size(), 99);
            std::uint64_t* const pointer = mask.data();
            std::uint32_t alone = 0;
            tracer.countVisible(&vertices[v], 1, limits, &alone, &pointer);
            EXPECT_EQ(alone, together[v]) << what << ", vertex " << v;
            EXPECT_EQ(mask, masks[v]) << what << ", vertex " << v;
            Keeper one;
            tracer.findNearest(&vertices[v], 1, limits, one);
            EXPECT_EQ(one.hitsOf[0].size(), 16u * vertices[v].directions->set.tileCount());
            EXPECT_TRUE(one.hitsOf[0] == all.hitsOf[v]) << what << ", vertex " << v;
            met += vertices[v].directions->set.count - alone;
        }
        EXPECT_GT(met, 0u) << what;
    }
};

const std::map<std::string, std::vector<ktTestMesh> (*)()> shapes{{"Soup", ktHostileMeshes::soup},
                                                                  {"CoplanarStack", ktHostileMeshes::coplanarStack},
                                                                  {"Spheres", ktHostileMeshes::spheres}};

} // namespace

class HemisphereGroup : public testing::TestWithParam<std::uint32_t> {};

INSTANTIATE_TEST_SUITE_P(Lanes, HemisphereGroup, testing::Values(4u, 8u, 16u), testing::PrintToStringParamName());

TEST_P(HemisphereGroup, GivenManyVertices_AnswersAsForEachAlone) {
    for (const auto& [name, make] : shapes) {
        Scene scene(make(), GetParam());
        for (const auto& prepared : scene.prepared) {
            for (ktRayVertex& vertex : scene.vertices)
                vertex.directions = prepared.get();
            scene.expectSameAsAlone(name + " " + std::to_string(prepared->set.count));
        }
        scene.limits = {0.01f, 2.5f, true};
        scene.expectSameAsAlone(name + " within limits");
    }
}

TEST_P(HemisphereGroup, GivenMixedDirectionsAndUnusableVertices_AnswersAsForEachAlone) {
    Scene scene(ktHostileMeshes::soup(), GetParam());
    for (std::size_t v = 0; v < scene.vertices.size(); ++v)
        scene.vertices[v].directions = scene.prepared[v / 3 % 2 ? v % 7 : 1].get();
    for (const std::size_t v : {0u, 7u, 8u, 19u})
        scene.vertices[v].origin[1] = std::numeric_limits<float>::quiet_NaN();
    scene.expectSameAsAlone("mixed");
    std::uint32_t visible = 0;
    scene.tracer.countVisible(&scene.vertices[7], 1, scene.limits, &visible, nullptr);
    EXPECT_EQ(visible, scene.vertices[7].directions->set.count); // a vertex that cannot be traced counts as open
}

TEST_P(HemisphereGroup, GivenNoVertices_ReturnsNoHits) {
    Scene scene(ktHostileMeshes::spheres(), GetParam());
    Keeper keeper;
    scene.tracer.findNearest(nullptr, 0, scene.limits, keeper);
    scene.tracer.countVisible(nullptr, 0, scene.limits, nullptr, nullptr);
    EXPECT_TRUE(keeper.hitsOf.empty());
}

TEST_P(HemisphereGroup, GivenEqualSheets_HitsTheFirst) {
    ktTestMesh sheets;
    for (int i = 0; i < 50; ++i)
        sheets.addQuad({-9, -9, 1}, {18, 0, 0}, {0, 18, 0});
    Scene scene({sheets, sheets}, GetParam());
    const ktDirectionSet few = ktMakeHemisphereDirections(2, 2, 1, 1, 1); // so few rays are tested one by one
    const auto preparedFew = scene.tracer.prepareDirections(few);
    for (const ktPreparedDirections* directions : {preparedFew.get(), scene.prepared[3].get()}) {
        for (ktRayVertex& vertex : scene.vertices) {
            vertex.directions = directions;
            vertex.origin[2] = 0.1f;
        }
        Keeper keeper;
        scene.tracer.findNearest(scene.vertices.data(), 20, scene.limits, keeper);
        std::size_t met = 0;
        for (const auto& [vertex, hits] : keeper.hitsOf) {
            for (const Hit& hit : hits) {
                if (std::get<0>(hit) == ktHitPacket::noMesh)
                    continue;
                ++met;
                EXPECT_EQ(std::get<0>(hit), 0u);
                EXPECT_LT(std::get<1>(hit), 2u); // the first of the hundred sheets
            }
        }
        EXPECT_GT(met, 10 * directions->set.count);
    }
    ktRayPacket packet{};
    packet.originZ[0] = 0.1f;
    packet.directionX[0] = 0.2f;
    packet.directionZ[0] = 0.9f;
    packet.maxDistance[0] = 100;
    packet.active = 1;
    ktHitPacket hits;
    scene.tracer.nearest(packet, true, hits);
    EXPECT_EQ(hits.mesh[0], 0u);
    EXPECT_LT(hits.triangle[0], 2u);
}
