// SPDX-License-Identifier: LGPL-2.1-or-later
// Light that several ranks trace together has the bits of one process.
#include "ktTestRanks.h"

#include "ktTriangleScene.h"

#include "ktEmbreeTracer.h"
#include "ktFitMode.h"
#include "ktHemisphereSampler.h"
#include "ktRankFingerprint.h"
#include "ktSceneState.h"
#include "OSGUberMaterial.h"

#include <algorithm>
#include <cfloat>
#include <gtest/gtest.h>
#include <OpenSG/OSGPointLight.h>
#include <random>

namespace {

osg::GeometryPtr coreOf(const osg::NodePtr& node) {
    return osg::GeometryPtr::dcast(node->getCore());
}

ktTestMesh bumps(int cells) {
    ktTestMesh mesh;
    for (int row = 0; row <= cells; ++row)
        for (int column = 0; column <= cells; ++column)
            mesh.addVertex(40.0 * column, 40.0 * row, 60 * std::sin(0.9 * column) * std::cos(1.3 * row));
    mesh.addGridTriangles(cells);
    return mesh;
}

/// Three geometries: bumps with a texture, a sphere with vertex colours that is used twice, and one whose direct light
/// is traced only where a bounce needs it.
class RankBits : public testing::Test {
protected:
    RankBits() {
        addNormals(scene.addMesh(bumps(24)));
        ktTestMesh sphere;
        sphere.addSphere(150, 12, 24);
        osg::Matrix above, beside;
        above.setTranslate(300, 300, 250);
        beside.setTranslate(700, 500, 220);
        addNormals(scene.addMesh(sphere, above));
        scene.addInstance(scene.geometryNodes[1], beside);
        ktTestMesh wall;
        wall.addQuad({0, 0, -100}, {1000, 0, 0}, {0, 0, 600});
        addNormals(scene.addMesh(wall));
        paint(scene.geometryNodes[0]);
        colour(scene.geometryNodes[1]);

        const osg::PointLightPtr light = osg::PointLight::create();
        beginEditCP(light);
        light->setPosition(500, 400, 900);
        light->setDiffuse(1, 0.9f, 0.5f, 1);
        endEditCP(light);
        lights.push_back(scene.addCore(light));
    }
    ~RankBits() override {
        ktSetFitMode(ktFitMode::Vertices);
        ktSceneState::setRootNode(osg::NullFC);
    }

    static void addNormals(const osg::NodePtr& node) {
        const osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(coreOf(node)->getPositions());
        const osg::GeoNormals3fPtr normals = osg::GeoNormals3f::create();
        std::mt19937 random(5);
        std::uniform_real_distribution<float> slant(-0.3f, 0.3f);
        for (osg::UInt32 i = 0; i < positions->getSize(); ++i) {
            osg::Vec3f normal(slant(random), slant(random), 1);
            normal.normalize();
            normals->push_back(normal);
        }
        coreOf(node)->setNormals(normals);
    }
    static void paint(const osg::NodePtr& node) {
        auto image = std::make_shared<ktImage>();
        image->width_px = 2;
        image->height_px = 2;
        image->pixels = {200, 30, 30, 255, 30, 200, 30, 255, 30, 30, 200, 255, 250, 250, 20, 255};
        osg::UberMaterialTexture texture;
        texture.image = image;
        texture.rotation_rad = 0.4f;
        const osg::UberMaterialPtr material = osg::UberMaterial::create();
        material->setTexture(texture);
        const osg::GeoTexCoords2fPtr places = osg::GeoTexCoords2f::create();
        for (osg::UInt32 i = 0; i < coreOf(node)->getPositions()->getSize(); ++i)
            places->push_back(osg::Vec2f(0.013f * static_cast<float>(i), 0.07f * static_cast<float>(i)));
        coreOf(node)->setTexCoords(places);
        coreOf(node)->setMaterial(material);
    }
    static void colour(const osg::NodePtr& node) {
        const osg::GeoColors3fPtr colors = osg::GeoColors3f::create();
        for (osg::UInt32 i = 0; i < coreOf(node)->getPositions()->getSize(); ++i)
            colors->push_back(osg::Color3f(0.01f * static_cast<float>(i % 100), 0.5f, 0.8f));
        coreOf(node)->setColors(colors);
    }

