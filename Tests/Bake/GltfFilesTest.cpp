// SPDX-License-Identifier: LGPL-2.1-or-later
// The output is correct glTF and keeps everything of the input.
#include "ktBakedModels.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"
#include "ktGltfCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// Faults of a baked file that its source does not have.
std::vector<std::string> newFaults(const std::string& before, const std::string& after) {
    const std::vector<std::string> old = ktCheckGltf(ktBakedFile(before));
    std::vector<std::string> found;
    for (const std::string& fault : ktCheckGltf(ktBakedFile(after)))
        if (std::find(old.begin(), old.end(), fault) == old.end())
            found.push_back(fault);
    return found;
}

bool hasColors(const nlohmann::json& json) {
    return json["meshes"].dump().find("\"COLOR_0\"") != std::string::npos;
}

/// A baked document without what a bake adds: entries after the original ones, attributes, settings. Original colours
/// are put back.
nlohmann::json withoutAdded(nlohmann::json json, const nlohmann::json& original) {
    for (const char* list : {"accessors", "bufferViews", "buffers"})
        while (json[list].size() > original[list].size())
            json[list].erase(json[list].size() - 1);
    for (size_t i = 0; i < json["buffers"].size(); ++i)
        if (!original["buffers"][i].contains("uri")) // the binary chunk of a .glb file, which a bake extends
            json["buffers"][i]["byteLength"] = original["buffers"][i]["byteLength"];
    for (size_t m = 0; m < json["meshes"].size(); ++m)
        for (size_t p = 0; p < json["meshes"][m]["primitives"].size(); ++p) {
            auto& attributes = json["meshes"][m]["primitives"][p]["attributes"];
            const auto& old = original["meshes"][m]["primitives"][p]["attributes"];
            for (const char* name : {"_AO", "_INDIRECT", "_BAKED_LIGHT", "_SOURCE_COLOR_0", "COLOR_0"})
                attributes.erase(name);
            if (old.contains("COLOR_0"))
                attributes["COLOR_0"] = old["COLOR_0"];
        }
    // Says what COLOR_0 holds, for a later bake.
    if (json["asset"].contains("extras") && !original["asset"].contains("extras")) {
        EXPECT_EQ(json["asset"]["extras"].dump(), "{\"ambientOcclusion\":{\"COLOR_0\":\"" +
                                                      std::string(hasColors(original) ? "light and colors" : "light") +
                                                      "\"}}");
        json["asset"].erase("extras");
    }
    for (auto& node : json["nodes"])
        if (node.contains("extras") && node["extras"].is_object()) {
            node["extras"].erase("ambientOcclusion");
            if (node["extras"].empty())
                node.erase("extras");
        }
    return json;
}

} // namespace

TEST(GltfFiles, GivenGoodModels_AreWithoutFaults) {
    for (const std::string& scene : ktGoodModels())
        for (const ktWayToBake& way : ktWaysToBake()) {
            const ktTestFolder folder;
            std::vector<std::string> arguments = {scene, "-o", "out.glb", "--quiet"};
            arguments.insert(arguments.end(), way.arguments.begin(), way.arguments.end());
            const ktBakeResult result = runBake(folder.path, arguments);
            ASSERT_EQ(result.exitCode, 0) << scene << result.error;
            EXPECT_THAT(newFaults(scene, folder.file("out.glb")), IsEmpty()) << scene << ", " << way.name;
        }
}

TEST(GltfFiles, GivenLightsOfTheScene_AreWithoutFaults) {
    const ktTestFolder folder;
    nlohmann::json scene = makeBoxes({{"one", {0, 0, 0}}, {"two", {1.2f, 0, 0}}});
    addLamp(scene, 100);
    const std::string file = folder.write("lit.gltf", scene.dump());
    for (const std::string name : {"out.glb", "out.gltf"}) {
        const ktBakeResult result =
            runBake(folder.path, {file, "-o", name, "--quiet", "--mode", "light-and-shadows", "--shadow-quality", "2",
                                  "--subdivide", "--min-edge-length", "10%", "--ground-plane"});
        ASSERT_EQ(result.exitCode, 0) << result.error;
        EXPECT_TRUE(ktBakedFile(folder.file(name)).primitives().at(0).at("attributes").contains("_BAKED_LIGHT"));
        EXPECT_THAT(newFaults(file, folder.file(name)), IsEmpty()) << name;
    }
}

