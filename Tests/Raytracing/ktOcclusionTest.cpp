// SPDX-License-Identifier: LGPL-2.1-or-later
// Occlusion that the host traces, compared with closed forms and brute force.
#include "ktBruteForce.h"
#include "ktOcclusionPass.h"
#include "ktThreadCount.h"
#include "ktTriangleScene.h"

#include <cfloat>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace {

constexpr int finestCount = 64; // rays per axis at shadow quality 4
const osg::Vec3f up(0, 0, 1);
const float notANumber = std::numeric_limits<float>::quiet_NaN();
const float infinity = std::numeric_limits<float>::infinity();

ktTestMesh groundPlane(double size, double height = 0) {
    ktTestMesh mesh;
    mesh.addQuad({-size / 2, -size / 2, height}, {size, 0, 0}, {0, size, 0});
    return mesh;
}

ktTestMesh sphereOf(double radius) {
    ktTestMesh mesh;
    mesh.addSphere(radius, 60, 120);
    return mesh;
}

// Some triangles around the origin, and vertices between them.
struct Clutter {
    Clutter() {
        std::mt19937 generator(5);
        std::uniform_real_distribution<float> place(-20, 20), size(-8, 8);
        for (int i = 0; i < 60; ++i) {
            const float p[3] = {place(generator), place(generator), place(generator)};
            std::uint32_t corners[3];
            for (std::uint32_t& corner : corners)
                corner = mesh.addVertex(p[0] + size(generator), p[1] + size(generator), p[2] + size(generator));
            mesh.addTriangle(corners[0], corners[1], corners[2]);
        }
        for (int i = 0; i < 300; ++i) {
            osg::Vec3f normal(place(generator), place(generator), place(generator));
            normal.normalize();
            vertices.push_back({osg::Pnt3f(place(generator), place(generator), place(generator)), normal});
        }
    }

    ktTestMesh mesh;
    std::vector<ktTestTracing::Vertex> vertices;
};

bool isSame(const std::vector<osg::Vec4f>& a, const std::vector<osg::Vec4f>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(osg::Vec4f)) == 0;
}

class Occlusion : public testing::Test {
protected:
    ktTestLog log;
    ktTriangleScene scene;
    ktTestTracing tracing{finestCount};
};

} // namespace

TEST_F(Occlusion, GivenOpenPlane_IsOne) {
    scene.addMesh(groundPlane(1000));
    tracing.build(scene);
    for (const osg::Pnt3f& position : {osg::Pnt3f(0, 0, 0), osg::Pnt3f(-500, -500, 0), osg::Pnt3f(123, 77, 0)}) {
        const osg::Vec4f result = tracing.traceOne(position, up);
        EXPECT_EQ(result, osg::Vec4f(0, 0, 0, 1)) << position[0];
    }
}

TEST_F(Occlusion, GivenFootOfLongWall_IsHalf) {
    scene.addMesh(groundPlane(1000));
    ktTestMesh wall;
    wall.addQuad({0, -5000, 0}, {0, 10000, 0}, {0, 0, 10000});
    scene.addMesh(wall);
    tracing.build(scene);
    EXPECT_NEAR(tracing.traceOne(osg::Pnt3f(0.01f, 0, 0), up)[3], 0.5f, 0.01f);
}

TEST_F(Occlusion, GivenCoaxialDisc_IsTheKnownShare) {
    ktTestMesh disc;
    disc.addDisc(300, 200, 512);
    scene.addMesh(disc);
    tracing.build(scene);
    EXPECT_NEAR(tracing.traceOne(osg::Pnt3f(0, 0, 0), up)[3], 200.0 * 200.0 / (200.0 * 200.0 + 300.0 * 300.0), 0.01);
}

TEST_F(Occlusion, GivenInsideOfClosedSphere_IsDarkButCalculated) {
    const ktTestMesh sphere = sphereOf(100);
    scene.addMesh(sphere);
    tracing.build(scene);
    std::vector<ktTestTracing::Vertex> inside;
    for (std::size_t i = 0; i + 2 < sphere.positions.size(); i += 3 * 97) {
        const osg::Pnt3f position(sphere.positions[i], sphere.positions[i + 1], sphere.positions[i + 2]);
        inside.push_back({position, osg::Vec3f(-position[0], -position[1], -position[2])});
    }
    for (const osg::Vec4f& result : tracing.trace(inside))
        EXPECT_EQ(result, osg::Vec4f(0, 0, 0, ktDarkestResult));
}

