// SPDX-License-Identifier: LGPL-2.1-or-later
// Instances in the hemisphere tracer: every answer has the bits that it has if all instances are written out.
#include "ktFlushDenormals.h"
#include "ktHemisphereSampler.h"
#include "ktHemisphereTracer.h"
#include "ktHostileMeshes.h"
#include "ktWorldTransform.h"

#include <atomic>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <deque>
#include <gtest/gtest.h>
#include <random>
#include <tbb/global_control.h>
#include <tbb/task_arena.h>

namespace {

osg::Matrix matrix(const float (&rows)[3][4]) {
    osg::Matrix m;
    for (osg::UInt32 row = 0; row < 3; ++row)
        for (osg::UInt32 column = 0; column < 4; ++column)
            m[column][row] = rows[row][column];
    return m;
}

/// The same scene twice: with instances, and written out.
struct Scene {
    std::deque<ktTestMesh> meshes; // of parts, and of instances written out
    std::deque<ktWorldTransform> transforms;
    std::vector<ktTracerMesh> instanced, writtenOut;
    std::mt19937 generator{5};

    float random(float low, float high) { return std::uniform_real_distribution<float>(low, high)(generator); }

    ktTestMesh& addPart(const ktTestMesh& part) { return meshes.emplace_back(part); }

    void addInstance(ktTestMesh& part, const osg::Matrix& m) {
        transforms.emplace_back(m);
        instanced.push_back(part.view());
        instanced.back().toWorld = transforms.back().rows();
        ktTestMesh& copy = meshes.emplace_back(part);
        for (std::size_t i = 0; i + 2 < copy.positions.size(); i += 3)
            transforms.back().position(&part.positions[i], &copy.positions[i]);
        writtenOut.push_back(copy.view());
    }

    void addPlain(const ktTestMesh& mesh) {
        instanced.push_back(meshes.emplace_back(mesh).view());
        writtenOut.push_back(instanced.back());
    }

    /// Turned by any angle, scaled by 0.5 to 1, around `place`.
    osg::Matrix turned(float x, float y, float z) {
        const float a = random(0, 6.28f), b = random(0, 6.28f), s = random(0.5f, 1);
        const float ca = s * std::cos(a), sa = s * std::sin(a), cb = std::cos(b), sb = std::sin(b);
        return matrix({{ca, -sa * cb, sa * sb, x}, {sa, ca * cb, -ca * sb, y}, {0, s * sb, s * cb, z}});
    }
};

ktTestMesh bumpySphere() {
    ktTestMesh mesh;
    mesh.addSphere(1, 20, 40);
    for (float& coordinate : mesh.positions)
        coordinate *= 1 + 0.1f * std::sin(13 * coordinate);
    return mesh;
}

/// Parts that overlap, in all kinds of instances, among other meshes.
void fillWithAll(Scene& scene) {
    ktTestMesh& part = scene.addPart(bumpySphere());
    ktTestMesh& small = scene.addPart(ktTestMesh());
    small.addQuad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0});
    ktTestMesh& mirroredPart = scene.addPart(part);
    for (std::size_t i = 0; i < mirroredPart.indices.size(); i += 3)
        std::swap(mirroredPart.indices[i + 1], mirroredPart.indices[i + 2]);
    for (int i = 0; i < 30; ++i) {
        const float x = scene.random(-4, 4), y = scene.random(-4, 4), z = scene.random(-4, 4);
        scene.addInstance(i % 3 ? part : small, scene.turned(x, y, z));
    }
    scene.addPlain(bumpySphere());
    scene.addInstance(mirroredPart, matrix({{-1, 0, 0, 3}, {0, 1, 0, 0}, {0, 0, 1, 2}}));
    scene.addInstance(part, matrix({{1, 0.7f, 0, -3}, {0, 1, 0.9f, 1}, {0.3f, 0, 1, 0}}));      // sheared
    scene.addInstance(part, matrix({{0.01f, 0, 0, 2}, {0, 3, 0, 1}, {0, 0, 0.2f, -2}}));        // stretched
    scene.addInstance(part, matrix({{1e-7f, 0, 0, 1}, {0, 2, 0, 1}, {0, 0, 2, -3}}));           // almost flat
    scene.addInstance(part, matrix({{1, 0, 0, -1}, {0, 0, 0, 1.5f}, {0, 0, 1, -3}}));           // flat
    scene.addInstance(part, matrix({{0, 0, 0, 1}, {0, 0, 0, 1}, {0, 0, 0, 1}}));                // a point
    scene.addInstance(small, matrix({{1e4f, 0, 0, 0}, {0, 1e4f, 0, 0}, {0, 0, 1, -6}}));        // a floor
    scene.addInstance(part, matrix({{1e-4f, 0, 0, 0}, {0, 1e-4f, 0, 0}, {0, 0, 1e-4f, 0.1f}})); // tiny
    // Equal instances, and one written out: of hits at the same distance, the first counts.
    for (int i = 0; i < 3; ++i)
        scene.addInstance(part, matrix({{1, 0, 0, -2}, {0, 1, 0, -2}, {0, 0, 1, 2}}));
    scene.addPlain(*std::prev(scene.meshes.end()));
    ktTestMesh quad;
    quad.addQuad({-5, -5, -5}, {0, 10, 0}, {0, 0, 10});
    scene.addPlain(quad);
    scene.addInstance(scene.addPart(ktTestMesh()), scene.turned(0, 0, 0)); // no triangles
}

