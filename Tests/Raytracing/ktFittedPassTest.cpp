// SPDX-License-Identifier: LGPL-2.1-or-later
// Vertex values that are fitted to traced light, judged by the light on the faces.
#include "ktFitMode.h"
#include "ktOcclusionPass.h"
#include "ktSceneState.h"
#include "ktTracerFactory.h"
#include "ktTriangleScene.h"

#include <algorithm>
#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <OpenSG/OSGPointLight.h>
#include <random>

namespace {

const osg::Vec3f up(0, 0, 1);

std::vector<osg::Vec3f> towards(const ktTestMesh& mesh, float sign) {
    std::vector<osg::Vec3f> normals;
    for (std::size_t i = 0; i < mesh.positions.size(); i += 3) {
        normals.push_back(
            osg::Vec3f(sign * mesh.positions[i], sign * mesh.positions[i + 1], sign * mesh.positions[i + 2]));
        normals.back().normalize();
    }
    return normals;
}

ktTestMesh sphere(int rings, int segments) {
    ktTestMesh mesh;
    mesh.addSphere(1000, rings, segments);
    return mesh;
}

/// A closed box that faces outwards.
ktTestMesh box(std::array<double, 3> p, std::array<double, 3> size) {
    ktTestMesh mesh;
    const std::array<double, 3> x{size[0], 0, 0}, y{0, size[1], 0}, z{0, 0, size[2]};
    mesh.addQuad(p, y, x);
    mesh.addQuad(p, x, z);
    mesh.addQuad(p, z, y);
    mesh.addQuad({p[0], p[1], p[2] + size[2]}, x, y);
    mesh.addQuad({p[0], p[1] + size[1], p[2]}, z, x);
    mesh.addQuad({p[0] + size[0], p[1], p[2]}, y, z);
    return mesh;
}

/// A square in the plane z = 0 with shared vertices.
ktTestMesh grid(double size, int cells, double height = 0) {
    ktTestMesh mesh;
    for (int row = 0; row <= cells; ++row)
        for (int column = 0; column <= cells; ++column) {
            const double x = (double(column) / cells - 0.5) * size, y = (double(row) / cells - 0.5) * size;
            mesh.addVertex(x, y, height * std::sin(20 * x / size) * std::cos(17 * y / size));
        }
    mesh.addGridTriangles(cells);
    return mesh;
}

/// The host's tracer, but cancels at one of the calls.
class CancelingTracer : public ktTracer {
public:
    CancelingTracer(int at_, std::atomic<int>& calls_) : at(at_), calls(calls_) {}
    bool build(const std::vector<ktTracerMesh>& meshes, const Progress& progress) override {
        return tracer->build(meshes, progress);
    }
    std::unique_ptr<ktPreparedDirections> prepareDirections(const ktDirectionSet& set) const override {
        return tracer->prepareDirections(set);
    }
    void countVisible(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                      std::uint32_t* visible, std::uint64_t* const* masks) const override {
        if (++calls == at)
            ktCancelToken::the().cancel();
        tracer->countVisible(vertices, count, limits, visible, masks);
    }
    void findNearest(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                     ktHitReceiver& receiver) const override {
        tracer->findNearest(vertices, count, limits, receiver);
    }
    std::uint32_t occluded(const ktRayPacket& rays, bool bothSides) const override {
        return tracer->occluded(rays, bothSides);
    }
    void nearest(const ktRayPacket& rays, bool bothSides, ktHitPacket& hits) const override {
        tracer->nearest(rays, bothSides, hits);
    }

private:
    std::unique_ptr<ktTracer> tracer = ktMakeTracer();
    const int at;
    std::atomic<int>& calls;
};

class FittedPass : public testing::Test {
protected:
    FittedPass() { ktSetFitMode(ktFitMode::Surface); }
    ~FittedPass() override {
        ktSetFitMode(ktFitMode::Vertices);
        ktSceneState::setRootNode(osg::NullFC);
    }