TEST_F(Occlusion, GivenOutsideOfConvexShape_IsOneEvenFarFromTheOrigin) {
    const ktTestMesh sphere = sphereOf(100);
    for (const float away : {0.0f, 1000.0f, 100000.0f}) {
        ktTriangleScene far;
        osg::Matrix toWorld;
        toWorld.setTranslate(away, 2 * away, -away);
        far.addMesh(sphere, toWorld);
        tracing.build(far);
        tracing.toWorld = &toWorld;
        std::vector<ktTestTracing::Vertex> outside;
        for (std::size_t i = 0; i + 2 < sphere.positions.size(); i += 3 * 31) {
            const osg::Pnt3f position(sphere.positions[i], sphere.positions[i + 1], sphere.positions[i + 2]);
            outside.push_back({position, osg::Vec3f(position[0], position[1], position[2])});
        }
        for (const osg::Vec4f& result : tracing.trace(outside))
            EXPECT_GT(result[3], 0.999f) << away;
    }
}

TEST_F(Occlusion, GivenVertexInOwnSurface_DoesNotLeakThroughIt) {
    // A closed box, traced inwards from its corners and from the middles of its sides.
    ktTestMesh box;
    const double s = 500;
    box.addQuad({0, 0, 0}, {s, 0, 0}, {0, s, 0});
    box.addQuad({0, 0, s}, {s, 0, 0}, {0, s, 0});
    box.addQuad({0, 0, 0}, {s, 0, 0}, {0, 0, s});
    box.addQuad({0, s, 0}, {s, 0, 0}, {0, 0, s});
    box.addQuad({0, 0, 0}, {0, s, 0}, {0, 0, s});
    box.addQuad({s, 0, 0}, {0, s, 0}, {0, 0, s});
    scene.addMesh(box);
    tracing.build(scene);
    const float m = 250, e = 500;
    for (const auto& vertex : {ktTestTracing::Vertex{osg::Pnt3f(m, m, 0), osg::Vec3f(0, 0, 1)},
                               {osg::Pnt3f(m, m, e), osg::Vec3f(0, 0, -1)},
                               {osg::Pnt3f(0, m, m), osg::Vec3f(1, 0, 0)},
                               {osg::Pnt3f(0, 0, 0), osg::Vec3f(1, 1, 1)}})
        EXPECT_LE(tracing.trace({vertex})[0][3], 0.001f);
}

TEST_F(Occlusion, GivenVerticesExactlyInAWall_SeeTheirOwnSideOfIt) {
    // Floor and wall of one mesh meet at x = 0, rotated by several angles.
    for (const double angle : {0.0, 0.3, 1.1, 2.0}) {
        const double c = std::cos(angle), s = std::sin(angle), size = 400, length = 20000;
        ktTestMesh corner;
        corner.addQuad({0, 0, 0}, {size * c, size * s, 0}, {-size * s, size * c, 0});
        // The wall has separate vertices and is wider than the floor on both sides.
        corner.addQuad({length * s, -length * c, 0}, {-2 * length * s, 2 * length * c, 0}, {0, 0, length});
        ktTriangleScene room;
        osg::Matrix toWorld;
        toWorld.setTranslate(1000, -500, 300);
        const osg::NodePtr node = room.addMesh(corner, toWorld);
        tracing.build(room);
        const osg::Vec3f in(static_cast<float>(c), static_cast<float>(s), 0);
        const auto results = tracing.traceNode(node, {up, up, up, up, in, in, in, in});
        EXPECT_NEAR(results[0][3], 0.5, 0.01) << angle; // on the floor, exactly in the wall
        EXPECT_NEAR(results[3][3], 0.5, 0.01) << angle;
        EXPECT_GT(results[1][3], 0.5) << angle;
    }
}

