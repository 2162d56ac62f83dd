// SPDX-License-Identifier: LGPL-2.1-or-later
// Saving baked scenes to glTF: results, colours, and everything else unchanged.
#include "ktSavedScene.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"

#include <cmath>
#include <filesystem>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::FloatNear;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

const ktSaveOptions exactOnly = {false, 1.0f};

class SceneSave : public testing::Test {
protected:
    std::unique_ptr<ktSceneFile> open(const ktTestGltf& file) const {
        file.saveGlb(folder.path("in.glb"));
        return ktOpenTestScene(folder.path("in.glb"));
    }
    ktJson attributes(const std::string& name, std::size_t mesh = 0, std::size_t primitive = 0) const {
        return ktJsonOfFile(folder.path(name))["meshes"][mesh]["primitives"][primitive]["attributes"];
    }
    std::vector<float> values(const std::string& name, const char* attribute, std::size_t mesh = 0,
                              std::size_t primitive = 0) const {
        const ktJson all = attributes(name, mesh, primitive);
        if (!all.contains(attribute)) {
            ADD_FAILURE() << name << " has no " << attribute;
            return {};
        }
        return ktAccessorOf(folder.path(name), all[attribute]);
    }

    ktTestFolder folder;
};

std::vector<osg::Vec4f> onlyDirect(const std::vector<float>& w) {
    std::vector<osg::Vec4f> out;
    for (const float value : w)
        out.emplace_back(0.0f, 0.0f, 0.0f, value);
    return out;
}

// The document without all that a bake adds.
ktJson withoutAdded(ktJson json, const ktJson& original) {
    for (const char* collection : {"accessors", "bufferViews"})
        while (json[collection].size() > original[collection].size())
            json[collection].erase(json[collection].size() - 1);
    for (std::size_t m = 0; m < json["meshes"].size(); ++m)
        for (std::size_t p = 0; p < json["meshes"][m]["primitives"].size(); ++p) {
            ktJson& attributes = json["meshes"][m]["primitives"][p]["attributes"];
            for (const char* name : {"_AO", "_INDIRECT", "_BAKED_LIGHT", "_SOURCE_COLOR_0"})
                attributes.erase(name);
            if (!original["meshes"][m]["primitives"][p]["attributes"].contains("COLOR_0"))
                attributes.erase("COLOR_0");
            else
                attributes["COLOR_0"] = original["meshes"][m]["primitives"][p]["attributes"]["COLOR_0"];
        }
    json["buffers"] = original["buffers"];
    return json;
}

} // namespace

TEST_F(SceneSave, GivenNothingBaked_IsWrittenByteForByte) {
    const auto file = open(ktSquare());
    ktSaveTestScene(*file, folder.path("out.glb"));
    EXPECT_EQ(ktReadTestFile(folder.path("out.glb")), ktReadTestFile(folder.path("in.glb")));
}

TEST_F(SceneSave, GivenResults_WritesThemExactlyAndReadsThemBack) {
    const auto file = open(ktSquare());
    const osg::GeometryPtr geometry = ktGeometriesOf(*file)[0].geometry;
    const std::vector<osg::Vec4f> working = {
        {0.1f, 0.2f, 0.3f, 1.0f / 3.0f}, {0, 0, 0, 2e-6f}, {0.5f, 0, 0, 0.7f}, {0, 0, 1e-7f, 1.0f}};
    const std::vector<osg::Vec4f> light = {{1, 2, 3, 2.4f}, {0, 0, 0, 2.1f}, {9, 8, 7, 1.7f}, {0.5f, 0.5f, 0.5f, 2.9f}};
    ktSetChannel(geometry, 7, working);
    ktSetChannel(geometry, 5, light);
    for (const char* name : {"out.glb", "out.gltf"}) {
        ktSaveTestScene(*file, folder.path(name));
        EXPECT_THAT(values(name, "_AO"), ElementsAre(1.0f / 3.0f, 2e-6f, 0.7f, 1.0f));
        EXPECT_THAT(values(name, "_INDIRECT"), ElementsAre(0.1f, 0.2f, 0.3f, 0, 0, 0, 0.5f, 0, 0, 0, 0, 1e-7f));
        const auto again = ktOpenTestScene(folder.path(name));
        EXPECT_EQ(ktChannelOf(ktGeometriesOf(*again)[0].geometry, 7), working);
        EXPECT_EQ(ktChannelOf(ktGeometriesOf(*again)[0].geometry, 5), light);
    }
}

