// SPDX-License-Identifier: LGPL-2.1-or-later
// A scene with a broken part: alone it is refused if nothing can be used; next to a good part, that one is baked.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <QByteArray>

using testing::AllOf;
using testing::HasSubstr;

namespace {

using Json = nlohmann::json;

const std::string old = "what was there before";
const std::string dataPrefix = "data:application/octet-stream;base64,";

/// Offsets in the second part: 24 positions and 24 normals of three floats, then 36 indices of two bytes.
constexpr size_t normalsAt = 288, indicesAt = 576;

/// Two boxes. Only the second, "bad", uses buffer 1, views and accessors 3 to 5, and mesh 1.
Json makeTwo() {
    Json scene = makeBoxes({{"good", {0, 0, 0}}, {"bad", {1.2f, 0, 0}}});
    scene["buffers"].push_back(scene["buffers"][0]);
    for (int i = 0; i < 3; ++i) {
        Json view = scene["bufferViews"][i];
        view["buffer"] = 1;
        scene["bufferViews"].push_back(view);
        Json accessor = scene["accessors"][i];
        accessor["bufferView"] = 3 + i;
        scene["accessors"].push_back(accessor);
    }
    scene["meshes"][1]["primitives"][0] = {{"attributes", {{"POSITION", 3}, {"NORMAL", 4}}}, {"indices", 5}};
    return scene;
}

void edit(Json& scene, const std::function<void(char*)>& change) {
    std::string uri = scene["buffers"][1]["uri"];
    std::string bytes = QByteArray::fromBase64(QByteArray::fromStdString(uri.substr(dataPrefix.size()))).toStdString();
    change(bytes.data());
    scene["buffers"][1]["uri"] = dataPrefix + QByteArray::fromStdString(bytes).toBase64().toStdString();
}

void setFloats(Json& scene, size_t offset, size_t count, float value) {
    edit(scene, [&](char* bytes) {
        for (size_t i = 0; i < count; ++i)
            std::memcpy(bytes + offset + 4 * i, &value, 4);
    });
}

void setIndices(Json& scene, size_t count, std::uint16_t value) {
    edit(scene, [&](char* bytes) {
        for (size_t i = 0; i < count; ++i)
            std::memcpy(bytes + indicesAt + 2 * i, &value, 2);
    });
}

struct Row {
    const char* name;
    std::function<void(Json&)> damage;
    std::string object, reason; ///< expected in the message
    bool isLost;                ///< no triangle of the part can be used
};

const Row rows[] = {
    {"accessor out of range", [](Json& scene) { scene["accessors"][3]["count"] = 999; }, "/accessors/3",
     "reaches beyond the end", true},
    {"accessor that does not exist",
     [](Json& scene) { scene["meshes"][1]["primitives"][0]["attributes"]["POSITION"] = 77; }, "/meshes/1/primitives/0",
     "does not exist", true},
    {"no positions", [](Json& scene) { scene["meshes"][1]["primitives"][0]["attributes"].erase("POSITION"); },
     "/meshes/1/primitives/0", "has no positions", true},
    {"all indices out of range", [](Json& scene) { setIndices(scene, 36, 60000); }, "/meshes/1/primitives/0",
     "indices out of range", true},
    {"one index out of range", [](Json& scene) { setIndices(scene, 1, 24); }, "/meshes/1/primitives/0",
     "indices out of range", false},
    {"fewer normals than positions", [](Json& scene) { scene["accessors"][4]["count"] = 23; },
     "/meshes/1/primitives/0/attributes/NORMAL", "another count", false},
    {"positions that are no numbers",
     [](Json& scene) { setFloats(scene, 0, 72, std::numeric_limits<float>::quiet_NaN()); }, "/meshes/1/primitives/0",
     "not finite", true},
    {"an infinite position", [](Json& scene) { setFloats(scene, 0, 1, std::numeric_limits<float>::infinity()); },
     "/meshes/1/primitives/0", "not finite", false},
    {"zero normals", [](Json& scene) { setFloats(scene, normalsAt, 72, 0); }, "/meshes/1/primitives/0",
     "normals without direction", false},
    {"a normal that is no number",
     [](Json& scene) { setFloats(scene, normalsAt, 3, std::numeric_limits<float>::quiet_NaN()); },
     "/meshes/1/primitives/0", "normals without direction", false},
    {"degenerate triangles", [](Json& scene) { setIndices(scene, 6, 0); }, "/meshes/1/primitives/0",
     "triangles without an area", false},
    {"buffer outside the folder", [](Json& scene) { scene["buffers"][1]["uri"] = "../outside.bin"; }, "/buffers/1",
     "outside", true},
    {"buffer outside the folder, percent-encoded",
     [](Json& scene) { scene["buffers"][1]["uri"] = "a/%2e%2e/%2e%2e/outside.bin"; }, "/buffers/1", "outside", true},
    {"buffer at an absolute path", [](Json& scene) { scene["buffers"][1]["uri"] = "/etc/hostname"; }, "/buffers/1", "",
     true},
    {"buffer at a web address", [](Json& scene) { scene["buffers"][1]["uri"] = "http://localhost/a.bin"; },
     "/buffers/1", "", true},
    {"buffer without a file", [](Json& scene) { scene["buffers"][1]["uri"] = "absent.bin"; }, "/buffers/1",
     "does not exist", true},
    {"node that is its own child", [](Json& scene) { scene["nodes"][1]["children"] = {1}; }, "/nodes/1", "cycle",
     false},
    {"cycle of two nodes",
     [](Json& scene) {
         scene["nodes"].push_back({{"children", {1}}});
         scene["nodes"][1]["children"] = {2};
     },
     "/nodes/1", "cycle", false},
};

} // namespace

