// SPDX-License-Identifier: LGPL-2.1-or-later
// Twice the scene takes about twice the processor time and memory, for shapes of scenes that once took much more.
#include "ktBakeProcess.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/resource.h>

namespace {

using Json = nlohmann::json;

/// A scene in which `nodes` show a triangle that follows joints 0.
Json sceneOf(Json nodes, const Json& roots) {
    // Three positions, twelve joints and twelve weights, all 0 but the corners and the first weights.
    const std::string data = "AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA"
                             "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA"
                             "AACAPwAAAAAAAAAAAAAAAAAAgD8AAAAAAAAAAAAAAAAAAIA/AAAAAAAAAAAAAAAA";
    Json scene = Json::parse(R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{}],
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]},
                   {"primitives": [{"attributes": {"POSITION": 0, "JOINTS_0": 1, "WEIGHTS_0": 2}}]}],
        "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3"},
                      {"bufferView": 1, "componentType": 5123, "count": 3, "type": "VEC4"},
                      {"bufferView": 2, "componentType": 5126, "count": 3, "type": "VEC4"}],
        "bufferViews": [{"buffer": 0, "byteLength": 36},
                        {"buffer": 0, "byteOffset": 36, "byteLength": 24},
                        {"buffer": 0, "byteOffset": 60, "byteLength": 48}],
        "buffers": [{"byteLength": 108}]})");
    scene["nodes"] = std::move(nodes);
    scene["scenes"][0]["nodes"] = roots;
    scene["buffers"][0]["uri"] = "data:application/octet-stream;base64," + data;
    return scene;
}

Json chainWithMeshes(int count) {
    Json nodes;
    for (int i = 0; i < count; ++i) {
        nodes.push_back({{"mesh", 0}, {"translation", {0, 0, 0.01}}});
        if (i + 1 < count)
            nodes.back()["children"] = Json::array({i + 1});
    }
    return sceneOf(nodes, Json::array({0}));
}

Json manyJoints(int count) {
    Json nodes, roots, joints;
    for (int i = 0; i < 2 * count; ++i) {
        nodes.push_back(i < count ? Json::object() : Json{{"mesh", 1}, {"skin", 0}});
        roots.push_back(i);
        if (i < count)
            joints.push_back(i);
    }
    Json scene = sceneOf(nodes, roots);
    scene["skins"] = Json::array({Json{{"joints", joints}}});
    return scene;
}

Json manyTexts(int count) {
    Json extras;
    for (int i = 0; i < count; ++i)
        extras["a long name of a text, number " + std::to_string(i)] = "x";
    return sceneOf(Json::array({Json{{"mesh", 0}, {"extras", extras}}}), Json::array({0}));
}

double processorTime_s() {
    rusage usage = {};
    getrusage(RUSAGE_CHILDREN, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           1e-6 * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

/// Bakes the file a.gltf of a folder. @return the processor time in seconds
double timeOfBake(const ktTestFolder& folder) {
    const double before = processorTime_s();
    const ktBakeResult result =
        runBake(folder.path, {"a.gltf", "-qo", "out.glb", "--shadow-quality", "0", "--no-indirect"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    return processorTime_s() - before;
}

/// Bakes a scene and one of twice its size in turns. Compares the least times of at least three bakes each, and of more
/// if a busy machine has disturbed those.
void expectGrowthInProportion(const Json& once, const Json& twice) {
    // A start of the program takes its share of both times; quadratic growth gives at least 3 all the same.
    constexpr double mostGrowth = 2.7;
    constexpr int leastBakes = 3, mostBakes = 10;
    const ktTestFolder small, large;
    small.write("a.gltf", once.dump());
    large.write("a.gltf", twice.dump());
    double ofSmall = 1e9, ofLarge = 1e9;
    for (int i = 0; i < mostBakes && (i < leastBakes || ofLarge >= mostGrowth * ofSmall); ++i) {
        ofSmall = std::min(ofSmall, timeOfBake(small));
        ofLarge = std::min(ofLarge, timeOfBake(large));
    }
    EXPECT_LT(ofLarge, mostGrowth * ofSmall);
}

} // namespace

TEST(Growth, GivenChainWithAMeshAtEachLevel_TakesTimeInProportion) {
    expectGrowthInProportion(chainWithMeshes(6000), chainWithMeshes(12000));
}

TEST(Growth, GivenManyNodesWithManyJoints_TakesTimeInProportion) {
    expectGrowthInProportion(manyJoints(3000), manyJoints(6000));
}

TEST(Growth, GivenManyTextsOfANode_TakesTimeInProportion) {
    expectGrowthInProportion(manyTexts(10000), manyTexts(20000));
}

TEST(Growth, GivenManyEmptyNodes_WritesHardlyMoreThanWasRead) {
    Json nodes = Json::array({Json{{"mesh", 0}}}), roots = Json::array({0});
    for (int i = 1; i < 5000; ++i) {
        nodes.push_back(Json::object());
        roots.push_back(i);
    }
    const ktTestFolder folder;
    folder.write("a.gltf", sceneOf(nodes, roots).dump());
    const ktBakeResult result =
        runBake(folder.path, {"a.gltf", "-qo", "out.glb", "--shadow-quality", "0", "--no-indirect"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    EXPECT_LT(readFile(folder.file("out.glb")).size(), 2 * readFile(folder.file("a.gltf")).size());
}
