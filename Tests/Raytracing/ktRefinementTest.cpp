// SPDX-License-Identifier: LGPL-2.1-or-later
// Refinement in the host, from the request to the rebuilt geometry.
#include "ktGeoSubdivisionList.h"
#include "ktGeoSubdivisionRecord.h"
#include "ktRefinementProbes.h"
#include "ktTriangleScene.h"

#include <cfloat>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace {

const osg::Matrix identity;

/// A flat grid of quads facing up, with every attribute that refinement must interpolate.
osg::GeometryPtr makeGrid(int quads, float size, float x0 = 0, float y0 = 0) {
    ktTestMesh mesh;
    for (int y = 0; y <= quads; ++y)
        for (int x = 0; x <= quads; ++x)
            mesh.addVertex(x0 + x * size, y0 + y * size, 0);
    const auto at = [quads](int x, int y) { return static_cast<std::uint32_t>(y * (quads + 1) + x); };
    for (int y = 0; y < quads; ++y)
        for (int x = 0; x < quads; ++x) {
            mesh.addTriangle(at(x, y), at(x + 1, y), at(x + 1, y + 1));
            mesh.addTriangle(at(x, y), at(x + 1, y + 1), at(x, y + 1));
        }
    const osg::GeometryPtr geometry = ktTriangleScene::makeGeometry(mesh);
    const osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
    const osg::GeoNormals3fPtr normals = osg::GeoNormals3f::create();
    const osg::GeoTexCoords2fPtr texCoords = osg::GeoTexCoords2f::create();
    const osg::GeoColors4ubPtr colors = osg::GeoColors4ub::create();
    const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4f::create();
    for (osg::UInt32 i = 0; i < positions->getSize(); ++i) {
        const osg::Pnt3f& p = positions->getField()[i];
        normals->push_back(osg::Vec3f(0, 0, 1));
        texCoords->push_back(osg::Vec2f(p[0] / 100, p[1] / 100));
        colors->getField().push_back(osg::Color4ub(static_cast<osg::UInt8>(i % 2 ? 200 : 100), 0, 0, 255));
        results->push_back(osg::Vec4f(0, 0, 0, 0));
    }
    geometry->setNormals(normals);
    geometry->setTexCoords(texCoords);
    geometry->setColors(colors);
    geometry->setTexCoords7(results);
    return geometry;
}

osg::GeoPositions3fPtr positionsOf(const osg::GeometryPtr& geometry) {
    return osg::GeoPositions3fPtr::dcast(geometry->getPositions());
}

osg::GeoTexCoords4fPtr resultsOf(const osg::GeometryPtr& geometry) {
    return osg::GeoTexCoords4fPtr::dcast(geometry->getTexCoords7());
}

/// Runs the direct pass with refinement over some grids, with the calls that the plug-in makes.
class Refinement : public ::testing::Test {
protected:
    osg::NodePtr add(const osg::GeometryPtr& geometry) {
        scene.geometryNodes.push_back(scene.addCore(geometry));
        return scene.geometryNodes.back();
    }

    /// A square occluder over the ground.
    void addLid(float x, float y, float size, float height) {
        ktTestMesh mesh;
        mesh.addQuad({x - size / 2, y - size / 2, height}, {size, 0, 0}, {0, size, 0});
        scene.addMesh(mesh);
    }

    void direct(const osg::GeometryPtr& geometry) {
        const osg::GeoNormals3fPtr normals = osg::GeoNormals3fPtr::dcast(geometry->getNormals());
        tracing.utils->computeVertexOcclusion(positionsOf(geometry)->getSize(), &identity,
                                              &positionsOf(geometry)->getField()[0], &normals->getField()[0],
                                              &resultsOf(geometry)->getField()[0], false, tracing.sampler, true, false);
    }