TEST_F(SceneSave, GivenNoResult_WritesNothing) {
    const auto file = open(ktSquare());
    const osg::GeometryPtr geometry = ktGeometriesOf(*file)[0].geometry;
    // Channel 7 with w of at most one millionth, channel 5 all zero.
    ktSetChannel(geometry, 7, std::vector<osg::Vec4f>(4, osg::Vec4f(0.5f, 0.5f, 0.5f, 1e-6f)));
    ktSetChannel(geometry, 5, std::vector<osg::Vec4f>(4, osg::Vec4f(0, 0, 0, 0)));
    ktSaveTestScene(*file, folder.path("out.glb"));
    EXPECT_EQ(ktReadTestFile(folder.path("out.glb")), ktReadTestFile(folder.path("in.glb")));
    ktSetChannel(geometry, 7, onlyDirect({1, 1, 0.5f, 1}));
    ktSaveTestScene(*file, folder.path("out.glb"));
    EXPECT_TRUE(attributes("out.glb").contains("_AO"));
    EXPECT_FALSE(attributes("out.glb").contains("_INDIRECT"));
    EXPECT_FALSE(attributes("out.glb").contains("_BAKED_LIGHT"));
}

TEST_F(SceneSave, GivenShading_MultipliesLightIntoColours) {
    ktTestGltf gltf = ktSquare();
    gltf.json["materials"] = ktJson::array({{{"pbrMetallicRoughness", {{"baseColorFactor", {0.5, 0.25, 0, 1}}}}}});
    gltf.json["meshes"][0]["primitives"][0]["material"] = 0;
    gltf.json["meshes"][0]["primitives"][0]["attributes"]["COLOR_0"] =
        gltf.floats({1, 1, 1, 0.5f, 0.5f, 1, 1, 1, 1, 1, 1, 1, 0, 1, 1, 1}, 4);
    const auto file = open(gltf);
    const ktSeenGeometry seen = ktGeometriesOf(*file)[0];
    const auto settings = osg::AmbientOcclusionSettingsAttachment::create();
    settings->setColorBleeding(true);
    seen.node->addAttachment(settings);
    // Channel 7 includes the surface's colour. COLOR_0 must not, because viewers multiply by that colour.
    ktSetChannel(seen.geometry, 7, {{0.1f, 0.05f, 0, 0.25f}, {0, 0, 0, 0.5f}, {0, 0, 0, 1}, {0, 0, 0, 1}});
    ktSaveTestScene(*file, folder.path("out.glb"), {true, 2.0f});
    const float near = 1.0f / 65535.0f;
    std::vector<testing::Matcher<float>> expected;
    for (const float value :
         {0.9f, 0.9f, 0.5f, 0.5f, 0.5f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 0.0f, 1.0f, 1.0f, 1.0f})
        expected.push_back(FloatNear(value, near));
    EXPECT_THAT(values("out.glb", "COLOR_0"), ElementsAreArray(expected));
    EXPECT_EQ(values("out.glb", "_SOURCE_COLOR_0"), values("in.glb", "COLOR_0"));
    EXPECT_EQ(attributes("out.glb")["_SOURCE_COLOR_0"], attributes("in.glb")["COLOR_0"]) << "the same accessor";

    ktSaveTestScene(*file, folder.path("exact.glb"), exactOnly);
    EXPECT_EQ(attributes("exact.glb")["COLOR_0"], attributes("in.glb")["COLOR_0"]);
    EXPECT_FALSE(attributes("exact.glb").contains("_SOURCE_COLOR_0"));
    EXPECT_TRUE(attributes("exact.glb").contains("_AO"));
}

TEST_F(SceneSave, GivenStrength_ChangesTheColoursAlone) {
    const auto file = open(ktSquare());
    const ktSeenGeometry seen = ktGeometriesOf(*file)[0];
    ktSetChannel(seen.geometry, 7, {{0, 0, 0, 0.25f}, {0, 0, 0, 0.5f}, {0, 0, 0, 1}, {0, 0, 0, 2e-6f}});
    const auto redAt = [&](float exposure, float strength) {
        ktSaveTestScene(*file, folder.path("out.glb"), {true, exposure, strength});
        EXPECT_THAT(values("out.glb", "_AO"), testing::ElementsAre(0.25f, 0.5f, 1.0f, 2e-6f))
            << "the exact values stay";
        const std::vector<float> colors = values("out.glb", "COLOR_0");
        return std::vector<float>{colors[0], colors[4], colors[8], colors[12]};
    };
    const auto near = [](float value) { return FloatNear(value, 1.0f / 65535.0f); };
    using testing::ElementsAre;
    EXPECT_THAT(redAt(1, 1), ElementsAre(near(0.25f), near(0.5f), near(1), near(0)));
    EXPECT_THAT(redAt(1, 2), ElementsAre(near(0.0625f), near(0.25f), near(1), near(0)));
    EXPECT_THAT(redAt(1, 0.5f), ElementsAre(near(0.5f), near(std::sqrt(0.5f)), near(1), near(0.0014142f)));
    EXPECT_THAT(redAt(1, 0), ElementsAre(near(1), near(1), near(1), near(1)));
    EXPECT_THAT(redAt(2, 2), ElementsAre(near(0.25f), near(1), near(1), near(0))) << "the exposure comes first";
}

