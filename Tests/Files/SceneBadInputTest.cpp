// SPDX-License-Identifier: LGPL-2.1-or-later
// Opening broken glTF files: what is left out, what is kept, and the messages.
#include "ktSavedScene.h"

#include <cmath>
#include <gmock/gmock.h>
#include <limits>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGroup.h>
#include <set>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

const float notANumber = std::numeric_limits<float>::quiet_NaN();
const float infinity = std::numeric_limits<float>::infinity();

/// A good square, and a second mesh that is broken.
class SceneBadInput : public testing::Test {
protected:
    SceneBadInput() : gltf(ktSquare()) { primitive = gltf.json["meshes"][0]["primitives"][0]; }

    // Opens the good square together with the broken primitive. Returns the warnings; the square must be there.
    std::vector<std::string> withBroken() {
        ktTestGltf both = gltf;
        both.mesh(primitive);
        both.saveGlb(folder.path("both.glb"));
        const auto file = ktOpenTestScene(folder.path("both.glb"));
        EXPECT_GE(ktGeometriesOf(*file).size(), 1u);
        brokenTriangles.clear();
        if (ktGeometriesOf(*file).size() > 1)
            brokenTriangles = ktTrianglesOf(ktGeometriesOf(*file)[1].geometry);
        return ktOpeningSays(folder.path("both.glb"));
    }

    // The error of opening the broken primitive alone.
    std::string alone() {
        ktTestGltf only = gltf;
        only.json["meshes"] = ktJson::array();
        only.json["nodes"] = ktJson::array();
        only.json["scenes"] = ktJson::array({{{"nodes", ktJson::array()}}});
        only.mesh(primitive);
        only.saveGlb(folder.path("alone.glb"));
        ktFileReport report;
        EXPECT_FALSE(ktSceneFile::open(folder.path("alone.glb"), {}, report));
        EXPECT_THAT(report.error, HasSubstr("alone.glb: /scenes/0: has no geometry that can be used; first: "));
        return report.error;
    }

    ktTestFolder folder;
    ktTestGltf gltf;
    ktJson primitive;
    std::vector<int> brokenTriangles;
};

} // namespace

TEST_F(SceneBadInput, GivenMissingFile_NamesIt) {
    EXPECT_THAT(ktOpeningSays(folder.path("absent.glb")), ElementsAre(HasSubstr("absent.glb: does not exist")));
    EXPECT_THAT(ktOpeningSays(folder.root()), ElementsAre(HasSubstr("is not a regular file")));
    ktWriteTestFile(folder.path("notes.text"), "hello");
    EXPECT_THAT(ktOpeningSays(folder.path("notes.text")),
                ElementsAre(HasSubstr("notes.text: is no glTF, and files of the kind '.text'")));
}

TEST_F(SceneBadInput, GivenLightWithoutAFiniteColour_LeavesItOutAndKeepsNothing) {
    gltf.json["extensions"]["KHR_lights_punctual"]["lights"] =
        ktJson::array({{{"type", "spot"}, {"color", {1, 1, 1}}, {"intensity", 1e300}}});
    gltf.node({{"extensions", {{"KHR_lights_punctual", {{"light", 0}}}}}});
    gltf.saveGlb(folder.path("a.glb"));
    const auto containers = [] {
        const osg::GroupRefPtr newest(osg::Group::create()); // numbers are given in order
        osg::UInt32 count = 0;
        for (osg::UInt32 id = 1; id <= newest.get().getFieldContainerId(); ++id)
            count += osg::FieldContainerFactory::the()->getContainer(id) != osg::NullFC ? 1 : 0;
        return count;
    };
    ktOpeningSays(folder.path("a.glb")); // what is made once
    const osg::UInt32 before = containers();
    EXPECT_THAT(ktOpeningSays(folder.path("a.glb")), ElementsAre("/nodes/1: has a light whose colour is not finite"));
    EXPECT_EQ(containers(), before);
}

TEST_F(SceneBadInput, GivenAccessorOutOfRange_LeavesThePrimitiveOut) {
    gltf.json["accessors"].push_back(gltf.json["accessors"][0]);
    gltf.json["accessors"].back()["count"] = 5;
    primitive["attributes"]["POSITION"] = gltf.json["accessors"].size() - 1;
    EXPECT_THAT(
        withBroken(),
        ElementsAre("/meshes/1/primitives/0: left out: reaches beyond the end of its bufferView (/accessors/3)"));
    EXPECT_THAT(alone(), HasSubstr("reaches beyond the end of its bufferView"));
    primitive["attributes"]["POSITION"] = 99;
    EXPECT_THAT(alone(), HasSubstr("does not exist (/accessors/99)"));
}

