// SPDX-License-Identifier: LGPL-2.1-or-later
// Surfaces without normals: what is read, and how split vertices and calculated normals are written.
#include "ktSavedScene.h"

#include <cmath>
#include <gmock/gmock.h>
#include <set>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

// A square and, at its first edge, another one, upright: two vertices are shared. Six vertices, four triangles.
const std::vector<float> corner = {0, 0, 0, 1, 0, 0, 1, 0, -1, 0, 0, -1, 1, 1, 0, 0, 1, 0};
const std::vector<std::uint16_t> cornerTriangles = {0, 1, 2, 0, 2, 3, 1, 0, 5, 1, 5, 4};

// The same with an edge of 20 degrees.
std::vector<float> bent() {
    std::vector<float> positions = corner;
    for (const std::size_t vertex : {4, 5}) {
        positions[3 * vertex + 1] = static_cast<float>(std::sin(M_PI / 9));
        positions[3 * vertex + 2] = static_cast<float>(std::cos(M_PI / 9));
    }
    return positions;
}

class SceneSplit : public testing::Test {
protected:
    // One mesh with these positions. `more`: further members of the primitive.
    void write(const std::vector<float>& positions, const ktJson& more = ktJson::object()) {
        ktJson primitive = {{"attributes", {{"POSITION", gltf.floats(positions, 3)}}},
                            {"indices", gltf.indices(cornerTriangles)}};
        primitive["attributes"].update(attributes);
        primitive.update(more);
        gltf.mesh(primitive);
        gltf.saveGlb(folder.path("in.glb"));
    }
    std::unique_ptr<ktSceneFile> bake(const ktOpenOptions& options = {}) const {
        auto file = ktOpenTestScene(folder.path("in.glb"), options);
        ktPretendToBake(*file);
        EXPECT_THAT(ktSaveTestScene(*file, folder.path("out.glb")), IsEmpty());
        return file;
    }
    ktJson written() const { return ktJsonOfFile(folder.path("out.glb"))["meshes"][0]["primitives"][0]; }
    ktJson accessor(const ktJson& index) const {
        return ktJsonOfFile(folder.path("out.glb"))["accessors"][index.get<std::size_t>()];
    }
    std::vector<float> values(const ktJson& index) const { return ktAccessorOf(folder.path("out.glb"), index); }

    ktTestFolder folder;
    ktTestGltf gltf;
    ktJson attributes = ktJson::object();
};

std::vector<std::string> notesOf(const QString& path, const ktOpenOptions& options = {}) {
    ktFileReport report;
    EXPECT_NE(ktSceneFile::open(path, options, report), nullptr) << report.error;
    return report.messages.notes();
}

ktOpenOptions keeping() {
    ktOpenOptions options;
    options.keepVertices = true;
    return options;
}

} // namespace

TEST_F(SceneSplit, GivenSharpEdge_SplitsItsVerticesAndSaysSo) {
    write(corner);
    const auto file = ktOpenTestScene(folder.path("in.glb"));
    const osg::GeometryPtr geometry = ktGeometriesOf(*file)[0].geometry;
    EXPECT_THAT(ktPositionsOf(geometry), SizeIs(8));
    const auto normals = ktNormalsOf(geometry);
    const auto triangles = ktTrianglesOf(geometry);
    ASSERT_THAT(triangles, SizeIs(12));
    for (std::size_t i = 0; i < 12; ++i)
        EXPECT_EQ(normals[static_cast<std::size_t>(triangles[i])], i < 6 ? osg::Vec3f(0, 1, 0) : osg::Vec3f(0, 0, -1));
    EXPECT_THAT(notesOf(folder.path("in.glb")),
                testing::Contains("Surfaces without normals have edges sharper than 30 degrees; their vertices are "
                                  "split there: 2 added (1 surface)."));
    ktOpenOptions smooth;
    smooth.creaseAngle_deg = 90;
    EXPECT_THAT(ktPositionsOf(ktGeometriesOf(*ktOpenTestScene(folder.path("in.glb"), smooth))[0].geometry), SizeIs(6));
    EXPECT_THAT(notesOf(folder.path("in.glb"), smooth), testing::Not(testing::Contains(HasSubstr("without normals"))));
}

