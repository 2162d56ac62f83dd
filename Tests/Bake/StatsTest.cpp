// SPDX-License-Identifier: LGPL-2.1-or-later
// The JSON file that --stats writes.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <gtest/gtest.h>
#include <QByteArray>

namespace {

nlohmann::json statsOf(const ktTestFolder& folder) {
    return nlohmann::json::parse(readFile(folder.file("stats.json")));
}

} // namespace

TEST(Stats, GivenRun_CountsAndTimesIt) {
    const ktTestFolder folder;
    folder.write("boxes.gltf", makeBoxes({{"left", {0, 0, 0}}, {"right", {2, 0, 0}}}).dump());
    ASSERT_EQ(runBake(folder.path, {"boxes.gltf", "--stats", "stats.json", "--shadow-quality", "1", "--threads", "1"})
                  .exitCode,
              0);
    const auto stats = statsOf(folder);
    EXPECT_EQ(stats.at("geometriesCalculated"), 2);
    EXPECT_EQ(stats.at("sceneVertices"), 48);
    EXPECT_EQ(stats.at("sceneTriangles"), 24);
    EXPECT_EQ(stats.at("threads"), 1);
    EXPECT_EQ(stats.at("settings").at("shadow-quality"), 1);
    for (const char* part : {"read", "structure", "tracing", "storing", "write", "total"})
        EXPECT_GE(stats.at("seconds").at(part).get<double>(), 0) << part;
    EXPECT_GT(stats.at("peakMemoryMiB").get<double>(), 1);
}

// Of 12 triangles and millions of rays; the tracing of a scene with one geometry must not count as its structure.
TEST(Stats, GivenOneGeometry_TellsTracingFromItsStructure) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    ASSERT_EQ(
        runBake(folder.path, {"box.gltf", "--stats", "stats.json", "--shadow-quality", "3", "--no-indirect"}).exitCode,
        0);
    const auto seconds = statsOf(folder).at("seconds");
    EXPECT_GT(seconds.at("tracing").get<double>(), seconds.at("structure").get<double>());
}

TEST(Stats, GivenPasses_CountsTheirRays) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    const std::vector<std::string> run = {
        "box.gltf",  "--stats", "stats.json", "--shadow-quality", "1", "--gather-quality", "0",
        "--bounces", "3",       "--fit",      "vertices"};
    ASSERT_EQ(runBake(folder.path, run).exitCode, 0);
    const auto rays = statsOf(folder).at("raysTraced");
    EXPECT_EQ(rays.at("direct"), 24 * 256);
    EXPECT_EQ(rays.at("indirect"), 3 * 24 * 64);
    EXPECT_EQ(statsOf(folder).at("raysShared"), (nlohmann::json{{"direct", 0}, {"indirect", 0}}));
    EXPECT_EQ(statsOf(folder).at("refinement"),
              (nlohmann::json{{"addedVertices", 0}, {"raysTraced", {{"direct", 0}, {"indirect", 0}}}}));
    EXPECT_EQ(statsOf(folder).at("geometries").at(0).at("raysTraced"), 24 * 256 + 3 * 24 * 64);
}

// A mesh used three times is traced once, but all three uses occlude.
TEST(Stats, GivenInstances_CountsStoredUsedAndOccludingTriangles) {
    const ktTestFolder folder;
    auto scene = makeBoxes({{"middle", {0, 0, 0}}, {"right", {1.01f, 0, 0}}});
    scene["nodes"].push_back({{"name", "left"}, {"mesh", 1}, {"translation", {-1.01, 0, 0}}});
    scene["nodes"].push_back({{"name", "top"}, {"mesh", 1}, {"translation", {0, 1.01, 0}}});
    scene["scenes"][0]["nodes"] = {0, 1, 2, 3};
    folder.write("boxes.gltf", scene.dump());
    ASSERT_EQ(runBake(folder.path,
                      {"boxes.gltf", "-o", "out.glb", "--stats", "stats.json", "--no-indirect", "--fit", "vertices"})
                  .exitCode,
              0);
    const auto stats = statsOf(folder);
    EXPECT_EQ(stats.at("sceneTriangles"), 24);
    EXPECT_EQ(stats.at("instancedTriangles"), 48);
    EXPECT_EQ(stats.at("occludingTriangles"), 48);
    EXPECT_EQ(stats.at("verticesTraced"), 48);
    const auto& geometries = stats.at("geometries");
    ASSERT_EQ(geometries.size(), 2u);
    EXPECT_EQ(geometries.at(0), (nlohmann::json{{"node", "middle"},
                                                {"uses", 1},
                                                {"vertices", 24},
                                                {"triangles", 12},
                                                {"traced", true},
                                                {"raysTraced", 24 * 1024}}));
    EXPECT_EQ(geometries.at(1).at("node"), "right");
    EXPECT_EQ(geometries.at(1).at("uses"), 3);

    const ktBakedFile baked(folder.file("out.glb"));
    const std::vector<float> occlusion = baked.floats(baked.primitives().at(0), "_AO");
    const std::vector<float> normals = baked.floats(baked.primitives().at(0), "NORMAL");
    for (size_t vertex = 0; vertex < 24; ++vertex) {
        const float* normal = &normals[3 * vertex];
        if (normal[0] != 0 || normal[1] > 0) {
            EXPECT_LT(occlusion[vertex], 0.8f) << "an instance is in front of it";
        }
    }
}