TEST_F(SceneBadInput, GivenIndexOutOfRange_LeavesItsTriangleOut) {
    primitive["indices"] = gltf.indices({0, 1, 4, 0, 2, 3});
    EXPECT_THAT(withBroken(),
                ElementsAre("/meshes/1/primitives/0: has indices out of range; what uses them is left out (1)"));
    EXPECT_THAT(brokenTriangles, ElementsAre(0, 1, 2));
    primitive["indices"] = gltf.indices({7, 8, 9});
    EXPECT_THAT(alone(), HasSubstr("has indices out of range"));
}

TEST_F(SceneBadInput, GivenIndexOutOfRangeInStrip_KeepsTheOtherTriangles) {
    primitive["mode"] = 5;
    primitive["indices"] = gltf.indices({0, 1, 2, 3, 65535, 0, 1, 2});
    EXPECT_THAT(withBroken(), Contains(HasSubstr("has indices out of range; what uses them is left out (3)")));
    EXPECT_THAT(brokenTriangles, SizeIs(9));
}

TEST_F(SceneBadInput, GivenPositionsNotFinite_LeavesTheirTrianglesOut) {
    primitive["attributes"]["POSITION"] = gltf.floats({0, 0, 0, 0, 0, 1, 1, 0, 1, 1, notANumber, 0}, 3);
    EXPECT_THAT(
        withBroken(),
        ElementsAre("/meshes/1/primitives/0: has positions that are not finite; what uses them is left out (1)"));
    EXPECT_THAT(brokenTriangles, ElementsAre(0, 1, 2));
    primitive["attributes"]["POSITION"] = gltf.floats({infinity, 0, 0, 0, 0, 1, 1, 0, 1, 1, 0, 0}, 3);
    EXPECT_THAT(alone(), HasSubstr("not finite"));
}

TEST_F(SceneBadInput, GivenUnusablePrimitive_SaysWhy) {
    primitive["attributes"].erase("POSITION");
    EXPECT_THAT(withBroken(), ElementsAre("/meshes/1/primitives/0: left out: it has no positions"));
    primitive["attributes"]["POSITION"] = 0;
    primitive["mode"] = 7;
    EXPECT_THAT(alone(), HasSubstr("its mode is none of 0 to 6"));
    primitive["mode"] = 4;
    primitive["indices"] = 0;
    EXPECT_THAT(alone(), HasSubstr("used for indices but holds no unsigned scalars"));
    primitive["indices"] = gltf.indices({0, 1});
    EXPECT_THAT(alone(), HasSubstr("make no whole primitive"));
    primitive["attributes"]["POSITION"] = 2;
    EXPECT_THAT(alone(), HasSubstr("its positions are no VEC3"));
    primitive["attributes"] = 7;
    EXPECT_THAT(alone(), HasSubstr("it has no positions"));
}

TEST_F(SceneBadInput, GivenWrongCounts_LeavesTheAttributeOut) {
    primitive["attributes"]["NORMAL"] = gltf.floats({0, 1, 0}, 3);
    primitive["attributes"]["COLOR_0"] = gltf.floats({0, 1, 0}, 3);
    EXPECT_THAT(withBroken(), ElementsAre(HasSubstr(
                                  "/meshes/1/primitives/0/attributes/NORMAL: attribute left out: has another count")));
    EXPECT_THAT(brokenTriangles, SizeIs(6)) << "the surface is kept and gets smooth normals";
}

TEST_F(SceneBadInput, GivenZeroNormals_ReplacesThemBySmoothOnes) {
    primitive["attributes"]["NORMAL"] = gltf.floats({0, 0, 0, 0, 2, 0, notANumber, 0, 0, 0, 1, 0}, 3);
    EXPECT_THAT(withBroken(),
                ElementsAre("/meshes/1/primitives/0: has normals without direction; smooth ones stand in (2)"));
    const auto file = ktOpenTestScene(folder.path("both.glb"));
    EXPECT_THAT(ktNormalsOf(ktGeometriesOf(*file)[1].geometry), testing::Each(osg::Vec3f(0, 1, 0)));
}

TEST_F(SceneBadInput, GivenDegenerateTriangles_CountsThem) {
    primitive["indices"] = gltf.indices({0, 1, 2, 0, 0, 3, 1, 1, 1});
    EXPECT_THAT(withBroken(), ElementsAre("/meshes/1/primitives/0: has triangles without an area (2)"));
}

TEST_F(SceneBadInput, GivenCyclesAndSecondParents_LeavesThemOut) {
    gltf.json["nodes"][0]["children"] = {1, 7, "x"};
    gltf.json["nodes"].push_back({{"children", {0, 1}}, {"mesh", 0}});
    gltf.saveGlb(folder.path("a.glb"));
    EXPECT_THAT(ktOpeningSays(folder.path("a.glb")),
                ElementsAre("/nodes/0/children: refers to a node that does not exist (and 1 more)",
                            "/nodes/0: is reached a second time, as in a cycle; that is left out (and 1 more)"));
    EXPECT_THAT(ktGeometriesOf(*ktOpenTestScene(folder.path("a.glb"))), SizeIs(2));
}