TEST_F(Occlusion, GivenPartThatTouchesAnother_SeesItsOwnSideOfTheContact) {
    ktTestMesh part; // a plate on a much larger floor
    part.addQuad({0, 0, 0}, {100, 0, 0}, {0, 0, 100});
    const osg::NodePtr node = scene.addMesh(part);
    scene.addMesh(groundPlane(1e5));
    tracing.build(scene);
    const osg::Vec3f away(0, -1, 0);
    for (const osg::Vec4f& result : tracing.traceNode(node, {away, away, away, away}))
        EXPECT_NEAR(result[3], 0.5, 0.01);
}

TEST_F(Occlusion, GivenClosedBoxWithSmoothNormals_IsDarkInside) {
    ktTestMesh box;
    const float s = 500;
    std::uint32_t corners[8];
    std::vector<osg::Vec3f> inwards, outwards;
    for (std::uint32_t i = 0; i < 8; ++i) {
        const float x = i & 1 ? s : 0, y = i & 2 ? s : 0, z = i & 4 ? s : 0;
        corners[i] = box.addVertex(x, y, z);
        inwards.push_back(osg::Vec3f(s / 2 - x, s / 2 - y, s / 2 - z));
        outwards.push_back(-inwards.back());
    }
    for (const auto& quad :
         {std::array<int, 4>{0, 1, 3, 2}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 3, 7, 6}, {0, 2, 6, 4}, {1, 3, 7, 5}}) {
        const auto corner = [&](std::size_t i) { return corners[quad[i]]; };
        box.addTriangle(corner(0), corner(1), corner(2));
        box.addTriangle(corner(0), corner(2), corner(3));
    }
    const osg::NodePtr node = scene.addMesh(box);
    tracing.build(scene);
    for (const osg::Vec4f& result : tracing.traceNode(node, inwards))
        EXPECT_LE(result[3], 0.001f);
    for (const osg::Vec4f& result : tracing.traceNode(node, outwards))
        EXPECT_GE(result[3], 0.999f);
}

TEST_F(Occlusion, GivenClutter_AgreesWithBruteForce) {
    const Clutter clutter;
    scene.addMesh(clutter.mesh);
    tracing.build(scene);
    const std::vector<ktTestMesh> meshes{clutter.mesh};
    const ktBruteForce oracle(meshes);
    const std::vector<ktTestTracing::Vertex> some(clutter.vertices.begin(), clutter.vertices.begin() + 60);
    for (const bool bothSides : {true, false}) {
        tracing.bothSides = bothSides;
        tracing.utils->configureTracing(64, 64, 2.0f, 25.0f);
        const auto results = tracing.trace(some);
        double sum = 0, squares = 0;
        for (std::size_t i = 0; i < some.size(); ++i) {
            double origin[3], normal[3];
            for (osg::UInt32 k = 0; k < 3; ++k) {
                origin[k] = some[i].position[k];
                normal[k] = some[i].normal[k];
            }
            const double share = oracle.openShare(origin, normal, 2.0, 25.0, bothSides, 4096, unsigned(i));
            EXPECT_NEAR(results[i][3], share, 0.03) << i; // four standard errors of the reference
            sum += results[i][3] - share;
            squares += (results[i][3] - share) * (results[i][3] - share);
        }
        EXPECT_NEAR(sum / double(some.size()), 0.0, 0.004);
        EXPECT_LT(std::sqrt(squares / double(some.size())), 0.01);
    }
}

TEST_F(Occlusion, GivenDistances_CountsOnlyHitsBetweenThem) {
    scene.addMesh(sphereOf(100));
    tracing.build(scene);
    const auto openAt = [&](float minDistance, float maxDistance) {
        tracing.utils->configureTracing(64, 64, minDistance, maxDistance);
        return tracing.traceOne(osg::Pnt3f(0, 0, 0), up)[3];
    };
    EXPECT_EQ(openAt(0, FLT_MAX), ktDarkestResult);
    EXPECT_EQ(openAt(0, 99), 1.0f);
    EXPECT_EQ(openAt(99, 101), ktDarkestResult);
    EXPECT_EQ(openAt(101, FLT_MAX), 1.0f);
    EXPECT_EQ(openAt(-5, infinity), ktDarkestResult);
    EXPECT_EQ(openAt(notANumber, 101), ktDarkestResult);
    EXPECT_EQ(openAt(0, notANumber), 1.0f);
    EXPECT_EQ(openAt(101, 99), 1.0f);
}

