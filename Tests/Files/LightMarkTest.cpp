// SPDX-License-Identifier: LGPL-2.1-or-later
// Files that a tool has taken the exact results of a bake away from: COLOR_0 must not darken twice.
#include "ktSavedScene.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class LightMark : public testing::Test {
protected:
    // A baked square, without the attributes that begin with an underscore.
    void bakeAndDrop(bool hasColors) {
        ktTestGltf gltf = ktSquare();
        if (hasColors)
            gltf.json["meshes"][0]["primitives"][0]["attributes"]["COLOR_0"] =
                gltf.floats({1, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 0}, 3);
        gltf.saveGltf(path("in.gltf"));
        bake("in.gltf", "baked.gltf");
        ktJson json = ktJsonOfFile(path("baked.gltf"));
        ktJson& attributes = json["meshes"][0]["primitives"][0]["attributes"];
        for (const char* name : {"_AO", "_SOURCE_COLOR_0"})
            attributes.erase(name);
        ktWriteTestFile(path("dropped.gltf"), json.dump());
    }
    void bake(const std::string& from, const std::string& to, const ktSaveOptions& options = {}) const {
        const auto file = ktOpenTestScene(path(from));
        ktPretendToBake(*file);
        ktSaveTestScene(*file, path(to), options);
    }
    QString path(const std::string& name) const { return folder.path(name); }
    ktJson markOf(const std::string& name) const { return ktJsonOfFile(path(name))["asset"]["extras"]; }
    std::vector<float> colors(const std::string& name) const {
        const ktJson json = ktJsonOfFile(path(name));
        return ktAccessorOf(path(name), json["meshes"][0]["primitives"][0]["attributes"]["COLOR_0"]);
    }

    ktTestFolder folder;
};

} // namespace

TEST_F(LightMark, GivenLostResults_TakesColorForLight) {
    bakeAndDrop(false);
    EXPECT_EQ(markOf("baked.gltf").dump(), R"({"ambientOcclusion":{"COLOR_0":"light"}})");
    EXPECT_THAT(ktOpeningSays(path("dropped.gltf")), ElementsAre(HasSubstr("is not taken for colours")));
    bake("dropped.gltf", "again.gltf");
    EXPECT_EQ(colors("again.gltf"), colors("baked.gltf"));
    EXPECT_THAT(ktOpeningSays(path("again.gltf")), IsEmpty());
}

TEST_F(LightMark, GivenLostResults_KeepsThemUntilThereAreNewOnes) {
    bakeAndDrop(false);
    ktSaveTestScene(*ktOpenTestScene(path("dropped.gltf")), path("same.gltf"));
    EXPECT_EQ(colors("same.gltf"), colors("baked.gltf"));
    EXPECT_EQ(markOf("same.gltf"), markOf("baked.gltf"));
    ktSaveOptions exactOnly;
    exactOnly.multiplyColors = false;
    bake("dropped.gltf", "exact.gltf", exactOnly);
    EXPECT_FALSE(ktJsonOfFile(path("exact.gltf"))["meshes"][0]["primitives"][0]["attributes"].contains("COLOR_0"));
    EXPECT_FALSE(ktJsonOfFile(path("exact.gltf"))["asset"].contains("extras"));
}

TEST_F(LightMark, GivenLostResultsAndColors_SaysThatLightIsMultipliedAgain) {
    bakeAndDrop(true);
    EXPECT_EQ(markOf("baked.gltf").dump(), R"({"ambientOcclusion":{"COLOR_0":"light and colors"}})");
    EXPECT_THAT(ktOpeningSays(path("baked.gltf")), IsEmpty());
    EXPECT_THAT(ktOpeningSays(path("dropped.gltf")), ElementsAre(HasSubstr("is multiplied again")));
}

TEST_F(LightMark, GivenOthersExtras_KeepsThem) {
    ktTestGltf gltf = ktSquare();
    gltf.json["asset"]["extras"] = {{"author", "x"}};
    gltf.saveGltf(path("in.gltf"));
    bake("in.gltf", "baked.gltf");
    EXPECT_EQ(markOf("baked.gltf").dump(), R"({"author":"x","ambientOcclusion":{"COLOR_0":"light"}})");
    gltf.json["asset"]["extras"] = "x";
    gltf.saveGltf(path("in.gltf"));
    bake("in.gltf", "baked.gltf");
    EXPECT_EQ(markOf("baked.gltf"), "x");
}