/// All hits of a call, as words.
struct Recorder : ktHitReceiver {
    std::vector<std::uint32_t> words;

    void hits(std::uint32_t vertex, std::uint32_t tile, const ktHitPacket& packet) override {
        words.insert(words.end(), {vertex, tile});
        for (std::uint32_t i = 0; i < ktHitPacket::width; ++i) {
            words.push_back(packet.mesh[i]);
            if (packet.mesh[i] == ktHitPacket::noMesh)
                continue;
            std::uint32_t bits[3];
            std::memcpy(&bits[0], &packet.u[i], 4);
            std::memcpy(&bits[1], &packet.v[i], 4);
            std::memcpy(&bits[2], &packet.distance[i], 4);
            words.insert(words.end(), {packet.triangle[i], bits[0], bits[1], bits[2], packet.backSide >> i & 1});
        }
    }
};

std::vector<ktRayVertex> makeVertices(Scene& scene, float reach, std::size_t count, float middle = 0) {
    std::vector<ktRayVertex> vertices(count);
    for (ktRayVertex& vertex : vertices) {
        for (float& o : vertex.origin)
            o = middle + scene.random(-reach, reach);
        const float a = scene.random(0, 6.28f), z = scene.random(-1, 1), r = std::sqrt(1 - z * z);
        const float n[3] = {r * std::cos(a), r * std::sin(a), z}, t[3] = {-std::sin(a), std::cos(a), 0};
        for (int i = 0; i < 3; ++i) {
            vertex.normal[i] = n[i];
            vertex.tangent[i] = t[i];
            vertex.bitangent[i] = n[(i + 1) % 3] * t[(i + 2) % 3] - n[(i + 2) % 3] * t[(i + 1) % 3];
        }
    }
    return vertices;
}