// Compares textures, materials, animations, cameras, skins, extensions and the bytes of all buffers.
TEST(GltfFiles, GivenGoodModels_GainOnlyResults) {
    size_t animated = 0, textured = 0;
    for (const std::string& scene : ktGoodModels()) {
        const ktTestFolder folder;
        const std::string name = "out" + std::filesystem::path(scene).extension().string();
        const ktBakeResult result =
            runBake(folder.path, {scene, "-o", name, "--quiet", "--shadow-quality", "0", "--gather-quality", "0"});
        ASSERT_EQ(result.exitCode, 0) << scene << result.error;
        const ktBakedFile before(scene), after(folder.file(name));
        const auto difference = nlohmann::json::diff(before.json, withoutAdded(after.json, before.json));
        EXPECT_EQ(difference.dump(), "[]") << scene;
        ASSERT_GE(after.buffers.size(), before.buffers.size()) << scene;
        for (size_t i = 0; i < before.buffers.size(); ++i)
            EXPECT_TRUE(after.buffers[i].compare(0, before.buffers[i].size(), before.buffers[i]) == 0)
                << scene << ": buffer " << i << " has changed";
        for (const auto& image : after.json.value("images", nlohmann::json::array()))
            if (image.contains("uri") && image["uri"].get<std::string>().rfind("data:", 0) != 0) {
                EXPECT_EQ(readFile(folder.file(image["uri"])),
                          readFile(std::filesystem::path(scene).parent_path() / image["uri"].get<std::string>()))
                    << scene;
            }
        animated += before.json.contains("animations");
        textured += before.json.contains("textures");
    }
    EXPECT_GE(animated, 1u);
    EXPECT_GE(textured, 3u);
}

TEST(GltfCheck, GivenFaults_FindsThem) {
    const ktTestFolder folder;
    const auto faultsOf = [&](const nlohmann::json& scene) {
        folder.write("scene.gltf", scene.dump());
        return ktCheckGltf(ktBakedFile(folder.file("scene.gltf")));
    };
    const auto good = makeBoxes({{"box", {0, 0, 0}}});
    EXPECT_THAT(faultsOf(good), IsEmpty());
    const auto expectFault = [&](const char* place, const nlohmann::json& value, const std::string& fault) {
        auto bad = good;
        bad[nlohmann::json::json_pointer(place)] = value;
        EXPECT_THAT(faultsOf(bad), Contains(HasSubstr(fault))) << place;
    };
    expectFault("/accessors/0/count", 25, "/accessors/0: reaches beyond its view");
    expectFault("/accessors/1/count", 23, "/attributes/POSITION: has another count");
    expectFault("/accessors/0/byteOffset", 2, "/accessors/0: is not aligned");
    expectFault("/accessors/0/max", {0.5, 0.5, 0.6}, "/accessors/0: max is not that of the data");
    expectFault("/accessors/0/min", {-0.5, -0.25, -0.5}, "/accessors/0: min is not that of the data");
    expectFault("/bufferViews/1/byteLength", 9999, "/bufferViews/1: reaches beyond its buffer");
    expectFault("/bufferViews/1/byteStride", 8, "/accessors/1: has elements that overlap");
    expectFault("/bufferViews/2/target", 34962, "/indices: lie in a view for vertices");
    expectFault("/meshes/0/primitives/0/indices", 0, "/indices: are no unsigned numbers");
    expectFault("/meshes/0/primitives/0/attributes/NORMAL", 9, "/attributes/NORMAL: refers to accessors 9");
    expectFault("/meshes/0/primitives/0/attributes/_AO", 0, "/attributes/_AO: is of the wrong type");
    expectFault("/nodes/0/mesh", 4, "/nodes/0: refers to meshes 4");
    auto bad = good;
    bad["accessors"][0].erase("min");
    EXPECT_THAT(faultsOf(bad), Contains(HasSubstr("positions have no limits")));
    // Uses the box's positions as normals, which are no unit vectors. Then an index of 24 with 24 vertices.
    expectFault("/meshes/0/primitives/0/attributes/NORMAL", 0, "normals that are no unit vectors");
    bad = good;
    for (int accessor = 0; accessor < 2; ++accessor)
        bad["accessors"][accessor]["count"] = 23;
    EXPECT_THAT(faultsOf(bad), Contains(HasSubstr("/indices: are out of range")));
}