    // Builds the scene in the present mode and traces a node of it.
    std::vector<osg::Vec4f> trace(const osg::NodePtr& node, const std::vector<osg::Vec3f>& normals,
                                  bool lightMode = false) {
        tracing.build(scene, lights);
        const auto positions = osg::GeoPositions3fPtr::dcast(osg::GeometryPtr::dcast(node->getCore())->getPositions());
        const osg::Matrix matrix = node->getToWorld();
        std::vector<osg::Vec4f> results(normals.size(), ktTestTracing::untouched);
        tracing.utils->computeVertexOcclusion(static_cast<osg::UInt32>(normals.size()), &matrix,
                                              &positions->getField()[0], normals.data(), results.data(), true,
                                              tracing.sampler, true, lightMode);
        return results;
    }
    std::vector<osg::Vec4f> traceVertices(const osg::NodePtr& node, const std::vector<osg::Vec3f>& normals,
                                          bool lightMode = false) {
        ktSetFitMode(ktFitMode::Vertices);
        const auto results = trace(node, normals, lightMode);
        ktSetFitMode(ktFitMode::Surface);
        return results;
    }
    // Root of the mean square of what interpolation over a mesh in the plane z = 0 differs from traced light, at random
    // points that are not below the box.
    double errorOnFloor(const ktTestMesh& floor, const std::vector<osg::Vec4f>& results, double boxSize) {
        std::mt19937 random(9);
        std::uniform_real_distribution<double> share(0, 1);
        std::vector<ktTestTracing::Vertex> vertices;
        std::vector<double> interpolated;
        while (vertices.size() < 2000) {
            const std::size_t face = random() % (floor.indices.size() / 3); // all faces have one size
            const double root = std::sqrt(share(random)), v = share(random);
            const double weights[3] = {1 - root, root * (1 - v), root * v};
            double x = 0, y = 0, value = 0;
            for (std::size_t corner = 0; corner < 3; ++corner) {
                const std::uint32_t vertex = floor.indices[3 * face + corner];
                x += weights[corner] * floor.positions[3 * vertex];
                y += weights[corner] * floor.positions[3 * vertex + 1];
                value += weights[corner] * results[vertex][3];
            }
            if (std::max(std::abs(x), std::abs(y)) < boxSize / 2)
                continue;
            vertices.push_back({osg::Pnt3f(static_cast<float>(x), static_cast<float>(y), 0), up});
            interpolated.push_back(value);
        }
        const auto traced = tracing.trace(vertices);
        double squares = 0;
        for (std::size_t i = 0; i < traced.size(); ++i)
            squares += std::pow(interpolated[i] - traced[i][3], 2);
        return std::sqrt(squares / double(traced.size()));
    }
    void addLamp(float z, const osg::Color3f& color) {
        const osg::PointLightPtr light = osg::PointLight::create();
        beginEditCP(light);
        light->setPosition(0, 0, z);
        light->setDiffuse(color[0], color[1], color[2], 1);
        endEditCP(light);
        lights.push_back(scene.addCore(light));
    }

    ktTestLog log;
    ktTriangleScene scene;
    ktTestTracing tracing{32};
    std::vector<osg::NodePtr> lights;
};

std::vector<osg::Vec3f> allUp(const ktTestMesh& mesh) {
    return std::vector<osg::Vec3f>(mesh.positions.size() / 3, up);
}

} // namespace

TEST_F(FittedPass, GivenOpenPlane_IsExactlyOne) {
    const ktTestMesh plane = grid(1000, 5);
    const osg::NodePtr node = scene.addMesh(plane);
    for (const osg::Vec4f& result : trace(node, allUp(plane)))
        for (osg::UInt32 c = 0; c < 4; ++c)
            EXPECT_EQ(result[c], c < 3 ? 0.0f : 1.0f);
    EXPECT_GT(tracing.utils->getStatistics().fitPoints, 1000u);
}

TEST_F(FittedPass, GivenInsideOfClosedSphere_IsDarkButCalculated) {
    const ktTestMesh mesh = sphere(24, 48);
    const osg::NodePtr node = scene.addMesh(mesh);
    for (const osg::Vec4f& result : trace(node, towards(mesh, -1))) {
        EXPECT_GE(result[3], ktDarkestResult);
        EXPECT_LT(result[3], 1e-3f);
    }
}

TEST_F(FittedPass, GivenABoxOnAFloor_IsNearerToTheLightBetweenTheVertices) {
    for (const int cells : {1, 5}) {
        SCOPED_TRACE(std::to_string(cells) + " cells");
        scene.geometryNodes.clear();
        const ktTestMesh floor = grid(1000, cells);
        const osg::NodePtr node = scene.addMesh(floor);
        scene.addMesh(box({-350, -350, -50}, {700, 700, 700}));
        const double atVertices = errorOnFloor(floor, traceVertices(node, allUp(floor)), 700);
        const double fitted = errorOnFloor(floor, trace(node, allUp(floor)), 700);
        EXPECT_GT(atVertices, 0.15);
        EXPECT_LT(fitted, 0.5 * atVertices) << atVertices;
    }
}

