// SPDX-License-Identifier: LGPL-2.1-or-later
// The option --ground-plane, a plane below the scene that shows its shadow.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

/// A simple car: a body of 4 m by 1 m by 2 m on four feet, 30 cm above the ground.
nlohmann::json makeBodyOnFeet() {
    nlohmann::json scene = makeBoxes({{"body", {0, 0.8f, 0}},
                                      {"foot", {-1.5f, 0.15f, -0.8f}},
                                      {"foot", {1.5f, 0.15f, -0.8f}},
                                      {"foot", {-1.5f, 0.15f, 0.8f}},
                                      {"foot", {1.5f, 0.15f, 0.8f}}});
    scene["nodes"][0]["scale"] = {4.0, 1.0, 2.0};
    for (const int foot : {1, 2, 3, 4})
        scene["nodes"][foot]["scale"] = {0.2, 0.3, 0.2};
    return scene;
}

/// The plane's only primitive and the number of planes in the file.
nlohmann::json planeOf(const ktBakedFile& file, int& count) {
    nlohmann::json plane;
    count = 0;
    for (const auto& node : file.json.at("nodes"))
        if (node.value("extras", nlohmann::json::object()).value("ambientOcclusionGroundPlane", false)) {
            plane = file.json.at("meshes").at(node.at("mesh").get<size_t>()).at("primitives").at(0);
            ++count;
        }
    return plane;
}

ktBakedFile bake(const ktTestFolder& folder, std::vector<std::string> options) {
    options.insert(options.end(), {"-o", "out.glb", "--shadow-quality", "2", "--gather-quality", "1"});
    const ktBakeResult result = runBake(folder.path, options);
    EXPECT_EQ(result.exitCode, 0) << result.error;
    return ktBakedFile(folder.file("out.glb"));
}

/// Indirect light at the vertices of the body, the first primitive, that face down.
std::vector<float> undersideLight(const ktBakedFile& file) {
    const auto body = file.primitives().at(0);
    const std::vector<float> normals = file.floats(body, "NORMAL"), light = file.floats(body, "_INDIRECT");
    std::vector<float> below;
    for (size_t vertex = 0; 3 * vertex < light.size(); ++vertex)
        if (normals[3 * vertex + 1] == -1)
            below.push_back(light[3 * vertex]);
    return below;
}

} // namespace

TEST(GroundPlane, GivenBodyAboveIt_IsDarkUnderTheBodyAndClearFarAway) {
    const ktTestFolder folder;
    folder.write("car.gltf", makeBodyOnFeet().dump());
    int count = 0;
    const ktBakedFile without = bake(folder, {"car.gltf"});
    planeOf(without, count);
    EXPECT_EQ(count, 0);
    const ktBakedFile file = bake(folder, {"car.gltf", "--ground-plane"});
    const auto plane = planeOf(file, count);
    ASSERT_EQ(count, 1);
    EXPECT_EQ(file.json.at("materials").at(plane.at("material").get<size_t>()).at("alphaMode"), "BLEND");
    const std::vector<float> positions = file.floats(plane, "POSITION"), open = file.floats(plane, "_AO"),
                             colors = file.floats(plane, "COLOR_0");
    ASSERT_EQ(colors.size(), 4 * open.size());
    float middle = 1, rim = 0;
    for (size_t vertex = 0; vertex < open.size(); ++vertex) {
        const float x = std::abs(positions[3 * vertex]), z = std::abs(positions[3 * vertex + 2]);
        if (x < 0.5f && z < 0.5f)
            middle = std::min(middle, open[vertex]);
        if (x > 3 && z > 2)
            rim = std::max(rim, open[vertex]);
        EXPECT_EQ(colors[4 * vertex], 0) << "the plane is black";
        EXPECT_NEAR(colors[4 * vertex + 3], 1 - open[vertex], 2e-5) << "alpha is 1 minus the share of open rays";
    }
    EXPECT_LT(middle, 0.3f);
    EXPECT_GT(rim, 0.95f);
}

TEST(GroundPlane, GivenSecondBake_IsReused) {
    const ktTestFolder folder;
    folder.write("car.gltf", makeBodyOnFeet().dump());
    int count = 0;
    const ktBakedFile first = bake(folder, {"car.gltf", "--ground-plane"});
    const std::vector<float> before = first.floats(planeOf(first, count), "_AO");
    const ktBakedFile second = bake(folder, {"out.glb", "--ground-plane"});
    EXPECT_TRUE(second.floats(planeOf(second, count), "_AO") == before);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(second.json.at("nodes").size(), first.json.at("nodes").size());
    EXPECT_EQ(second.json.at("materials").size(), first.json.at("materials").size());
}

TEST(GroundPlane, GivenBodyAboveIt_ReflectsNoLight) {
    const ktTestFolder folder;
    folder.write("car.gltf", makeBodyOnFeet().dump());
    for (const std::vector<std::string>& color :
         {std::vector<std::string>{"--override-color", "1,1,1"}, {"--no-override-color", "--color-bleeding"}}) {
        std::vector<std::string> options = {"car.gltf"};
        options.insert(options.end(), color.begin(), color.end());
        const std::vector<float> without = undersideLight(bake(folder, options));
        options.push_back("--ground-plane");
        const std::vector<float> with = undersideLight(bake(folder, options));
        ASSERT_EQ(with.size(), 4u);
        // The feet reflect less light because of the shadow, and the plane adds none.
        for (size_t vertex = 0; vertex < with.size(); ++vertex)
            EXPECT_LE(with[vertex], without[vertex]);
    }
}

TEST(GroundPlane, GivenSceneWithoutExtent_IsRefusedWithAReason) {
    const ktTestFolder folder;
    nlohmann::json scene = makeBoxes({{"box", {0, 0, 0}}});
    scene["nodes"][0]["scale"] = {0.0, 0.0, 0.0};
    folder.write("point.gltf", scene.dump());
    const ktBakeResult result = runBake(folder.path, {"point.gltf", "-o", "out.glb", "--ground-plane", "--quiet"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_NE(result.error.find("error: point.gltf: file: has no extent"), std::string::npos) << result.error;
    EXPECT_FALSE(std::filesystem::exists(folder.file("out.glb")));
}