std::vector<std::uint32_t> answers(const ktHemisphereTracer& tracer, std::vector<ktRayVertex> vertices,
                                   const ktDirectionSet& set, const ktRayLimits& limits) {
    const ktFlushDenormals asInWorkers;
    const auto prepared = tracer.prepareDirections(set);
    for (ktRayVertex& vertex : vertices)
        vertex.directions = prepared.get();
    const auto count = static_cast<std::uint32_t>(vertices.size());
    Recorder recorder;
    tracer.findNearest(vertices.data(), count, limits, recorder);
    std::vector<std::uint32_t> visible(count);
    std::vector<std::uint64_t> words(std::size_t(count) * set.wordCount());
    std::vector<std::uint64_t*> masks;
    for (std::uint32_t v = 0; v < count; ++v)
        masks.push_back(&words[std::size_t(v) * set.wordCount()]);
    tracer.countVisible(vertices.data(), count, limits, visible.data(), masks.data());
    recorder.words.insert(recorder.words.end(), visible.begin(), visible.end());
    for (const std::uint64_t word : words)
        recorder.words.insert(recorder.words.end(),
                              {static_cast<std::uint32_t>(word), static_cast<std::uint32_t>(word >> 32)});
    // Single rays.
    for (std::uint32_t first = 0; first + 16 <= count; first += 16) {
        ktRayPacket rays;
        rays.active = 0xFFFF;
        for (std::uint32_t i = 0; i < 16; ++i) {
            const ktRayVertex& vertex = vertices[first + i];
            rays.originX[i] = vertex.origin[0];
            rays.originY[i] = vertex.origin[1];
            rays.originZ[i] = vertex.origin[2];
            rays.directionX[i] = vertex.normal[0];
            rays.directionY[i] = vertex.normal[1];
            rays.directionZ[i] = vertex.normal[2];
            rays.minDistance[i] = limits.minDistance;
            rays.maxDistance[i] = limits.maxDistance;
        }
        ktHitPacket hits;
        tracer.nearest(rays, limits.bothSides, hits);
        recorder.hits(first, 0, hits);
        recorder.words.push_back(tracer.occluded(rays, limits.bothSides));
    }
    return recorder.words;
}

void expectEqualAnswers(Scene& scene, float reach, std::size_t vertexCount,
                        const std::vector<std::uint32_t>& lanesToTest = {16, 8, 4}, float middle = 0) {
    const std::vector<ktRayVertex> vertices = makeVertices(scene, reach, vertexCount, middle);
    for (const std::uint32_t lanes : lanesToTest) {
        for (const ktLeafKind kind : {ktLeafKind::Unindexed, ktLeafKind::Patches}) {
            ktHemisphereTracer instanced(lanes, kind), writtenOut(lanes, kind);
            ASSERT_TRUE(instanced.build(scene.instanced, {}));
            ASSERT_TRUE(writtenOut.build(scene.writtenOut, {}));
            EXPECT_GT(instanced.twoLevelBvh().memory(), 0u);
            EXPECT_EQ(instanced.wideBvh().memory(), 0u);
            EXPECT_LE(instanced.twoLevelBvh().depth(), ktWideBvhLayout::maxDepth);
            for (const std::uint32_t side : {32u, 9u}) {
                const ktDirectionSet set = ktMakeHemisphereDirections(side, side, 1, 1, side);
                for (const ktRayLimits& limits : {ktRayLimits{0, FLT_MAX, true}, ktRayLimits{0.1f, 2, false}}) {
                    const std::vector<std::uint32_t> expected = answers(writtenOut, vertices, set, limits);
                    EXPECT_GT(expected.size(), 2 * vertexCount * set.count / 16) << "something was hit";
                    EXPECT_TRUE(answers(instanced, vertices, set, limits) == expected) << lanes << " " << side;
                }
            }
        }
    }
}

} // namespace

TEST(TwoLevelBvh, GivenInstancesOfAllKinds_AnswersAsIfWrittenOut) {
    Scene scene;
    fillWithAll(scene);
    expectEqualAnswers(scene, 5, 96);
}

TEST(TwoLevelBvh, GivenHostileParts_AnswersAsIfWrittenOut) {
    for (const auto make : {ktHostileMeshes::needles, ktHostileMeshes::soup, ktHostileMeshes::hugeAmongSmall,
                            ktHostileMeshes::tinyAmongLarge, ktHostileMeshes::degenerate}) {
        Scene scene;
        for (const ktTestMesh& mesh : make()) {
            ktTestMesh& part = scene.addPart(mesh);
            for (int i = 0; i < 3; ++i)
                scene.addInstance(part, scene.turned(scene.random(-3, 3), scene.random(-3, 3), 0));
        }
        expectEqualAnswers(scene, 4, 32, {16});
    }
}