TEST_F(FittedPass, GivenAVertexInsideAnotherSolid_StaysBright) {
    ktTestMesh plate;
    plate.addQuad({0, 0, 0}, {1000, 0, 0}, {0, 1000, 0});
    const osg::NodePtr node = scene.addMesh(plate);
    scene.addMesh(box({-100, -100, -20}, {200, 200, 60}));
    const auto atVertices = traceVertices(node, allUp(plate)), fitted = trace(node, allUp(plate));
    EXPECT_LT(atVertices[0][3], 0.01f);
    EXPECT_GT(fitted[0][3], 0.8f);
    for (std::size_t i = 1; i < 4; ++i)
        EXPECT_GT(fitted[i][3], 0.95f);
}

TEST_F(FittedPass, GivenAFineMesh_DiffersFromTheVerticesOnlyBySmoothing) {
    const ktTestMesh hills = grid(1000, 110, 30);
    const osg::NodePtr node = scene.addMesh(hills);
    scene.addMesh(box({-100, -100, 150}, {200, 200, 200}));
    const auto atVertices = traceVertices(node, allUp(hills)), fitted = trace(node, allUp(hills));
    EXPECT_EQ(tracing.utils->getStatistics().fitPoints, 0u) << "all rays are at vertices";
    double squares = 0, worst = 0;
    for (std::size_t i = 0; i < fitted.size(); ++i) {
        const double difference = std::abs(double(fitted[i][3]) - atVertices[i][3]);
        squares += difference * difference / double(fitted.size());
        worst = std::max(worst, difference);
    }
    EXPECT_LT(worst, 0.02);
    EXPECT_LT(std::sqrt(squares), 0.003);
}

TEST_F(FittedPass, GivenACreviceOfAFineMesh_IsAsDarkAsAtItsVertices) {
    const int cells = 110;
    const ktTestMesh floor = grid(1000, cells);
    const osg::NodePtr node = scene.addMesh(floor);
    scene.addMesh(box({-25, -300, 1}, {50, 600, 300}));
    const auto atVertices = traceVertices(node, allUp(floor)), fitted = trace(node, allUp(floor));
    int dark = 0;
    for (std::size_t i = 0; i < fitted.size(); ++i)
        if (atVertices[i][3] < 0.02f) {
            ++dark;
            EXPECT_NEAR(fitted[i][3], atVertices[i][3], 0.05f) << i;
        }
    EXPECT_GT(dark, 100);
}

TEST_F(FittedPass, GivenALamp_FitsItsColourAndTheShare) {
    const osg::Color3f lamp(2.0f, 1.0f, 0.5f);
    const ktTestMesh mesh = sphere(32, 64);
    const osg::NodePtr node = scene.addMesh(mesh);
    addLamp(0, lamp);
    const float luminance = 0.212671f * 2 + 0.71516f + 0.072169f * 0.5f;
    for (const osg::Vec4f& result : trace(node, towards(mesh, -1), true)) {
        for (osg::UInt32 c = 0; c < 3; ++c)
            EXPECT_NEAR(result[c], lamp[c], 0.01f * lamp[c]) << "one metre away";
        EXPECT_NEAR(result[3], luminance / (1 + luminance), 0.005f) << "no sky";
    }
}

TEST_F(FittedPass, GivenALampInShadow_IsNearerToTheLightBetweenTheVertices) {
    const ktTestMesh floor = grid(1000, 4);
    const osg::NodePtr node = scene.addMesh(floor);
    scene.addMesh(box({-150, -150, 200}, {300, 300, 20}));
    addLamp(800, osg::Color3f(1, 1, 1));
    const auto fitted = trace(node, allUp(floor), true), atVertices = traceVertices(node, allUp(floor), true);
    // The shadow has a half edge of 200. Vertices at 0 lie in it, those at 250 and 500 do not.
    const std::size_t middle = 12, beside = 13;
    EXPECT_EQ(atVertices[middle][0], 0.0f);
    EXPECT_EQ(fitted[middle][1], fitted[middle][0]);
    EXPECT_LT(fitted[middle][0], 0.15f);
    EXPECT_GE(fitted[middle][0], 0.0f) << "not below zero";
    EXPECT_LT(fitted[beside][0], atVertices[beside][0] - 0.1f) << "a part of its faces lies in the shadow";
}

TEST_F(FittedPass, GivenGeometryThatDoesNotOcclude_FitsItToo) {
    ktTestMesh plate;
    plate.addQuad({0, 0, 0}, {1000, 0, 0}, {0, 1000, 0});
    const osg::NodePtr hidden = scene.addMesh(plate);
    ktSceneState::setRootNode(hidden->getParent()->getParent());
    scene.geometryNodes.clear();
    scene.addMesh(box({-100, -100, -20}, {200, 200, 60}));
    EXPECT_LT(traceVertices(hidden, allUp(plate))[0][3], 0.01f);
    const auto fitted = trace(hidden, allUp(plate));
    EXPECT_GT(fitted[0][3], 0.8f);
    EXPECT_GT(tracing.utils->getStatistics().fitPoints, 1000u);
}

