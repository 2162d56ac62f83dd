// SPDX-License-Identifier: LGPL-2.1-or-later
// Compares a whole calculation of two bounces in a room with path tracing.
#include "ktRoom.h"
#include "ktRoomReference.h"
#include "ktWholeScene.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>

namespace {

/// KT_REFERENCE_PATHS=16 in the environment traces 16 times as many paths, which takes long.
int referencePaths(int paths) {
    const char* const factor = std::getenv("KT_REFERENCE_PATHS");
    return paths * (factor ? std::max(1, std::atoi(factor)) : 1);
}

struct Vertex {
    std::size_t surface;
    int column, row;
};

/// Every `step`-th vertex of the room.
std::vector<Vertex> chooseVertices(const std::vector<ktRoomSurface>& room, std::size_t step) {
    std::vector<Vertex> vertices;
    std::size_t number = 0;
    for (std::size_t surface = 0; surface < room.size(); ++surface)
        for (int row = 0; row <= room[surface].rows; ++row)
            for (int column = 0; column <= room[surface].columns; ++column)
                if (number++ % step == 0)
                    vertices.push_back({surface, column, row});
    return vertices;
}

/// The reference at these vertices, on two threads.
std::vector<ktRoomReference::Light> trace(const ktRoomReference& reference, const std::vector<Vertex>& vertices,
                                          int paths) {
    std::vector<ktRoomReference::Light> light(vertices.size());
    const auto half = [&](std::size_t first) {
        for (std::size_t i = first; i < vertices.size(); i += 2)
            light[i] = reference.received(vertices[i].surface, vertices[i].column, vertices[i].row, paths);
    };
    std::thread other(half, 1);
    half(0);
    other.join();
    return light;
}

/// The light that the host gathered at these vertices, divided by the colours of their surfaces.
std::vector<ktRoomReference::Light> readBake(const ktWholeScene& scene, const std::vector<ktRoomSurface>& room,
                                             const std::vector<Vertex>& vertices) {
    std::vector<std::vector<osg::Vec4f>> results;
    for (const ktRoomSurface& surface : room)
        results.push_back(scene.results(surface.name));
    std::vector<ktRoomReference::Light> light;
    for (const Vertex& vertex : vertices) {
        const ktRoomSurface& surface = room[vertex.surface];
        const osg::Vec4f& result = results[vertex.surface].at(static_cast<std::size_t>(vertex.row) *
                                                                  static_cast<std::size_t>(surface.columns + 1) +
                                                              static_cast<std::size_t>(vertex.column));
        light.push_back({});
        for (osg::UInt32 c = 0; c < 3; ++c)
            light.back()[c] = result[c] / surface.color[c];
    }
    return light;
}

/// Root mean square difference over all vertices and components, as a share of the mean of `b`.
double difference(const std::vector<ktRoomReference::Light>& a, const std::vector<ktRoomReference::Light>& b) {
    double square = 0, sum = 0;
    const auto count = static_cast<double>(3 * a.size());
    for (std::size_t i = 0; i < a.size(); ++i)
        for (std::size_t c = 0; c < 3; ++c) {
            square += (a[i][c] - b[i][c]) * (a[i][c] - b[i][c]);
            sum += b[i][c];
        }
    return std::sqrt(square / count) / (sum / count);
}

/// The room and the settings that calculation and reference share.
struct Case {
    std::vector<ktRoomSurface> room;
    ktWholeSettings bake;
    ktRoomReference::Settings reference;
};

Case roomWithLamp() {
    Case result{ktMakeRoom(true), {}, {}};
    result.bake.mode = 2;
    result.reference.hasLamp = true;
    result.reference.gatherDistance = 1e9; // light and shadows: from any distance
    return result;
}

/// The room under the sky: open in front, with a distance shorter than the room.
Case roomUnderTheSky() {
    Case result{ktMakeRoom(false), {}, {}};
    result.bake.mode = 0;
    result.bake.maxDistance = 2000;
    result.reference.hasLamp = false;
    result.reference.skyDistance = result.reference.gatherDistance = 2000;
    return result;
}

void checkAgreement(Case test, std::size_t step, int paths) {
    test.bake.bounces = test.reference.bounces = 2;
    test.bake.gatherQuality = 4;
    test.bake.shadowQuality = test.reference.hasLamp ? 0 : 4; // for the lamp one ray is enough
    test.bake.colorBleeding = true;
    ktWholeScene scene;
    for (const ktRoomSurface& surface : test.room) {
        ktWholeMesh mesh;
        mesh.addGrid(surface.corner, surface.a, surface.b, surface.columns, surface.rows, surface.normal);
        scene.add(surface.name, mesh, surface.color);
    }
    if (test.reference.hasLamp)
        scene.addLamp(ktRoomLamp::position_mm, ktRoomLamp::color);
    scene.bake(test.bake);
    const std::vector<Vertex> vertices = chooseVertices(test.room, step);
    const auto baked = readBake(scene, test.room, vertices);
    const auto reference = trace(ktRoomReference(test.room, test.reference), vertices, referencePaths(paths));
    const double share = difference(baked, reference);
    std::printf("%zu vertices: root mean square difference %.4f of the mean\n", vertices.size(), share);
    EXPECT_LT(share, 0.02);
}

/// How much the reference changes when the edges of the triangles between which it interpolates light are halved.
void checkTessellation(Case test, std::size_t step, int paths) {
    test.reference.bounces = 2;
    const std::vector<Vertex> vertices = chooseVertices(test.room, step);
    std::vector<std::vector<ktRoomReference::Light>> light;
    for (const int tessellation : {1, 2}) {
        test.reference.tessellation = tessellation;
        light.push_back(trace(ktRoomReference(test.room, test.reference), vertices, referencePaths(paths)));
    }
    const double share = difference(light[0], light[1]);
    std::printf("%zu vertices: halving the edges changes the reference by %.4f of its mean\n", vertices.size(), share);
    EXPECT_LT(share, 0.005);
}

} // namespace

TEST(IndirectReference, GivenRoomWithALamp_AgreesPerVertex) {
    checkAgreement(roomWithLamp(), 17, 20000);
}

TEST(IndirectReference, GivenRoomUnderTheSky_AgreesPerVertex) {
    checkAgreement(roomUnderTheSky(), 17, 30000);
}

TEST(IndirectReference, GivenRoomWithALampAndHalvedEdges_ChangesLittle) {
    checkTessellation(roomWithLamp(), 61, 30000);
}

TEST(IndirectReference, GivenRoomUnderTheSkyAndHalvedEdges_ChangesLittle) {
    checkTessellation(roomUnderTheSky(), 61, 50000);
}