TEST_F(SceneSave, GivenLightMode_ShadesWithChannelFive) {
    const auto file = open(ktSquare());
    const osg::GeometryPtr geometry = ktGeometriesOf(*file)[0].geometry;
    ktSetChannel(geometry, 7, onlyDirect({0.1f, 0.1f, 0.1f, 0.1f}));
    ktSetChannel(geometry, 5, std::vector<osg::Vec4f>(4, osg::Vec4f(0.5f, 0.25f, 3.0f, 2.1f)));
    ktSaveTestScene(*file, folder.path("out.glb"));
    const auto colors = values("out.glb", "COLOR_0");
    EXPECT_NEAR(colors[0], 0.5f, 1e-4);
    EXPECT_NEAR(colors[1], 0.25f, 1e-4);
    EXPECT_EQ(colors[2], 1.0f);
    EXPECT_EQ(colors[3], 1.0f);
}

TEST_F(SceneSave, GivenBakedFile_BakingItAgainEqualsBakingTheOriginal) {
    ktTestGltf plain = ktSquare();
    ktTestGltf colored = ktSquare();
    colored.json["meshes"][0]["primitives"][0]["attributes"]["COLOR_0"] = colored.accessor(
        {{"bufferView",
          colored.view(std::vector<std::uint8_t>{255, 0, 0, 0, 0, 255, 0, 0, 0, 0, 255, 0, 128, 128, 128, 0}, 4)},
         {"componentType", 5121},
         {"normalized", true},
         {"count", 4},
         {"type", "VEC3"}});
    for (const ktTestGltf& gltf : {plain, colored}) {
        const auto file = open(gltf);
        const auto before = ktGeometriesOf(*file)[0].geometry->getColors();
        ktSetChannel(ktGeometriesOf(*file)[0].geometry, 7, onlyDirect({0.5f, 0.25f, 0.125f, 1}));
        ktSaveTestScene(*file, folder.path("once.glb"));
        const auto again = ktOpenTestScene(folder.path("once.glb"));
        const auto after = ktGeometriesOf(*again)[0].geometry->getColors();
        ASSERT_EQ(before == osg::NullFC, after == osg::NullFC) << "the original colours, not the baked ones";
        for (osg::UInt32 i = 0; before != osg::NullFC && i < 4; ++i)
            EXPECT_EQ(before->getValue(i), after->getValue(i));
        ktSaveTestScene(*again, folder.path("twice.glb"));
        EXPECT_EQ(ktReadTestFile(folder.path("twice.glb")), ktReadTestFile(folder.path("once.glb")));
        // After clearing, the file equals the original.
        ktSetChannel(ktGeometriesOf(*again)[0].geometry, 7, onlyDirect({0, 0, 0, 0}));
        ktSaveTestScene(*again, folder.path("cleared.glb"));
        EXPECT_EQ(ktReadTestFile(folder.path("cleared.glb")), ktReadTestFile(folder.path("in.glb")));
    }
}

TEST_F(SceneSave, GivenRepeatedBakes_TheFileDoesNotGrow) {
    for (const char* name : {"a.glb", "a.gltf"}) {
        ktSquare().saveGlb(folder.path("a.glb"));
        ktSquare().saveGltf(folder.path("a.gltf"), "a.bin");
        std::uintmax_t size = 0;
        std::size_t files = 0;
        for (int round = 0; round < 4; ++round) {
            const auto file = ktOpenTestScene(folder.path(name));
            const float value = 0.1f * static_cast<float>(round + 1);
            ktSetChannel(ktGeometriesOf(*file)[0].geometry, 7, onlyDirect({value, value, value, value}));
            ktSaveTestScene(*file, folder.path(name));
            if (round == 0) {
                size = std::filesystem::file_size(folder.path(name).toStdString());
                files = folder.names().size();
            }
            EXPECT_EQ(std::filesystem::file_size(folder.path(name).toStdString()), size) << name;
            EXPECT_EQ(folder.names().size(), files) << name;
        }
    }
}