TEST_F(SceneBadInput, GivenManyPathsToOneNode_DoesNotFollowEach) {
    // Each node refers twice to the next: 2^40 paths.
    for (int i = 0; i < 40; ++i)
        gltf.json["nodes"].push_back({{"children", {i, i}}});
    gltf.json["scenes"][0]["nodes"] = {40};
    gltf.saveGlb(folder.path("a.glb"));
    EXPECT_THAT(ktGeometriesOf(*ktOpenTestScene(folder.path("a.glb"))), SizeIs(1));
}

TEST_F(SceneBadInput, GivenBrokenTransform_LeavesTheNodeWhereItsParentIs) {
    gltf.node({{"mesh", 0}, {"rotation", {0, 0, 0, 0}}});
    gltf.node({{"mesh", 0}, {"matrix", {1, 2}}});
    gltf.node({{"mesh", 0}, {"translation", {1e300, 0, 0}}});
    gltf.saveGlb(folder.path("a.glb"));
    EXPECT_THAT(ktOpeningSays(folder.path("a.glb")),
                ElementsAre("/nodes/1: has no valid transform; it stays where its parent is (and 2 more)"));
}

TEST_F(SceneBadInput, GivenNoGeometry_SaysSo) {
    ktTestGltf empty;
    empty.node({{"name", "nothing"}});
    empty.saveGlb(folder.path("a.glb"));
    EXPECT_THAT(ktOpeningSays(folder.path("a.glb")),
                ElementsAre(HasSubstr("a.glb: /scenes/0: has no geometry that can be used")));
    ktWriteTestFile(folder.path("b.gltf"), R"({"asset":{"version":"2.0"}})");
    EXPECT_THAT(ktOpeningSays(folder.path("b.gltf")),
                ElementsAre(HasSubstr("b.gltf: has no geometry that can be used")));
}

TEST_F(SceneBadInput, GivenHugeSceneInAFewBytes_Refuses) {
    // Few vertices without data, but in primitive after primitive.
    gltf.json["accessors"].push_back({{"componentType", 5126}, {"count", 1 << 16}, {"type", "VEC3"}});
    primitive = {{"attributes", {{"POSITION", gltf.json["accessors"].size() - 1}}}, {"mode", 0}};
    for (int i = 0; i < 100; ++i)
        gltf.mesh(primitive);
    gltf.saveGlb(folder.path("a.glb"));
    EXPECT_THAT(ktOpeningSays(folder.path("a.glb")),
                ElementsAre(HasSubstr("/meshes: describe far more vertices than the file has data for")));
}

TEST_F(SceneBadInput, GivenManyElementsWithoutData_LeavesThePrimitiveOut) {
    gltf.json["accessors"].push_back({{"componentType", 5126}, {"count", 1 << 20}, {"type", "VEC3"}});
    primitive = {{"attributes", {{"POSITION", gltf.json["accessors"].size() - 1}}}, {"mode", 0}};
    EXPECT_THAT(withBroken(), ElementsAre(HasSubstr("has 1048576 vertices or indices without data")));
    primitive = gltf.json["meshes"][0]["primitives"][0];
    gltf.json["accessors"].back() = {{"componentType", 5125}, {"count", 1 << 20}, {"type", "SCALAR"}};
    primitive["indices"] = gltf.json["accessors"].size() - 1;
    EXPECT_THAT(withBroken(), ElementsAre(HasSubstr("has 1048576 vertices or indices without data")));
    gltf.json["accessors"].back()["count"] = 1 << 25;
    EXPECT_THAT(withBroken(), ElementsAre(HasSubstr("has 33554432 elements without data, too many")));
}

TEST_F(SceneBadInput, GivenElementsWithoutDataInAFileThatGrows_ItsOutputCanBeRead) {
    // The output is so much larger that a limit by its size would take what was left out, once for each copy.
    gltf.json["accessors"].push_back({{"componentType", 5126}, {"count", 900000}, {"type", "VEC3"}});
    gltf.json["meshes"][0]["primitives"].push_back(
        {{"attributes", {{"POSITION", gltf.json["accessors"].size() - 1}}}, {"mode", 0}});
    for (int i = 0; i < 400; ++i)
        gltf.node({{"mesh", 0}});
    gltf.saveGlb(folder.path("a.glb"));
    ktOpenOptions options;
    options.uniqueInstances = true;
    for (const ktCompressionMode mode : {ktCompressionMode::None, ktCompressionMode::Draco}) {
        const auto file = ktOpenTestScene(folder.path("a.glb"), options);
        ASSERT_THAT(ktGeometriesOf(*file), SizeIs(401));
        ktPretendToBake(*file, true);
        ktSaveOptions saving;
        saving.compression = mode;
        ktFileReport report;
        ASSERT_TRUE(file->save(folder.path("b.glb"), saving, report)) << report.error;
        EXPECT_THAT(ktGeometriesOf(*ktOpenTestScene(folder.path("b.glb"))), SizeIs(401));
        EXPECT_THAT(ktOpeningSays(folder.path("b.glb")), ElementsAre(HasSubstr("without data")))
            << "left out as before";
    }
}