TEST_F(FittedPass, GivenVerticesWithoutAFace_KeepsTheirOwnResult) {
    ktTestMesh mesh = grid(1000, 1);
    for (int i = 0; i < 40; ++i)
        mesh.addVertex(-500 + 25 * i, 30 * i - 500, 10); // of no triangle
    const osg::NodePtr node = scene.addMesh(mesh);
    scene.addMesh(box({-100, -100, 100}, {200, 200, 200}));
    const auto atVertices = traceVertices(node, allUp(mesh)), fitted = trace(node, allUp(mesh));
    EXPECT_NE(ktBitsOf(fitted), ktBitsOf(atVertices));
    const auto alone = [](const std::vector<osg::Vec4f>& results) {
        return ktBitsOf(std::vector<osg::Vec4f>(results.begin() + 4, results.end()));
    };
    EXPECT_EQ(alone(fitted), alone(atVertices));
}

TEST_F(FittedPass, GivenPointsOrLinesOnly_KeepsTheVertexResult) {
    ktTestMesh mesh = grid(1000, 3);
    mesh.indices.resize(mesh.indices.size() / 2 * 2);
    const osg::NodePtr node = scene.addMesh(mesh);
    scene.addMesh(box({-100, -100, 100}, {200, 200, 200}));
    for (const osg::UInt8 type : {GL_POINTS, GL_LINES}) {
        const osg::GeometryPtr geometry = osg::GeometryPtr::dcast(node->getCore());
        osg::GeoPTypesUI8Ptr::dcast(geometry->getTypes())->getField()[0] = type;
        const auto fitted = trace(node, allUp(mesh));
        EXPECT_EQ(ktBitsOf(fitted), ktBitsOf(traceVertices(node, allUp(mesh))));
        EXPECT_EQ(tracing.utils->getStatistics().fitPoints, 0u);
        EXPECT_LT(fitted[5][3], 0.9f);
    }
}

TEST_F(FittedPass, GivenATransform_FitsAsInWorldSpace) {
    std::vector<std::vector<osg::Vec4f>> results;
    const ktTestMesh solid = box({-100, -150, -20}, {200, 400, 90});
    for (const bool isTransformed : {false, true}) {
        scene.geometryNodes.clear();
        ktTestMesh floor = grid(1000, 4);
        osg::Matrix matrix;
        if (isTransformed) {
            matrix.setScale(-2, 0.5f, 4);
            for (std::size_t i = 0; i < floor.positions.size(); i += 3) {
                floor.positions[i] /= -2;
                floor.positions[i + 1] /= 0.5f;
            }
        }
        const osg::NodePtr node = scene.addMesh(floor, matrix);
        scene.addMesh(solid);
        results.push_back(trace(node, allUp(floor)));
    }
    float least = 1;
    for (std::size_t i = 0; i < results[0].size(); ++i) {
        EXPECT_NEAR(results[1][i][3], results[0][i][3], 0.01f) << i;
        least = std::min(least, results[0][i][3]);
    }
    EXPECT_LT(least, 0.9f);
}

TEST_F(FittedPass, GivenInstances_FitsTheUseThatIsTraced) {
    const ktTestMesh plate = grid(1000, 2);
    const osg::NodePtr node = scene.addMesh(plate);
    osg::Matrix above;
    above.setTranslate(0, 0, 200);
    const osg::NodePtr roof = scene.addInstance(node, above);
    const auto below = trace(node, allUp(plate)), top = trace(roof, allUp(plate));
    for (std::size_t i = 0; i < below.size(); ++i) {
        EXPECT_LT(below[i][3], 0.8f);
        EXPECT_EQ(top[i][3], 1.0f);
    }
}

TEST_F(FittedPass, GivenACancelWhilePointsAreTraced_LeavesTheResultsAsTheyWere) {
    const ktTestMesh floor = grid(1000, 20);
    const osg::NodePtr node = scene.addMesh(floor);
    std::atomic<int> calls{0};
    ktTestTracing cancelled(std::make_unique<ktSceneRaytracing>(std::make_unique<CancelingTracer>(20, calls)), 16);
    cancelled.build(scene);
    EXPECT_THAT(cancelled.traceNode(node, allUp(floor)), testing::Each(ktTestTracing::untouched));
    EXPECT_GE(calls, 20);
    EXPECT_LT(calls, 100) << "of more than 500";
    EXPECT_THAT(log.lines, testing::IsEmpty());
}