TEST(Stats, GivenSelection_ListsWhatWasNotTraced) {
    const ktTestFolder folder;
    folder.write("boxes.gltf", makeBoxes({{"left", {0, 0, 0}}, {"right", {2, 0, 0}}}).dump());
    ASSERT_EQ(runBake(folder.path, {"boxes.gltf", "--select", "right", "--stats", "stats.json", "--shadow-quality", "0",
                                    "--no-indirect"})
                  .exitCode,
              0);
    const auto stats = statsOf(folder);
    EXPECT_EQ(stats.at("geometries").at(0).at("traced"), false);
    EXPECT_EQ(stats.at("geometries").at(0).at("raysTraced"), 0);
    EXPECT_EQ(stats.at("geometries").at(1).at("traced"), true);
    EXPECT_EQ(stats.at("occludingTriangles"), 24) << "geometry that is not selected occludes as well";
}

// A square of two triangles without indices: two of its six vertices are equal to others.
TEST(Stats, GivenEqualVertices_CountsTheRaysThatTheyShare) {
    const float corners[6][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}};
    std::vector<float> values;
    for (const auto& corner : corners)
        values.insert(values.end(), {corner[0], corner[1], 0});
    for (int i = 0; i < 6; ++i)
        values.insert(values.end(), {0, 0, 1});
    const QByteArray bytes(reinterpret_cast<const char*>(values.data()), static_cast<int>(4 * values.size()));
    nlohmann::json scene = makeBoxes({{"square", {0, 0, 0}}});
    scene["buffers"][0] = {{"byteLength", bytes.size()},
                           {"uri", "data:application/octet-stream;base64," + bytes.toBase64().toStdString()}};
    scene["bufferViews"] = {{{"buffer", 0}, {"byteOffset", 0}, {"byteLength", 72}},
                            {{"buffer", 0}, {"byteOffset", 72}, {"byteLength", 72}}};
    scene["accessors"].erase(2);
    for (int i = 0; i < 2; ++i)
        scene["accessors"][i]["count"] = 6;
    scene["accessors"][0]["min"] = {0, 0, 0};
    scene["accessors"][0]["max"] = {1, 1, 0};
    scene["meshes"][0]["primitives"][0].erase("indices");
    const ktTestFolder folder;
    folder.write("square.gltf", scene.dump());
    ASSERT_EQ(runBake(folder.path, {"square.gltf", "-o", "out.glb", "--stats", "stats.json", "--shadow-quality", "1",
                                    "--gather-quality", "0", "--fit", "vertices"})
                  .exitCode,
              0);
    const auto stats = statsOf(folder);
    EXPECT_EQ(stats.at("raysTraced"), (nlohmann::json{{"direct", 6 * 256}, {"indirect", 6 * 64}}));
    EXPECT_EQ(stats.at("raysShared"), (nlohmann::json{{"direct", 2 * 256}, {"indirect", 2 * 64}}));
}

TEST(Stats, GivenRefinement_CountsVerticesAndRaysThatItAdded) {
    const ktTestFolder folder;
    folder.write("boxes.gltf", makeBoxes({{"left", {0, 0, 0}}, {"right", {1.3f, 0, 0}}}).dump());
    ASSERT_EQ(
        runBake(folder.path, {"boxes.gltf", "-o", "out.glb", "--stats", "stats.json", "--no-indirect",
                              "--shadow-quality", "2", "--subdivide", "--min-edge-length", "200", "--fit", "vertices"})
            .exitCode,
        0);
    const ktBakedFile baked(folder.file("out.glb"));
    std::size_t written = 0;
    for (const auto& primitive : baked.primitives())
        written += baked.floats(primitive, "_AO").size();
    const auto stats = statsOf(folder);
    const auto added = stats.at("refinement").at("addedVertices").get<std::size_t>();
    EXPECT_GT(added, 0u);
    EXPECT_EQ(added, written - 48);
    EXPECT_EQ(stats.at("raysTraced").at("direct"), 48 * 1024) << "without the rays of refinement";
    EXPECT_GT(stats.at("refinement").at("raysTraced").at("direct").get<double>(), 1024.0 * static_cast<double>(added));
    EXPECT_EQ(stats.at("refinement").at("raysTraced").at("indirect"), 0);
}