TEST_F(SceneBadInput, GivenManyNodesThatShowManyPrimitives_Refuses) {
    ktJson& primitives = gltf.json["meshes"][0]["primitives"];
    const ktJson one = primitives[0];
    ktJson& nodes = gltf.json["nodes"];
    while (primitives.size() < 600) {
        primitives.push_back(one);
        nodes.push_back({{"mesh", 0}});
        gltf.json["scenes"][0]["nodes"].push_back(nodes.size() - 1);
    }
    gltf.saveGlb(folder.path("a.glb"));
    EXPECT_THAT(ktOpeningSays(folder.path("a.glb")),
                ElementsAre(HasSubstr("/nodes: show far more primitives than a file of this size describes")));
    primitives = ktJson::array({one, one});
    gltf.saveGlb(folder.path("b.glb"));
    EXPECT_THAT(ktOpeningSays(folder.path("b.glb")), testing::IsEmpty()) << "a mesh with many uses is as usual";
}

TEST_F(SceneBadInput, GivenCompressedPrimitive_LeavesItOut) {
    primitive["extensions"]["KHR_draco_mesh_compression"] = {{"bufferView", 0}};
    gltf.json["accessors"].push_back({{"componentType", 5126}, {"count", 4}, {"type", "VEC3"}});
    primitive["attributes"]["POSITION"] = gltf.json["accessors"].size() - 1;
    EXPECT_THAT(alone(), HasSubstr("it is compressed (KHR_draco_mesh_compression)"));
}

TEST_F(SceneBadInput, GivenBrokenMaterialAndSkin_BakesWithout) {
    primitive["material"] = 5;
    EXPECT_THAT(withBroken(),
                ElementsAre("/meshes/1/primitives/0/material: does not exist; the default material stands in"));
    gltf.json["nodes"][0]["skin"] = 3;
    gltf.saveGlb(folder.path("a.glb"));
    EXPECT_THAT(ktOpeningSays(folder.path("a.glb")), ElementsAre("/skins/3: has no joints"));
}

TEST_F(SceneBadInput, GivenAnyMemberOfAWrongType_NeverCrashes) {
    ktTestGltf whole = gltf;
    whole.json["materials"] = ktJson::array({{{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}}}}}}});
    whole.json["textures"] = ktJson::array({{{"source", 0}, {"sampler", 0}}});
    whole.json["samplers"] = ktJson::array({{{"wrapS", 10497}}});
    whole.json["images"] = ktJson::array({{{"uri", "a.png"}}});
    whole.json["cameras"] = ktJson::array({{{"type", "perspective"}, {"perspective", {{"yfov", 1}}}}});
    whole.json["extensions"]["KHR_lights_punctual"]["lights"] = ktJson::array({{{"type", "point"}}});
    whole.json["meshes"][0]["primitives"][0]["material"] = 0;
    whole.json["nodes"][0]["camera"] = 0;
    whole.json["nodes"][0]["extras"] = {{"ambientOcclusion", {{"mode", 1}}}, {"a", "b"}};
    whole.json["nodes"][0]["extensions"]["KHR_lights_punctual"]["light"] = 0;
    whole.json["scene"] = 0;

    // Replaces every value of the document, one after the other.
    std::set<std::string> places;
    const ktJson flat = whole.json.flatten();
    for (const auto& entry : flat.items())
        for (ktJson::json_pointer place(entry.key()); !place.empty(); place = place.parent_pointer())
            places.insert(place.to_string());
    for (const std::string& place : places)
        for (const ktJson& value :
             {ktJson(nullptr), ktJson("x"), ktJson(-1), ktJson(1e18), ktJson::array({1}), ktJson::object()}) {
            ktTestGltf changed = whole;
            changed.json[ktJson::json_pointer(place)] = value;
            changed.saveGlb(folder.path("a.glb"));
            ktFileReport report;
            const auto file = ktSceneFile::open(folder.path("a.glb"), {}, report);
            EXPECT_NE(report.isGood(), file == nullptr);
            if (file && file->getUnit_mm() > 0.0) {
                file->loadPictures(report);
                ktPretendToBake(*file);
                file->save(folder.path("b.glb"), {}, report);
            }
        }
}