TEST_F(Occlusion, GivenFrontSidesOnly_PassesBacksAlsoWhereTransformsMirror) {
    for (const bool mirrored : {false, true}) {
        ktTriangleScene turned;
        osg::Matrix toWorld;
        toWorld.setScale(mirrored ? -2.0f : 2.0f, 2.0f, 2.0f);
        turned.addMesh(sphereOf(100), toWorld); // front faces outwards
        tracing.build(turned);
        tracing.bothSides = false;
        EXPECT_EQ(tracing.traceOne(osg::Pnt3f(0, 0, 0), up)[3], 1.0f) << mirrored;
        EXPECT_LT(tracing.traceOne(osg::Pnt3f(0, 0, -300), up)[3], 0.8f) << mirrored;
        tracing.bothSides = true;
        EXPECT_EQ(tracing.traceOne(osg::Pnt3f(0, 0, 0), up)[3], ktDarkestResult) << mirrored;
    }
}

TEST_F(Occlusion, GivenInstancesOfOneCore_OccludesAtEachPlace) {
    osg::Matrix below, above;
    below.setTranslate(0, 0, -50);
    above.setTranslate(0, 0, 50);
    above.setScale(-1, 1, 1);
    const osg::NodePtr node = scene.addMesh(groundPlane(100000), below);
    scene.addInstance(node, above);
    tracing.build(scene);
    EXPECT_LT(tracing.traceOne(osg::Pnt3f(0, 0, 0), up)[3], 0.01f);
    EXPECT_LT(tracing.traceOne(osg::Pnt3f(0, 0, 0), osg::Vec3f(0, 0, -1))[3], 0.01f);
    EXPECT_EQ(tracing.traceOne(osg::Pnt3f(0, 0, 51), up)[3], 1.0f);
    tracing.bothSides = false; // fronts face up, also that of the mirrored instance
    EXPECT_EQ(tracing.traceOne(osg::Pnt3f(0, 0, 0), up)[3], 1.0f);
    EXPECT_LT(tracing.traceOne(osg::Pnt3f(0, 0, 60), osg::Vec3f(0, 0, -1))[3], 0.01f);
}

TEST_F(Occlusion, GivenNonUniformScale_TurnsNormalsByTheInverseTranspose) {
    // A slope that is steeper in the world than in object space. With the right normal it does not occlude itself.
    osg::Matrix toWorld;
    toWorld.setScale(1, 1, 4);
    ktTestMesh slope; // z = x in object space, z = 4x in the world
    slope.addQuad({-1e4, -1e4, -1e4}, {2e4, 0, 2e4}, {0, 2e4, 0});
    scene.addMesh(slope, toWorld);
    tracing.build(scene);
    tracing.toWorld = &toWorld;
    osg::Vec3f normal(-1, 0, 1);
    normal.normalize();
    EXPECT_GT(tracing.traceOne(osg::Pnt3f(0, 0, 0), normal)[3], 0.999f);
}

TEST_F(Occlusion, GivenFlattenedSpace_TracesFromThePlane) {
    osg::Matrix toWorld;
    toWorld.setScale(1, 1, 0);
    scene.addMesh(groundPlane(1000), toWorld);
    ktTestMesh disc;
    disc.addDisc(300, 200, 512);
    scene.addMesh(disc);
    tracing.build(scene);
    tracing.toWorld = &toWorld;
    EXPECT_NEAR(tracing.traceOne(osg::Pnt3f(0, 0, 5), up)[3], 4.0 / 13.0, 0.01);
}

TEST_F(Occlusion, GivenTwoThreads_GivesTheBitsOfOne) {
    const Clutter clutter;
    scene.addMesh(clutter.mesh);
    tracing.build(scene);
    ktThreadCount::set(1);
    const auto one = tracing.trace(clutter.vertices);
    ktThreadCount::set(2);
    const auto two = tracing.trace(clutter.vertices);
    ktThreadCount::set(5);
    tracing.build(scene);
    const auto five = tracing.trace(clutter.vertices);
    ktThreadCount::set(0);
    EXPECT_TRUE(isSame(one, two));
    EXPECT_TRUE(isSame(one, five));
}