TEST(TwoLevelBvh, GivenPartFarFromItsOrigin_AnswersAsIfWrittenOut) {
    Scene scene;
    for (const ktTestMesh& mesh : ktHostileMeshes::farFromOrigin()) { // at 1e5
        ktTestMesh& part = scene.addPart(mesh);
        float middle[3] = {0, 0, 0};
        for (std::size_t i = 0; i < mesh.positions.size(); ++i)
            middle[i % 3] += mesh.positions[i] / static_cast<float>(mesh.positions.size() / 3);
        for (int i = 0; i < 3; ++i)
            scene.addInstance(part,
                              matrix({{1, 0, 0, float(i) - middle[0]}, {0, 1, 0, -middle[1]}, {0, 0, 1, -middle[2]}}));
    }
    expectEqualAnswers(scene, 10, 32);
}

// Here, world positions are rounded by a hundredth of a triangle, and boxes must be larger by that.
TEST(TwoLevelBvh, GivenInstancesFarFromTheOrigin_AnswersAsIfWrittenOut) {
    Scene scene;
    const float middle = 5e4f;
    ktTestMesh grid;
    for (int i = 0; i < 64; ++i)
        grid.addQuad({0.25 * (i % 8) - 1, 0.25 * (i / 8) - 1.0, 0}, {0.1, 0, 0}, {0, 0.1, 0});
    ktTestMesh& part = scene.addPart(grid);
    for (int i = 0; i < 40; ++i)
        scene.addInstance(part, scene.turned(middle + scene.random(-3, 3), middle + scene.random(-3, 3),
                                             middle + scene.random(-3, 3)));
    expectEqualAnswers(scene, 4, 64, {16, 4}, middle);
}

TEST(TwoLevelBvh, GivenPartsOfManyScales_StaysWithinTheStacks) {
    Scene scene;
    for (const ktTestMesh& mesh : ktHostileMeshes::manyScales()) {
        ktTestMesh& part = scene.addPart(mesh);
        scene.addInstance(part, scene.turned(0, 0, 0));
        scene.addInstance(part, scene.turned(1, 0, 0));
        scene.addPlain(mesh);
    }
    // Instances of many scales inside each other, so that the upper level is deep, too.
    ktTestMesh& part = scene.addPart(bumpySphere());
    for (int i = -60; i < 60; ++i) {
        const float s = std::ldexp(1.0f, i / 2);
        scene.addInstance(part, matrix({{s, 0, 0, 3 * s}, {0, s, 0, 0}, {0, 0, s, 0}}));
    }
    expectEqualAnswers(scene, 4, 16, {16});
}

TEST(TwoLevelBvh, GivenManyThreads_HasTheSameBits) {
    Scene scene;
    fillWithAll(scene);
    std::vector<std::uint32_t> first;
    std::size_t memory = 0;
    const std::vector<ktRayVertex> vertices = makeVertices(scene, 5, 16);
    const ktDirectionSet set = ktMakeHemisphereDirections(16, 16, 1, 1, 1);
    for (const int threads : {1, 4, 4}) {
        const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, std::size_t(threads));
        ktHemisphereTracer tracer;
        tbb::task_arena(threads).execute([&] { ASSERT_TRUE(tracer.build(scene.instanced, {})); });
        const ktBvhView view = tracer.twoLevelBvh().view();
        std::vector<std::uint32_t> words(tracer.twoLevelBvh().nodeMemory() / sizeof(std::uint32_t));
        std::memcpy(words.data(), view.memory, words.size() * sizeof(std::uint32_t));
        words.push_back(static_cast<std::uint32_t>(view.root));
        if (first.empty()) {
            first = words;
            memory = tracer.twoLevelBvh().memory();
        }
        EXPECT_EQ(words, first);
        EXPECT_EQ(tracer.twoLevelBvh().memory(), memory);
    }
}