    void request(ktGeoSubdivisionList& record, const osg::GeometryPtr& geometry, int quality = 2,
                 float threshold = 0.04f, float minEdgeLength = 1) {
        const std::string name = "ground";
        tracing.utils->subdivideByIllumination(&name, quality, 32, &record, geometry, threshold, minEdgeLength,
                                               &identity, &identity, &identity, false, false, false);
    }

    void refine(const osg::GeometryPtr& geometry, int quality = 2, float threshold = 0.04f, float minEdge = 1) {
        direct(geometry);
        ktGeoSubdivisionList record(geometry);
        request(record, geometry, quality, threshold, minEdge);
        tracing.utils->invalidateGeometry();
        record.recreateGeometry();
    }

    ktTestLog log;
    ktTriangleScene scene;
    ktTestTracing tracing{32};
};

float shareAt(const osg::GeometryPtr& geometry, float x, float y) {
    const osg::GeoIndicesUI32Ptr indices = osg::GeoIndicesUI32Ptr::dcast(geometry->getIndices());
    for (osg::UInt32 i = 0; i + 2 < indices->getSize(); i += 3) {
        float px[3], py[3], w[3];
        for (osg::UInt32 c = 0; c < 3; ++c) {
            const osg::UInt32 v = indices->getField()[i + c];
            px[c] = positionsOf(geometry)->getField()[v][0];
            py[c] = positionsOf(geometry)->getField()[v][1];
            w[c] = resultsOf(geometry)->getField()[v][3];
        }
        const float area = (px[1] - px[0]) * (py[2] - py[0]) - (px[2] - px[0]) * (py[1] - py[0]);
        const float u = ((x - px[0]) * (py[2] - py[0]) - (px[2] - px[0]) * (y - py[0])) / area;
        const float v = ((px[1] - px[0]) * (y - py[0]) - (x - px[0]) * (py[1] - py[0])) / area;
        if (u >= -1e-5f && v >= -1e-5f && u + v <= 1.00001f)
            return (1 - u - v) * w[0] + u * w[1] + v * w[2];
    }
    return -1;
}

/// Counts vertices inside edges of other triangles, and triangles that are flat or face down.
struct Flaws {
    int hanging = 0, flat = 0;
};

Flaws findFlaws(const std::vector<osg::GeometryPtr>& geometries) {
    Flaws flaws;
    std::set<std::pair<float, float>> places;
    std::vector<std::array<std::array<double, 2>, 3>> triangles;
    for (const osg::GeometryPtr& geometry : geometries) {
        const osg::GeoIndicesUI32Ptr indices = osg::GeoIndicesUI32Ptr::dcast(geometry->getIndices());
        for (osg::UInt32 i = 0; i + 2 < indices->getSize(); i += 3) {
            triangles.emplace_back();
            for (osg::UInt32 c = 0; c < 3; ++c) {
                const osg::Pnt3f& p = positionsOf(geometry)->getField()[indices->getField()[i + c]];
                triangles.back()[c] = {p[0], p[1]};
                places.insert({p[0], p[1]});
            }
        }
    }
    for (const auto& t : triangles) {
        const double area = (t[1][0] - t[0][0]) * (t[2][1] - t[0][1]) - (t[2][0] - t[0][0]) * (t[1][1] - t[0][1]);
        flaws.flat += area <= 0;
        for (std::size_t c = 0; c < 3; ++c) {
            const auto &a = t[c], &b = t[(c + 1) % 3];
            const double length2 = (b[0] - a[0]) * (b[0] - a[0]) + (b[1] - a[1]) * (b[1] - a[1]);
            const auto first = places.lower_bound({static_cast<float>(std::min(a[0], b[0])), -FLT_MAX});
            const auto last = places.upper_bound({static_cast<float>(std::max(a[0], b[0])), FLT_MAX});
            for (auto p = first; p != last; ++p) {
                const double along = ((p->first - a[0]) * (b[0] - a[0]) + (p->second - a[1]) * (b[1] - a[1])) / length2;
                const double across = (p->first - a[0]) * (b[1] - a[1]) - (p->second - a[1]) * (b[0] - a[0]);
                flaws.hanging += along > 1e-6 && along < 1 - 1e-6 && std::abs(across) < 1e-6 * length2;
            }
        }
    }
    return flaws;
}

} // namespace