TEST(BrokenPart, GivenGoodPartNextToIt_BakesThatAndWarns) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const ktTestFolder folder;
        Json scene = makeTwo();
        row.damage(scene);
        folder.write("scene.gltf", scene.dump());
        const ktBakeResult result = runBake(folder.path, {"scene.gltf", "-o", "out.gltf", "--shadow-quality", "0"});
        EXPECT_EQ(result.exitCode, 0) << result.error;
        EXPECT_THAT(result.error,
                    AllOf(HasSubstr("warning: scene.gltf: /"), HasSubstr(row.object), HasSubstr(row.reason)));
        if (result.exitCode != 0)
            continue;
        const auto out = Json::parse(readFile(folder.file("out.gltf")));
        EXPECT_TRUE(out["meshes"][0]["primitives"][0]["attributes"].contains("_AO"));
        EXPECT_EQ(out["meshes"][1]["primitives"][0]["attributes"].contains("_AO"), !row.isLost);
    }
}

TEST(BrokenPart, GivenNoOtherPart_IsRefusedWhenAllIsLost) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const ktTestFolder folder;
        Json scene = makeTwo();
        row.damage(scene);
        scene["scenes"][0]["nodes"] = {1};
        folder.write("scene.gltf", scene.dump());
        folder.write("out.gltf", old);
        const ktBakeResult result = runBake(folder.path, {"scene.gltf", "-o", "out.gltf", "--shadow-quality", "0"});
        EXPECT_EQ(result.exitCode, row.isLost ? 3 : 0) << result.error;
        EXPECT_THAT(result.error, AllOf(HasSubstr("scene.gltf: "), HasSubstr(row.object), HasSubstr(row.reason)));
        EXPECT_EQ(readFile(folder.file("out.gltf")) == old, row.isLost);
    }
}

// Breaks ten of the twelve triangles.
TEST(BrokenPart, GivenManyFaults_CountsThem) {
    const ktTestFolder folder;
    Json scene = makeTwo();
    setIndices(scene, 30, 60000);
    folder.write("scene.gltf", scene.dump());
    const ktBakeResult result = runBake(folder.path, {"scene.gltf", "-o", "out.gltf", "--shadow-quality", "0"});
    EXPECT_THAT(result.error,
                HasSubstr("/meshes/1/primitives/0: has indices out of range; what uses them is left out (10)"));
}