    /// Selects the three geometries, so that a pass is expected to ask for them in this order.
    void plan() {
        isPlanned = true;
        ktSceneState::setRootNode(scene.geometryNodes[0]->getParent()->getParent());
        ASSERT_EQ(ktSceneState::setSelection({scene.geometryNodes[0], scene.geometryNodes[1], scene.geometryNodes[3]}),
                  3u);
    }

    /// All light of the first two geometries: direct, and one bounce of it.
    std::vector<std::uint32_t> bake(bool hasLights) const {
        ktTestTracing tracing(16);
        ktSceneRaytracing& utils = *tracing.utils;
        utils.setMaterialOverride(true, false, nullptr);
        utils.buildAccelerationStructure(scene.geometryNodes, lights);
        utils.configureTracing(16, 16, 0, FLT_MAX);
        std::vector<std::uint32_t> bits;
        for (const bool isBounce : {false, true}) {
            for (std::size_t i = 0; i < 2; ++i) {
                const osg::NodePtr node = scene.geometryNodes[i];
                const osg::Matrix matrix = node->getToWorld();
                auto& positions = osg::GeoPositions3fPtr::dcast(coreOf(node)->getPositions())->getField();
                auto& normals = osg::GeoNormals3fPtr::dcast(coreOf(node)->getNormals())->getField();
                const auto count = static_cast<osg::UInt32>(positions.size());
                std::vector<osg::Vec4f> results(count);
                const osg::Color3f white(1, 1, 1);
                if (isBounce)
                    utils.gatherVertexIllumination(count, &matrix, &positions[0], &normals[0], results.data(), &white,
                                                   true, tracing.sampler, 1, hasLights);
                else
                    utils.computeVertexOcclusion(count, &matrix, &positions[0], &normals[0], results.data(), true,
                                                 tracing.sampler, isPlanned || i == 0, hasLights);
                if (isCanceledAfterFirst)
                    ktCancelToken::the().cancel();
                for (const std::uint32_t word : ktBitsOf(results))
                    bits.push_back(word);
                if (!isBounce && i == 0) {
                    const osg::GeoTexCoords4fPtr stored = osg::GeoTexCoords4f::create();
                    for (const osg::Vec4f& result : results)
                        stored->push_back(osg::Vec4f(0, 0, 0, result[3]));
                    coreOf(node)->setTexCoords7(stored);
                }
            }
            utils.finishPass();
        }
        return bits;
    }

    /// @param isOneMachine rank 0 builds the structure for all
    void expectEqualBits(bool hasLights, bool isOneMachine = false) const {
        const ktTestLog log;
        const std::vector<std::uint32_t> alone = bake(hasLights);
        for (int size = 2; size <= 4; ++size) {
            ktRankPool::Limits limits = ktTestLimits();
            limits.cores = 8; // more than those of rank 0
            limits.jobsPerRank = 0;
            const ktTestRanks ranks(size, isOneMachine ? ktTestRanks::serveNearby : ktTestRanks::serveRank, limits);
            EXPECT_TRUE(bake(hasLights) == alone) << size << " ranks";
            std::uint64_t elsewhere = 0, geometries = ranks.pool->statistics()[0].geometries;
            for (std::size_t rank = 1; rank < static_cast<std::size_t>(size); ++rank) {
                elsewhere += ranks.pool->statistics()[rank].bytesReceived;
                geometries += ranks.pool->statistics()[rank].geometries;
                EXPECT_EQ(ranks.pool->statistics()[rank].structureBytes > 0, isOneMachine);
            }
            if (isPlanned)
                EXPECT_EQ(geometries, 4u) << "each pass asks for two";
            else
                EXPECT_GT(elsewhere, 1000u) << "bytes of results";
        }
        EXPECT_TRUE(log.lines.empty()) << log.lines.front();
    }

    ktTriangleScene scene;
    std::vector<osg::NodePtr> lights;
    bool isPlanned = false, isCanceledAfterFirst = false;
};

} // namespace

TEST_F(RankBits, GivenRanks_GivesBitsOfOneProcess) {
    expectEqualBits(false);
}

TEST_F(RankBits, GivenRanksOfOneMachine_CopyStructureAndGiveBitsOfOneProcess) {
    expectEqualBits(false, true);
}