TEST_F(SceneSplit, GivenAllKindsOfAttributes_CopiesThemInTheirFormats) {
    const auto sixOf = [&](const auto& data, int type, const char* shape, std::size_t stride) {
        return gltf.accessor(
            {{"bufferView", gltf.view(data, stride)}, {"componentType", type}, {"count", 6}, {"type", shape}});
    };
    attributes["TEXCOORD_0"] = sixOf(std::vector<std::uint16_t>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}, 5123, "VEC2", 4);
    gltf.json["accessors"].back()["normalized"] = true;
    attributes["COLOR_0"] = sixOf(std::vector<std::uint8_t>{0, 51, 255, 0, 1, 51, 255, 0, 2, 51, 255, 0,
                                                            3, 51, 255, 0, 4, 51, 255, 0, 5, 51, 255, 0},
                                  5121, "VEC3", 4);
    gltf.json["accessors"].back()["normalized"] = true;
    attributes["_HEAT"] = gltf.floats({1, 2, 3, 4, 5, 6}, 1);
    ktJson target = {{"POSITION", gltf.floats({0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 2, 0, 0, 3, 0, 0, 4}, 3)}};
    write(corner, {{"targets", ktJson::array({target})}});
    bake();
    const ktJson primitive = written();
    for (const auto& attribute : primitive["attributes"].items())
        EXPECT_EQ(accessor(attribute.value())["count"], 8) << attribute.key();
    EXPECT_EQ(accessor(primitive["attributes"]["TEXCOORD_0"])["componentType"], 5123);
    EXPECT_EQ(accessor(primitive["attributes"]["TEXCOORD_0"])["normalized"], true);
    EXPECT_EQ(accessor(primitive["attributes"]["_SOURCE_COLOR_0"])["componentType"], 5121);
    EXPECT_EQ(accessor(primitive["attributes"]["_SOURCE_COLOR_0"])["type"], "VEC3");
    EXPECT_THAT(values(primitive["attributes"]["_HEAT"]), ElementsAre(1, 2, 3, 4, 5, 6, 1, 2));
    const std::vector<float> colors = values(primitive["attributes"]["_SOURCE_COLOR_0"]);
    ASSERT_THAT(colors, SizeIs(24));
    EXPECT_FLOAT_EQ(colors[18], 0.0f);
    EXPECT_FLOAT_EQ(colors[21], 1.0f / 255);
    EXPECT_FLOAT_EQ(colors[22], 51.0f / 255);
    const std::vector<float> positions = values(primitive["attributes"]["POSITION"]);
    EXPECT_EQ(std::vector<float>(positions.begin(), positions.begin() + 18), corner);
    EXPECT_EQ(accessor(primitive["attributes"]["POSITION"])["max"], ktJson({1.0, 1.0, 0.0}));
    EXPECT_EQ(accessor(primitive["attributes"]["POSITION"])["min"], ktJson({0.0, 0.0, -1.0}));
    EXPECT_EQ(accessor(primitive["targets"][0]["POSITION"])["count"], 8);
    EXPECT_EQ(accessor(primitive["targets"][0]["POSITION"])["max"], ktJson({0.0, 0.0, 4.0}));
    const std::vector<float> indices = values(primitive["indices"]);
    ASSERT_THAT(indices, SizeIs(12));
    for (std::size_t i = 0; i < 12; ++i) {
        const auto index = static_cast<std::size_t>(indices[i]);
        EXPECT_EQ(index < 6 ? index : index - 6, cornerTriangles[i]) << i;
    }
}

TEST_F(SceneSplit, GivenJoints_KeepsThemWhole) {
    attributes["JOINTS_0"] = gltf.accessor({{"bufferView", gltf.view(std::vector<std::uint8_t>(24, 0))},
                                            {"componentType", 5121},
                                            {"count", 6},
                                            {"type", "VEC4"}});
    attributes["WEIGHTS_0"] = gltf.floats({1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}, 4);
    write(bent());
    gltf.json["skins"] = ktJson::array({{{"joints", {0}}}});
    gltf.json["nodes"][0]["skin"] = 0;
    gltf.saveGlb(folder.path("in.glb"));
    ktOpenOptions sharp;
    sharp.creaseAngle_deg = 10;
    bake(sharp);
    const ktJson primitive = written();
    EXPECT_EQ(accessor(primitive["attributes"]["JOINTS_0"])["componentType"], 5121);
    EXPECT_EQ(accessor(primitive["attributes"]["JOINTS_0"])["count"], 8);
    EXPECT_EQ(accessor(primitive["attributes"]["WEIGHTS_0"])["count"], 8);
    bake();
    EXPECT_FALSE(written()["attributes"].contains("NORMAL")) << "it would be wrong in other poses";
}

TEST_F(SceneSplit, GivenFlatFaces_WritesNoNormals) {
    write(corner);
    bake();
    EXPECT_FALSE(written()["attributes"].contains("NORMAL"));
}