TEST(TwoLevelBvh, GivenAThousandInstances_TakesTheMemoryOfOnePart) {
    Scene scene;
    ktTestMesh& part = scene.addPart(bumpySphere());
    const std::size_t triangles = part.indices.size() / 3;
    for (int i = 0; i < 1000; ++i) {
        scene.transforms.emplace_back(scene.turned(scene.random(-20, 20), scene.random(-20, 20), 0));
        scene.instanced.push_back(part.view());
        scene.instanced.back().toWorld = scene.transforms.back().rows();
    }
    ktHemisphereTracer tracer;
    ASSERT_TRUE(tracer.build(scene.instanced, {}));
    EXPECT_EQ(tracer.twoLevelBvh().partCount(), 1u);
    EXPECT_LT(tracer.twoLevelBvh().memory(), 80 * triangles + 1000 * 1024);
    ASSERT_TRUE(tracer.build({part.view()}, {}));
    EXPECT_EQ(tracer.twoLevelBvh().memory(), 0u);
    EXPECT_GT(tracer.wideBvh().memory(), 0u);
}

TEST(TwoLevelBvh, GivenStopAtAnyStep_IsEmptyAndCallsNoMore) {
    Scene scene;
    fillWithAll(scene);
    for (const float from : {0.0f, 0.1f, 0.5f, 0.89f, 1.0f}) {
        ktHemisphereTracer tracer;
        ASSERT_TRUE(tracer.build(scene.instanced, {})); // a stop must discard this BVH as well
        std::atomic<int> later{0};
        std::atomic<bool> stopped{false};
        const bool finished = tracer.build(scene.instanced, [&](float share) {
            later += stopped;
            stopped = stopped || share >= from;
            return !stopped;
        });
        EXPECT_FALSE(finished) << from;
        EXPECT_TRUE(stopped) << from;
        EXPECT_EQ(later, 0) << from;
        EXPECT_EQ(tracer.twoLevelBvh().memory(), 0u) << from;
        EXPECT_EQ(tracer.twoLevelBvh().view().root, 0u) << from;
    }
}

TEST(StructureCopy, GivenStructure_CopyFindsTheSameHits) {
    Scene all, quad;
    fillWithAll(all);
    ktTestMesh mesh;
    mesh.addQuad({-1, -1, 0}, {2, 0, 0}, {0, 2, 0});
    quad.addPlain(mesh); // a tree of one leaf
    const ktDirectionSet set = ktMakeHemisphereDirections(12, 12, 0.25f, 0.25f, 1);
    for (const auto& meshes : {all.instanced, all.writtenOut, quad.writtenOut, std::vector<ktTracerMesh>()}) {
        const std::vector<ktRayVertex> vertices = makeVertices(all, 5, 200);
        auto original = std::make_unique<ktHemisphereTracer>();
        original->build(meshes, {});
        const std::vector<std::uint32_t> expected = answers(*original, vertices, set, {0, FLT_MAX, true});
        ktHemisphereTracer copy;
        copy.build(all.instanced, {}); // which beginCopy() replaces
        const ktStructureImage image = original->structureImage();
        const std::vector<ktStructureImage::Part> parts = copy.beginCopy(meshes, image.head);
        ASSERT_EQ(parts.size(), image.parts.size());
        for (std::size_t i = 0; i < parts.size(); ++i) {
            ASSERT_EQ(parts[i].size, image.parts[i].size);
            std::copy_n(image.parts[i].first, parts[i].size, parts[i].first);
            std::fill_n(image.parts[i].first, parts[i].size, char(0x55)); // nothing refers to the original
        }
        original.reset();
        copy.endCopy();
        EXPECT_TRUE(answers(copy, vertices, set, {0, FLT_MAX, true}) == expected);
    }
}

TEST(StructureCopy, GivenHeadOfAnotherTracer_ThrowsAndIsEmpty) {
    Scene scene;
    scene.addPlain(bumpySphere());
    ktHemisphereTracer tracer;
    tracer.build(scene.writtenOut, {});
    EXPECT_THROW(tracer.beginCopy(scene.writtenOut, std::vector<char>(7)), std::invalid_argument);
    EXPECT_EQ(tracer.wideBvh().rootRef(), 0u);
}
