// SPDX-License-Identifier: LGPL-2.1-or-later
// Saving refined geometry to glTF: new primitives with all attributes.
#include "ktSavedScene.h"

#include <cmath>
#include <filesystem>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

// Splits the triangle (0, 1, 2) of a geometry into two: adds the middle of the edge between the first two vertices to
// every property.
template <class PropertyPtr>
void addMiddle(const PropertyPtr& property) {
    auto& field = property->getField();
    auto middle = field[0];
    // NOLINTNEXTLINE(bugprone-sizeof-expression): the element is one float or several
    const std::size_t width = sizeof middle / sizeof(float);
    auto* out = reinterpret_cast<float*>(&middle);
    const auto* other = reinterpret_cast<const float*>(&field[1]);
    for (std::size_t c = 0; c < width; ++c)
        out[c] = (out[c] + other[c]) / 2.0f;
    field.push_back(middle);
}

template <class PropertyPtr, class AnyPtr>
bool addMiddleTo(const AnyPtr& any) {
    const PropertyPtr property = PropertyPtr::dcast(any);
    if (property == osg::NullFC)
        return false;
    addMiddle(property);
    return true;
}

void addMiddleToTexCoords(const osg::GeoTexCoordsPtr& any) {
    if (any != osg::NullFC) {
        EXPECT_TRUE(addMiddleTo<osg::GeoTexCoords1fPtr>(any) || addMiddleTo<osg::GeoTexCoords2fPtr>(any) ||
                    addMiddleTo<osg::GeoTexCoords3fPtr>(any) || addMiddleTo<osg::GeoTexCoords4fPtr>(any));
    }
}

void refine(const osg::GeometryPtr& geometry) {
    addMiddleTo<osg::GeoPositions3fPtr>(geometry->getPositions());
    addMiddleTo<osg::GeoNormals3fPtr>(geometry->getNormals());
    if (geometry->getColors() != osg::NullFC) {
        EXPECT_TRUE(addMiddleTo<osg::GeoColors4fPtr>(geometry->getColors()));
    }
    for (const osg::GeoTexCoordsPtr& any :
         {geometry->getTexCoords(), geometry->getTexCoords1(), geometry->getTexCoords2(), geometry->getTexCoords3(),
          geometry->getTexCoords4(), geometry->getTexCoords5(), geometry->getTexCoords6(), geometry->getTexCoords7()})
        addMiddleToTexCoords(any);
    const auto middle = static_cast<osg::UInt32>(geometry->getPositions()->size() - 1);
    const osg::GeoIndicesUI32Ptr indices = osg::GeoIndicesUI32::create();
    for (const osg::UInt32 index : {0u, middle, 2u, middle, 1u, 2u})
        indices->getField().push_back(index);
    geometry->setIndices(indices);
    geometry->getLengths()->setValue(6, 0);
    geometry->getTypes()->setValue(GL_TRIANGLES, 0);
}

class SceneRefined : public testing::Test {
protected:
    // A strip of three vertices with all kinds of attributes.
    ktTestGltf makeFile() const {
        ktTestGltf file;
        ktJson attributes = {{"POSITION", file.floats({0, 0, 0, 1, 0, 0, 0, 1, 0}, 3)}};
        attributes["TEXCOORD_0"] =
            file.accessor({{"bufferView", file.view(std::vector<std::uint16_t>{0, 0, 65535, 0, 0, 65535})},
                           {"componentType", 5123},
                           {"normalized", true},
                           {"count", 3},
                           {"type", "VEC2"}});
        attributes["NORMAL"] = file.floats({0, 0, 1, 1, 0, 0, 0, 0, 1}, 3);
        attributes["TANGENT"] = file.floats({1, 0, 0, -1, 0, 0, 1, -1, 1, 0, 0, -1}, 4);
        attributes["TEXCOORD_1"] = file.floats({1, 1, 2, 2, 3, 3}, 2);
        attributes["TEXCOORD_2"] = file.floats({1, 2, 3, 4, 5, 6}, 2);
        attributes["TEXCOORD_3"] = file.floats({7, 2, 3, 4, 5, 6}, 2);
        attributes["COLOR_0"] = file.floats({1, 0, 0, 0, 1, 0, 0, 0, 1}, 3);
        attributes["_TEMPERATURE"] = file.floats({10, 20, 30}, 1);
        file.json["materials"] = ktJson::array({{{"name", "m"}}});
        file.mesh({{"attributes", attributes}, {"mode", 5}, {"material", 0}, {"extras", {{"k", 1}}}});
        return file;
    }

    std::unique_ptr<ktSceneFile> open(const ktTestGltf& file, const std::string& name = "in.glb") const {
        file.saveGlb(folder.path(name));
        return ktOpenTestScene(folder.path(name));
    }
    ktJson primitive(const std::string& name) const {
        return ktJsonOfFile(folder.path(name))["meshes"][0]["primitives"][0];
    }
    std::vector<float> values(const std::string& name, const char* attribute) const {
        return ktAccessorOf(folder.path(name), primitive(name)["attributes"].at(attribute));
    }

    ktTestFolder folder;
};

} // namespace