TEST(RankThreads, GivenRanksOfOneMachine_TheirThreadsCanBeBorrowedUpToItsCores) {
    const auto borrowed = [](const ktTestRanks::Serve& serve, std::uint32_t cores) {
        ktRankPool::Limits limits = ktTestLimits();
        limits.cores = cores;
        return ktTestRanks(3, serve, limits).pool->threadsToBorrow(); // each rank has two threads
    };
    EXPECT_EQ(borrowed(ktTestRanks::serveNearby, 100), 4u);
    EXPECT_EQ(borrowed(ktTestRanks::serveNearby, 5), 3u);
    EXPECT_EQ(borrowed(ktTestRanks::serveNearby, 2), 0u);
    EXPECT_EQ(borrowed(ktTestRanks::serveNearby, 1), 0u);
    EXPECT_EQ(borrowed(ktTestRanks::serveRank, 100), 0u) << "other machines";
}

TEST_F(RankBits, GivenRanksAndLights_GivesBitsOfOneProcess) {
    expectEqualBits(true);
}

TEST_F(RankBits, GivenRanksAndFit_GivesBitsOfOneProcess) {
    ktSetFitMode(ktFitMode::Surface);
    expectEqualBits(false);
}

TEST_F(RankBits, GivenPlannedGeometries_GivesBitsOfOneProcess) {
    plan();
    expectEqualBits(false);
}

TEST_F(RankBits, GivenPlannedGeometriesAndLights_GivesBitsOfOneProcess) {
    plan();
    expectEqualBits(true);
}

TEST_F(RankBits, GivenPlannedGeometriesAndFit_GivesBitsOfOneProcess) {
    plan();
    ktSetFitMode(ktFitMode::Surface);
    expectEqualBits(false, true);
}

TEST_F(RankBits, GivenCancelWhileRanksTraceAhead_LaterGeometriesAreUntouchedAndTheNextBakeHasItsBits) {
    plan();
    const ktTestLog log; // resets the cancel token
    const std::vector<std::uint32_t> alone = bake(false);
    ktRankPool::Limits limits = ktTestLimits();
    limits.jobsPerRank = 0;
    const ktTestRanks ranks(3, ktTestRanks::serveRank, limits);
    isCanceledAfterFirst = true;
    const std::vector<std::uint32_t> canceled = bake(false);
    const std::size_t first =
        4 * osg::GeoPositions3fPtr::dcast(coreOf(scene.geometryNodes[0])->getPositions())->getSize();
    EXPECT_TRUE(std::equal(canceled.begin(), canceled.begin() + static_cast<std::ptrdiff_t>(first), alone.begin()));
    EXPECT_EQ(std::count(canceled.begin() + static_cast<std::ptrdiff_t>(first), canceled.end(), 0u),
              static_cast<std::ptrdiff_t>(canceled.size() - first));
    EXPECT_FALSE(ranks.pool->hasJobs());
    ktCancelToken::the().reset();
    isCanceledAfterFirst = false;
    EXPECT_TRUE(bake(false) == alone);
    EXPECT_TRUE(log.lines.empty()) << log.lines.front();
}

TEST_F(RankBits, GivenSameTracers_FingerprintIsEqual) {
    ktHemisphereTracer one(4), other(4);
    const std::uint64_t fingerprint = ktCalculateFingerprint(one);
    EXPECT_EQ(ktCalculateFingerprint(other), fingerprint);
    EXPECT_EQ(ktCalculateFingerprint(one), fingerprint) << "again";
    ktEmbreeTracer reference;
    EXPECT_NE(ktCalculateFingerprint(reference), fingerprint);
}

TEST(Batches, GivenMoreRaysPerVertex_HaveFewerItems) {
    ktHemisphereTracer tracer;
    const auto itemsOf = [&](int side, ktBatchKind kind) {
        const ktDirectionSet set = ktMakeHemisphereDirections(side, side, 0.25f, 0.25f, 1);
        const std::unique_ptr<ktPreparedDirections> directions = tracer.prepareDirections(set);
        ktBatchWork work;
        work.kind = kind;
        work.directions = directions.get();
        return ktItemsPerBatch(work);
    };
    EXPECT_EQ(itemsOf(8, ktBatchKind::Direct), ktVertexBatch::mostItems);
    EXPECT_EQ(itemsOf(32, ktBatchKind::Direct), 16u);
    EXPECT_EQ(itemsOf(32, ktBatchKind::Gather), 32u);
    EXPECT_EQ(itemsOf(256, ktBatchKind::Direct), 1u);
}