TEST_F(SceneSplit, GivenSmoothEdge_WritesNormalsAndNoVertices) {
    write(bent());
    bake();
    ASSERT_TRUE(written()["attributes"].contains("NORMAL"));
    const std::vector<float> normals = values(written()["attributes"]["NORMAL"]);
    ASSERT_THAT(normals, SizeIs(18));
    EXPECT_NEAR(normals[1], std::cos(M_PI / 18), 1e-5);
    EXPECT_NEAR(normals[2], -std::sin(M_PI / 18), 1e-5);
    EXPECT_EQ(accessor(written()["attributes"]["POSITION"])["count"], 6);
}

TEST_F(SceneSplit, GivenBakedFile_BakesToTheSame) {
    for (const bool isBent : {false, true}) {
        gltf = {};
        write(isBent ? bent() : corner);
        bake();
        const std::string once = ktReadTestFile(folder.path("out.glb"));
        ktWriteTestFile(folder.path("in.glb"), once);
        EXPECT_THAT(notesOf(folder.path("in.glb")), testing::Not(testing::Contains(HasSubstr("without normals"))));
        bake();
        EXPECT_EQ(ktReadTestFile(folder.path("out.glb")), once) << isBent;
    }
}

TEST_F(SceneSplit, GivenClearedFile_LosesCalculatedNormals) {
    write(bent());
    bake();
    const auto file = ktOpenTestScene(folder.path("out.glb"));
    for (const ktSeenGeometry& seen : ktGeometriesOf(*file))
        seen.geometry->setTexCoords7(osg::NullFC);
    ktSaveTestScene(*file, folder.path("out.glb"));
    EXPECT_THAT(written()["attributes"], SizeIs(1));
}

TEST_F(SceneSplit, GivenSeveralSaves_EachStartsFromTheFile) {
    write(corner);
    const auto file = bake();
    const std::string once = ktReadTestFile(folder.path("out.glb"));
    ktSaveTestScene(*file, folder.path("out.glb"));
    EXPECT_EQ(ktReadTestFile(folder.path("out.glb")), once);
    for (const ktSeenGeometry& seen : ktGeometriesOf(*file))
        seen.geometry->setTexCoords7(osg::NullFC);
    ktSaveTestScene(*file, folder.path("out.glb"));
    EXPECT_EQ(accessor(written()["attributes"]["POSITION"])["count"], 6) << "without results, nothing is split";
}

TEST_F(SceneSplit, GivenKeepVertices_WritesTheMeanOfTheSides) {
    write(corner);
    EXPECT_THAT(notesOf(folder.path("in.glb"), keeping()),
                testing::Not(testing::Contains(HasSubstr("without normals"))));
    const auto file = ktOpenTestScene(folder.path("in.glb"), keeping());
    const osg::GeometryPtr geometry = ktGeometriesOf(*file)[0].geometry;
    ASSERT_THAT(ktPositionsOf(geometry), SizeIs(8));
    std::vector<osg::Vec4f> results;
    for (const float w : {0.25f, 0.5f, 0.75f, 1.0f, 0.1f, 0.2f, 0.75f, 0.25f})
        results.emplace_back(0, 0, 0, w);
    ktSetChannel(geometry, 7, results);
    ktSaveTestScene(*file, folder.path("out.glb"));
    EXPECT_THAT(values(written()["attributes"]["_AO"]), ElementsAre(0.5f, 0.375f, 0.75f, 1.0f, 0.1f, 0.2f));
    EXPECT_EQ(accessor(written()["attributes"]["POSITION"])["count"], 6);
    EXPECT_FALSE(written()["attributes"].contains("NORMAL"));
}

TEST_F(SceneSplit, GivenSharedBuffer_SplitsEachPrimitiveApart) {
    const std::size_t positions = gltf.floats(corner, 3);
    const ktJson both = {{"attributes", {{"POSITION", positions}}}, {"indices", gltf.indices(cornerTriangles)}};
    const ktJson lower = {{"attributes", {{"POSITION", positions}}}, {"indices", gltf.indices({0, 1, 2, 0, 2, 3})}};
    gltf.mesh(both);
    gltf.json["meshes"][0]["primitives"].push_back(lower);
    gltf.saveGlb(folder.path("in.glb"));
    bake();
    const ktJson primitives = ktJsonOfFile(folder.path("out.glb"))["meshes"][0]["primitives"];
    EXPECT_EQ(accessor(primitives[0]["attributes"]["POSITION"])["count"], 8);
    EXPECT_EQ(accessor(primitives[0]["attributes"]["_AO"])["count"], 8);
    EXPECT_EQ(primitives[1]["attributes"]["POSITION"], positions);
    EXPECT_EQ(accessor(primitives[1]["attributes"]["_AO"])["count"], 6);
}