TEST_F(Occlusion, GivenVertexAloneOrAmongOthers_GivesTheSame) {
    const Clutter clutter;
    scene.addMesh(clutter.mesh);
    tracing.build(scene);
    const auto together = tracing.trace(clutter.vertices);
    for (std::size_t i = 0; i < clutter.vertices.size(); i += 17)
        EXPECT_EQ(tracing.trace({clutter.vertices[i]})[0], together[i]);
}

TEST_F(Occlusion, GivenBadVertices_CountsThemOpenAndTracesTheOthers) {
    scene.addMesh(sphereOf(100));
    tracing.build(scene);
    const osg::Pnt3f centre(0, 0, 0);
    const auto results = tracing.trace({{centre, up},
                                        {osg::Pnt3f(notANumber, 0, 0), up},
                                        {osg::Pnt3f(0, infinity, 0), up},
                                        {centre, osg::Vec3f(0, 0, 0)},
                                        {centre, osg::Vec3f(0, notANumber, 1)},
                                        {osg::Pnt3f(3e38f, 3e38f, 0), up},
                                        {centre, osg::Vec3f(0, 0, 1e-30f)},
                                        {centre, osg::Vec3f(0, 0, 3e38f)}});
    for (std::size_t i : {0u, 6u, 7u})
        EXPECT_EQ(results[i], osg::Vec4f(0, 0, 0, ktDarkestResult)) << i;
    for (std::size_t i : {1u, 2u, 3u, 4u, 5u})
        EXPECT_EQ(results[i], osg::Vec4f(0, 0, 0, 1)) << i;
    EXPECT_TRUE(log.lines.empty());
    tracing.utils->finishPass();
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_NE(log.lines[0].find("5 vertices"), std::string::npos) << log.lines[0];
}

TEST_F(Occlusion, GivenMatrixThatIsNotFinite_CountsAllOpen) {
    scene.addMesh(sphereOf(100));
    tracing.build(scene);
    osg::Matrix toWorld;
    toWorld.setTranslate(notANumber, 0, 0);
    tracing.toWorld = &toWorld;
    EXPECT_EQ(tracing.traceOne(osg::Pnt3f(0, 0, 0), up), osg::Vec4f(0, 0, 0, 1));
    osg::Matrix huge;
    huge.setScale(1e38f, 1e38f, 1e38f);
    tracing.toWorld = &huge;
    EXPECT_EQ(tracing.traceOne(osg::Pnt3f(1e10f, 1, 1), up), osg::Vec4f(0, 0, 0, 1));
}

TEST_F(Occlusion, GivenBadOccluder_LeavesOutItsBadTrianglesAlone) {
    ktTestMesh mesh = sphereOf(100);
    const std::uint32_t bad = mesh.addVertex(notANumber, 0, 0);
    mesh.addTriangle(0, 1, bad);
    mesh.addTriangle(0, 1, 100000000);
    scene.addMesh(mesh);
    scene.addMesh(ktTestMesh());
    scene.addCore(osg::Geometry::create());
    scene.geometryNodes.push_back(osg::NullFC);
    osg::Matrix broken;
    broken.setTranslate(notANumber, notANumber, notANumber);
    scene.addInstance(scene.geometryNodes[0], broken);
    tracing.build(scene);
    EXPECT_EQ(tracing.traceOne(osg::Pnt3f(0, 0, 0), up)[3], ktDarkestResult);
    EXPECT_EQ(tracing.traceOne(osg::Pnt3f(0, 0, 101), up)[3], 1.0f);
    ASSERT_EQ(log.lines.size(), 1u);
    EXPECT_NE(log.lines[0].find("triangles"), std::string::npos);
    EXPECT_FALSE(ktCancelToken::the().isCanceled());
}

TEST_F(Occlusion, GivenNothingToTraceAgainst_IsOne) {
    EXPECT_EQ(tracing.traceOne(osg::Pnt3f(0, 0, 0), up)[3], 1.0f);
    tracing.build(scene);
    EXPECT_EQ(tracing.traceOne(osg::Pnt3f(0, 0, 0), up)[3], 1.0f);
    tracing.utils->computeVertexOcclusion(0, nullptr, nullptr, nullptr, nullptr, false, nullptr, true, false);
    EXPECT_TRUE(log.lines.empty());
}