TEST_F(SceneSave, GivenDocumentWithEverything_LeavesTheRestAlone) {
    ktTestGltf gltf = ktSquare();
    gltf.json["asset"]["generator"] = "somebody's exporter";
    gltf.json["extensionsUsed"] = {"X_unknown"};
    gltf.json["extensions"]["X_unknown"] = {{"z", 1}, {"a", {1.5, 1e-7, nullptr}}};
    gltf.json["extras"] = "text";
    gltf.json["animations"] =
        ktJson::array({{{"channels", ktJson::array()}, {"samplers", ktJson::array()}, {"name", "ä"}}});
    gltf.json["nodes"][0]["extras"] = 12;
    gltf.json["materials"] = ktJson::array({{{"name", "m"}, {"extensions", {{"X_unknown", {{"deep", {1, 2}}}}}}}});
    gltf.json["meshes"][0]["primitives"][0]["material"] = 0;
    gltf.json["meshes"][0]["extras"] = {{"k", "v"}};
    const auto file = open(gltf);
    ktPretendToBake(*file, true);
    ktSaveTestScene(*file, folder.path("out.glb"));
    const ktJson before = ktJsonOfFile(folder.path("in.glb"));
    ktJson after = withoutAdded(ktJsonOfFile(folder.path("out.glb")), before);
    EXPECT_EQ(after["asset"]["extras"]["ambientOcclusion"]["COLOR_0"], "light");
    after["asset"].erase("extras");
    EXPECT_EQ(after.dump(2), before.dump(2));
}

TEST_F(SceneSave, GivenPrimitivesOfOneBuffer_ShareEqualResults) {
    // Three primitives of one buffer: the first two share no vertices, the third shares an edge with the first.
    ktTestGltf gltf;
    const std::size_t positions =
        gltf.floats({0, 0, 0, 1, 0, 0, 0, 0, 1, 5, 0, 0, 6, 0, 0, 5, 0, 1, 9, 9, 9, 1, 0, 1}, 3);
    const std::size_t normals =
        gltf.floats({0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0}, 3);
    const ktJson attributes = {{"POSITION", positions}, {"NORMAL", normals}};
    gltf.mesh({{"attributes", attributes}, {"indices", gltf.indices({0, 2, 1})}});
    gltf.json["meshes"][0]["primitives"].push_back({{"attributes", attributes}, {"indices", gltf.indices({3, 5, 4})}});
    gltf.json["meshes"][0]["primitives"].push_back({{"attributes", attributes}, {"indices", gltf.indices({1, 2, 7})}});
    const auto file = open(gltf);
    const auto seen = ktGeometriesOf(*file);
    ktSetChannel(seen[0].geometry, 7, onlyDirect({0.1f, 0.2f, 0.3f}));
    ktSetChannel(seen[1].geometry, 7, onlyDirect({0.4f, 0.5f, 0.6f}));
    ktSetChannel(seen[2].geometry, 7, onlyDirect({0.2f, 0.3f, 0.7f}));
    ktSaveTestScene(*file, folder.path("out.glb"), exactOnly);
    EXPECT_EQ(this->attributes("out.glb", 0, 0)["_AO"], this->attributes("out.glb", 0, 1)["_AO"]);
    EXPECT_EQ(this->attributes("out.glb", 0, 0)["_AO"], this->attributes("out.glb", 0, 2)["_AO"]);
    EXPECT_THAT(values("out.glb", "_AO"), ElementsAre(0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f, 1.0f, 0.7f));

    // A shared vertex with two results: the third primitive gets a separate accessor.
    ktSetChannel(seen[2].geometry, 7, onlyDirect({0.25f, 0.3f, 0.7f}));
    ktSaveTestScene(*file, folder.path("out.glb"), exactOnly);
    EXPECT_EQ(this->attributes("out.glb", 0, 0)["_AO"], this->attributes("out.glb", 0, 1)["_AO"]);
    EXPECT_NE(this->attributes("out.glb", 0, 0)["_AO"], this->attributes("out.glb", 0, 2)["_AO"]);
    EXPECT_THAT(values("out.glb", "_AO", 0, 2), ElementsAre(1, 0.25f, 0.3f, 1, 1, 1, 1, 0.7f));
    const auto again = ktOpenTestScene(folder.path("out.glb"));
    EXPECT_EQ(ktChannelOf(ktGeometriesOf(*again)[2].geometry, 7), onlyDirect({0.25f, 0.3f, 0.7f}));
}