TEST_F(SceneRefined, GivenMoreVertices_RewritesThePrimitiveWithAllAttributes) {
    const auto file = open(makeFile());
    const osg::GeometryPtr geometry = ktGeometriesOf(*file)[0].geometry;
    ktSetChannel(geometry, 7, {{0, 0, 0, 0.2f}, {0, 0, 0, 0.4f}, {0, 0, 0, 0.6f}});
    refine(geometry);
    EXPECT_THAT(ktSaveTestScene(*file, folder.path("out.glb")), IsEmpty());

    const ktJson before = primitive("in.glb");
    const ktJson after = primitive("out.glb");
    std::vector<std::string> names;
    for (const auto& entry : after["attributes"].items())
        names.push_back(entry.key());
    EXPECT_THAT(names, ElementsAre("POSITION", "TEXCOORD_0", "NORMAL", "TANGENT", "TEXCOORD_1", "TEXCOORD_2",
                                   "TEXCOORD_3", "COLOR_0", "_TEMPERATURE", "_AO", "_SOURCE_COLOR_0"));
    EXPECT_EQ(after["mode"], 4);
    EXPECT_EQ(after["material"], 0);
    EXPECT_EQ(after["extras"], before["extras"]);
    const float half = std::sqrt(0.5f);
    EXPECT_THAT(values("out.glb", "POSITION"), ElementsAre(0, 0, 0, 1, 0, 0, 0, 1, 0, 0.5f, 0, 0));
    EXPECT_THAT(values("out.glb", "TEXCOORD_0"), ElementsAre(0, 0, 1, 0, 0, 1, 0.5f, 0));
    EXPECT_THAT(values("out.glb", "TEXCOORD_3"), ElementsAre(7, 2, 3, 4, 5, 6, 5, 3));
    EXPECT_THAT(values("out.glb", "_TEMPERATURE"), ElementsAre(10, 20, 30, 15));
    const auto normals = values("out.glb", "NORMAL");
    EXPECT_NEAR(normals[9], half, 1e-6);
    EXPECT_NEAR(normals[11], half, 1e-6);
    const auto tangents = values("out.glb", "TANGENT");
    EXPECT_NEAR(tangents[12], half, 1e-6);
    EXPECT_NEAR(tangents[14], half, 1e-6);
    EXPECT_EQ(tangents[15], -1.0f);
    EXPECT_THAT(values("out.glb", "_SOURCE_COLOR_0"), ElementsAre(1, 0, 0, 0, 1, 0, 0, 0, 1, 0.5f, 0.5f, 0));
    const auto occlusion = values("out.glb", "_AO");
    ASSERT_THAT(occlusion, SizeIs(4));
    EXPECT_NEAR(occlusion[3], 0.3f, 1e-6);
    EXPECT_THAT(ktTrianglesOf(ktGeometriesOf(*ktOpenTestScene(folder.path("out.glb")))[0].geometry),
                ElementsAre(0, 3, 2, 3, 1, 2));
}

TEST_F(SceneRefined, GivenGeneratedNormals_DoesNotWriteThem) {
    ktTestGltf gltf = makeFile();
    for (const char* name : {"NORMAL", "TANGENT"})
        gltf.json["meshes"][0]["primitives"][0]["attributes"].erase(name);
    const auto file = open(gltf);
    refine(ktGeometriesOf(*file)[0].geometry);
    ktSaveTestScene(*file, folder.path("out.glb"));
    EXPECT_FALSE(primitive("out.glb")["attributes"].contains("NORMAL"));
    EXPECT_THAT(values("out.glb", "POSITION"), SizeIs(12));
}

TEST_F(SceneRefined, GivenTooManyAttributes_NamesTheLostOnes) {
    ktTestGltf gltf = makeFile();
    for (const char* name : {"_B", "_C", "TEXCOORD_4"})
        gltf.json["meshes"][0]["primitives"][0]["attributes"][name] = gltf.floats({1, 2, 3}, 1);
    gltf.json["meshes"][0]["primitives"][0]["attributes"]["TEXCOORD_4"] = gltf.floats({1, 2, 3, 4, 5, 6}, 2);
    const auto file = open(gltf);
    EXPECT_THAT(ktSaveTestScene(*file, folder.path("same.glb")), IsEmpty()) << "without refinement nothing is lost";
    EXPECT_EQ(primitive("same.glb"), primitive("in.glb"));
    refine(ktGeometriesOf(*file)[0].geometry);
    EXPECT_THAT(ktSaveTestScene(*file, folder.path("out.glb")),
                ElementsAre("/meshes/0: loses an attribute as it is refined (_TEMPERATURE) (and 2 more)"));
    EXPECT_FALSE(primitive("out.glb")["attributes"].contains("_C"));
}

TEST_F(SceneRefined, GivenRepeatedRefinement_TheFileGrowsOnlyByNewVertices) {
    open(makeFile());
    std::filesystem::copy_file(folder.path("in.glb").toStdString(), folder.path("a.glb").toStdString());
    std::vector<std::uintmax_t> sizes;
    for (int round = 0; round < 3; ++round) {
        const auto file = ktOpenTestScene(folder.path("a.glb"));
        refine(ktGeometriesOf(*file)[0].geometry);
        ktPretendToBake(*file);
        ktSaveTestScene(*file, folder.path("a.glb"));
        sizes.push_back(std::filesystem::file_size(folder.path("a.glb").toStdString()));
        // Saving without changes writes the same file.
        ktSaveTestScene(*ktOpenTestScene(folder.path("a.glb")), folder.path("b.glb"));
        EXPECT_EQ(std::filesystem::file_size(folder.path("b.glb").toStdString()), sizes.back());
    }
    const auto growth = [&](std::size_t i) { return sizes[i] - sizes[i - 1]; };
    EXPECT_LT(growth(1), 300u);
    EXPECT_LT(growth(2), 300u);
}

TEST_F(SceneRefined, GivenSavedTwice_WritesTheSame) {
    const auto file = open(makeFile());
    refine(ktGeometriesOf(*file)[0].geometry);
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("once.glb"));
    ktSaveTestScene(*file, folder.path("twice.glb"));
    EXPECT_EQ(ktReadTestFile(folder.path("once.glb")), ktReadTestFile(folder.path("twice.glb")));
}