TEST_F(Refinement, GivenAShadowInTheMiddleOfOneQuad_FindsIt) {
    const osg::GeometryPtr ground = makeGrid(1, 1000);
    add(ground);
    addLid(430, 560, 60, 20);
    tracing.build(scene);
    direct(ground);
    ASSERT_GT(shareAt(ground, 430, 560), 0.9f) << "the corners do not see the lid";
    refine(ground);
    EXPECT_GT(positionsOf(ground)->getSize(), 20u);
    EXPECT_LT(shareAt(ground, 430, 560), 0.4f);
    const Flaws flaws = findFlaws({ground});
    EXPECT_EQ(flaws.hanging, 0);
    EXPECT_EQ(flaws.flat, 0);
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(Refinement, GivenNewVertices_TracesEachAndInterpolatesTheRest) {
    const osg::GeometryPtr ground = makeGrid(4, 250);
    add(ground);
    addLid(500, 500, 300, 100);
    tracing.build(scene);
    refine(ground);
    const osg::UInt32 count = positionsOf(ground)->getSize();
    ASSERT_GT(count, 40u);
    ASSERT_EQ(resultsOf(ground)->getSize(), count);
    ASSERT_EQ(ground->getNormals()->getSize(), count);
    ASSERT_EQ(ground->getColors()->getSize(), count);
    ASSERT_EQ(ground->getTexCoords()->getSize(), count);
    const std::vector<osg::Vec4f> found(&resultsOf(ground)->getField()[0], &resultsOf(ground)->getField()[0] + count);
    direct(ground);
    const osg::GeoTexCoords2fPtr texCoords = osg::GeoTexCoords2fPtr::dcast(ground->getTexCoords());
    for (osg::UInt32 i = 0; i < count; ++i) {
        EXPECT_EQ(found[i], resultsOf(ground)->getField()[i]) << "equals the result of an original vertex";
        EXPECT_EQ(ground->getNormals()->getValue(i), osg::Vec3f(0, 0, 1));
        EXPECT_NEAR(texCoords->getField()[i][0], positionsOf(ground)->getField()[i][0] / 100, 1e-5f);
    }
}

TEST_F(Refinement, GivenEvenLight_LeavesTheGeometryBitForBit) {
    const osg::GeometryPtr ground = makeGrid(3, 100);
    add(ground);
    tracing.build(scene);
    const osg::GeoIndicesPtr indices = ground->getIndices();
    refine(ground);
    EXPECT_EQ(positionsOf(ground)->getSize(), 16u);
    EXPECT_EQ(ground->getIndices(), indices) << "the property is the same object";
}

TEST_F(Refinement, GivenTwoGeometriesThatTouch_LeavesNoGapBetweenThem) {
    const osg::GeometryPtr left = makeGrid(3, 100), right = makeGrid(3, 100, 300);
    add(left);
    add(right);
    addLid(300, 150, 120, 30);
    tracing.build(scene);
    direct(left);
    direct(right);
    ktGeoSubdivisionList first(left), second(right);
    request(first, left);
    request(second, right);
    tracing.utils->invalidateGeometry();
    first.recreateGeometry();
    second.recreateGeometry();
    EXPECT_GT(positionsOf(left)->getSize(), 30u);
    EXPECT_GT(positionsOf(right)->getSize(), 30u);
    EXPECT_EQ(findFlaws({left, right}).hanging, 0);
}

TEST_F(Refinement, GivenANeighbourThatIsNotRefined_DoesNotSplitSharedEdges) {
    const osg::GeometryPtr left = makeGrid(3, 100), right = makeGrid(3, 100, 300);
    add(left);
    add(right);
    addLid(300, 150, 120, 30);
    tracing.build(scene);
    refine(left);
    EXPECT_GT(positionsOf(left)->getSize(), 20u);
    EXPECT_EQ(positionsOf(right)->getSize(), 16u);
    EXPECT_EQ(findFlaws({left, right}).hanging, 0);
}

TEST_F(Refinement, GivenACoreUsedTwice_LeavesItAlone) {
    const osg::GeometryPtr ground = makeGrid(3, 100);
    const osg::NodePtr node = add(ground);
    scene.addInstance(node, osg::Matrix(1, 0, 0, 1000, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1));
    addLid(150, 150, 120, 30);
    tracing.build(scene);
    refine(ground);
    EXPECT_EQ(positionsOf(ground)->getSize(), 16u);
}

TEST_F(Refinement, GivenHigherLevelsAndLowerThresholds_SplitsMore) {
    std::vector<osg::UInt32> counts;
    for (int level : {0, 1, 2}) {
        ktTriangleScene other;
        const osg::GeometryPtr ground = makeGrid(4, 250);
        other.geometryNodes.push_back(other.addCore(ground));
        ktTestMesh lid;
        lid.addQuad({400, 400, 20}, {200, 0, 0}, {0, 200, 0});
        other.addMesh(lid);
        tracing.build(other);
        refine(ground, level);
        counts.push_back(positionsOf(ground)->getSize());
    }
    EXPECT_GT(counts[0], 25u);
    EXPECT_GT(counts[1], counts[0]);
    EXPECT_GT(counts[2], counts[1]);
}

TEST_F(Refinement, GivenAMinimumEdgeLength_LeavesShorterEdges) {
    const osg::GeometryPtr ground = makeGrid(4, 250);
    add(ground);
    addLid(500, 500, 200, 20);
    tracing.build(scene);
    refine(ground, 2, 0.04f, 100);
    const osg::GeoIndicesUI32Ptr indices = osg::GeoIndicesUI32Ptr::dcast(ground->getIndices());
    float shortest = FLT_MAX;
    for (osg::UInt32 i = 0; i + 2 < indices->getSize(); i += 3)
        for (osg::UInt32 c = 0; c < 3; ++c)
            shortest = std::min(shortest, (positionsOf(ground)->getField()[indices->getField()[i + c]] -
                                           positionsOf(ground)->getField()[indices->getField()[i + (c + 1) % 3]])
                                              .length());
    EXPECT_GT(positionsOf(ground)->getSize(), 25u);
    EXPECT_GE(shortest, 50.0f) << "only edges longer than the minimum are halved";
}

TEST_F(Refinement, GivenChannelFive_TracesItWithItsMarker) {
    const osg::GeometryPtr ground = makeGrid(2, 500);
    const osg::GeoTexCoords4fPtr baked = osg::GeoTexCoords4f::create();
    for (int i = 0; i < 9; ++i)
        baked->push_back(osg::Vec4f(0, 0, 0, 2));
    ground->setTexCoords5(baked);
    add(ground);
    addLid(500, 500, 200, 50);
    tracing.build(scene);
    refine(ground);
    const osg::UInt32 count = positionsOf(ground)->getSize();
    ASSERT_GT(count, 9u);
    ASSERT_EQ(baked->getSize(), count);
    for (osg::UInt32 i = 9; i < count; ++i)
        EXPECT_FLOAT_EQ(baked->getField()[i][3], resultsOf(ground)->getField()[i][3] + 2.0f);
}

TEST_F(Refinement, GivenACancelBeforeTheRebuild_LeavesTheGeometry) {
    const osg::GeometryPtr ground = makeGrid(4, 250);
    add(ground);
    addLid(500, 500, 200, 20);
    tracing.build(scene);
    direct(ground);
    ktGeoSubdivisionList record(ground);
    request(record, ground);
    ktCancelToken::the().cancel();
    tracing.utils->invalidateGeometry();
    record.recreateGeometry();
    EXPECT_EQ(positionsOf(ground)->getSize(), 25u);
}

TEST_F(Refinement, GivenARecordThatIsDestroyed_ForgetsIt) {
    const osg::GeometryPtr ground = makeGrid(4, 250);
    add(ground);
    addLid(500, 500, 200, 20);
    tracing.build(scene);
    direct(ground);
    {
        ktGeoSubdivisionList record(ground);
        request(record, ground);
    }
    tracing.utils->invalidateGeometry();
    EXPECT_EQ(positionsOf(ground)->getSize(), 25u);
    ktGeoSubdivisionList late(ground);
    request(late, ground);
    tracing.utils->restoreRaytracing(0);
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(Refinement, GivenGeometryInAnotherOrder_GivesTheSameBits) {
    std::vector<osg::Vec4f> first;
    std::vector<osg::Pnt3f> firstPositions;
    for (bool reversed : {false, true}) {
        ktTriangleScene other;
        const osg::GeometryPtr left = makeGrid(3, 100), right = makeGrid(3, 100, 300);
        for (const osg::GeometryPtr& geometry :
             reversed ? std::vector<osg::GeometryPtr>{right, left} : std::vector<osg::GeometryPtr>{left, right})
            other.geometryNodes.push_back(other.addCore(geometry));
        ktTestMesh lid;
        lid.addQuad({250, 100, 30}, {130, 0, 0}, {0, 120, 0});
        other.addMesh(lid);
        tracing.build(other);
        direct(left);
        direct(right);
        ktGeoSubdivisionList a(reversed ? right : left), b(reversed ? left : right);
        request(a, reversed ? right : left);
        request(b, reversed ? left : right);
        tracing.utils->invalidateGeometry();
        a.recreateGeometry();
        b.recreateGeometry();
        std::vector<osg::Vec4f> results;
        std::vector<osg::Pnt3f> positions;
        for (const osg::GeometryPtr& geometry : {left, right})
            for (osg::UInt32 i = 0; i < positionsOf(geometry)->getSize(); ++i) {
                results.push_back(resultsOf(geometry)->getField()[i]);
                positions.push_back(positionsOf(geometry)->getField()[i]);
            }
        if (first.empty()) {
            first = results;
            firstPositions = positions;
        } else {
            EXPECT_EQ(ktBitsOf(results), ktBitsOf(first));
            EXPECT_EQ(ktBitsOf(positions), ktBitsOf(firstPositions));
        }
    }
    EXPECT_GT(first.size(), 60u);
}

TEST_F(Refinement, GivenPenumbra_CountsVerticesAndRaysThatItAdded) {
    const osg::GeometryPtr ground = makeGrid(8, 100);
    add(ground);
    addLid(400, 400, 300, 50);
    tracing.build(scene);
    const float threshold = 0.1f;
    const std::uint64_t before = positionsOf(ground)->getSize(), rays = 32 * 32;
    refine(ground, 1, threshold);
    const ktTracingStatistics& statistics = tracing.utils->getStatistics();
    const std::uint64_t added = positionsOf(ground)->getSize() - before;
    ASSERT_GT(added, 0u);
    EXPECT_EQ(statistics.addedVertices, added);
    EXPECT_EQ(statistics.requested.direct, before * rays) << "only the vertices before refinement";
    ASSERT_GT(statistics.refining.direct, added * rays) << "new vertices and probes";
    const std::uint64_t axis = ktRefinementProbes::raysPerAxis(threshold);
    EXPECT_EQ((statistics.refining.direct - added * rays) % (axis * axis), 0u);
    EXPECT_EQ(statistics.refining.indirect, 0u);
}

TEST_F(Refinement, GivenEvenLight_CountsTheRaysOfItsProbes) {
    const osg::GeometryPtr ground = makeGrid(2, 100);
    add(ground);
    tracing.build(scene);
    refine(ground);
    EXPECT_EQ(tracing.utils->getStatistics().addedVertices, 0u);
    EXPECT_GT(tracing.utils->getStatistics().refining.direct, 0u);
}