TEST_F(SceneSave, GivenSharedMesh_WritesOneSetOfResults) {
    ktTestGltf gltf = ktSquare();
    gltf.node({{"mesh", 0}, {"translation", {5, 0, 0}}});
    const auto file = open(gltf);
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.glb"));
    EXPECT_THAT(ktJsonOfFile(folder.path("out.glb"))["meshes"], SizeIs(1));
}

TEST_F(SceneSave, GivenUniqueInstances_WritesAMeshForEach) {
    ktTestGltf gltf = ktSquare();
    gltf.json["meshes"][0]["name"] = "square";
    gltf.node({{"mesh", 0}, {"translation", {5, 0, 0}}});
    gltf.saveGlb(folder.path("in.glb"));
    const auto file = ktOpenTestScene(folder.path("in.glb"), {{}, true, {}});
    const auto seen = ktGeometriesOf(*file);
    ktSetChannel(seen[0].geometry, 7, onlyDirect({0.1f, 0.2f, 0.3f, 0.4f}));
    ktSetChannel(seen[1].geometry, 7, onlyDirect({0.5f, 0.6f, 0.7f, 0.8f}));
    ktSaveTestScene(*file, folder.path("out.glb"));
    const ktJson json = ktJsonOfFile(folder.path("out.glb"));
    ASSERT_THAT(json["meshes"], SizeIs(2));
    EXPECT_EQ(json["nodes"][1]["mesh"], 1);
    EXPECT_EQ(json["meshes"][1]["name"], "square");
    EXPECT_THAT(values("out.glb", "_AO", 0), ElementsAre(0.1f, 0.2f, 0.3f, 0.4f));
    EXPECT_THAT(values("out.glb", "_AO", 1), ElementsAre(0.5f, 0.6f, 0.7f, 0.8f));
}

TEST_F(SceneSave, GivenOtherScene_KeepsItsResults) {
    ktTestGltf gltf = ktSquare();
    ktJson primitive = gltf.json["meshes"][0]["primitives"][0];
    primitive["attributes"]["_AO"] = gltf.floats({0.5f, 0.5f, 0.5f, 0.5f}, 1);
    gltf.json["meshes"].push_back({{"primitives", ktJson::array({primitive})}});
    gltf.json["nodes"].push_back({{"mesh", 1}});
    gltf.json["scenes"].push_back({{"nodes", {1}}});
    const auto file = open(gltf);
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.glb"));
    EXPECT_EQ(attributes("out.glb", 1), attributes("in.glb", 1));
}

TEST_F(SceneSave, GivenCompressedCopy_DropsItWithAWarning) {
    ktTestGltf gltf = ktSquare();
    gltf.json["extensionsUsed"] = {"KHR_draco_mesh_compression"};
    gltf.json["meshes"][0]["primitives"][0]["extensions"]["KHR_draco_mesh_compression"] = {{"bufferView", 0}};
    const auto file = open(gltf);
    EXPECT_THAT(ktSaveTestScene(*file, folder.path("out.glb")), IsEmpty());
    ktPretendToBake(*file);
    EXPECT_THAT(ktSaveTestScene(*file, folder.path("out.glb")), ElementsAre(HasSubstr("compressed copy")));
    EXPECT_FALSE(ktJsonOfFile(folder.path("out.glb"))["meshes"][0]["primitives"][0].contains("extensions"));
}

TEST_F(SceneSave, GivenUnwritableTarget_SaysSoAndCanBeSavedElsewhere) {
    const auto file = open(ktSquare());
    ktPretendToBake(*file);
    ktFileReport report;
    EXPECT_FALSE(file->save(folder.path("absent/out.glb"), {}, report));
    EXPECT_THAT(report.error, HasSubstr("absent/out.glb: cannot be written: there is no folder"));
    ktSaveTestScene(*file, folder.path("out.glb"));
    EXPECT_THAT(values("out.glb", "_AO"), SizeIs(4));
}

TEST_F(SceneSave, GivenInputAsTarget_ReplacesIt) {
    const auto file = open(ktSquare());
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("in.glb"));
    EXPECT_THAT(values("in.glb", "_AO"), SizeIs(4));
}
