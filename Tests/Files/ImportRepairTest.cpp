// SPDX-License-Identifier: LGPL-2.1-or-later
// What exporters get wrong or write in a rare way: invisible materials, triangle strips, names in another case.
#include "ktSavedScene.h"
#include "OSGUberMaterial.h"

#include <gmock/gmock.h>
#include <QDir>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

const char* const square = "mtllib a.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvt 0 0\nvt 1 1\nusemtl skin\n"
                           "f 1/1 2/1 3/2 4/2\n";

osg::UberMaterialPtr materialOf(const ktSceneFile& file) {
    return osg::UberMaterialPtr::dcast(ktGeometriesOf(file).at(0).geometry->getMaterial());
}

/// Corners of all triangles, in their order.
std::vector<osg::Pnt3f> cornersOf(const QString& path) {
    const auto file = ktOpenTestScene(path);
    std::vector<osg::Pnt3f> corners;
    for (const ktSeenGeometry& seen : ktGeometriesOf(*file))
        for (const int index : ktTrianglesOf(seen.geometry))
            corners.push_back(ktPositionsOf(seen.geometry)[static_cast<std::size_t>(index)]);
    return corners;
}

const char* const sixVertices = "element vertex 6\nproperty float x\nproperty float y\nproperty float z\n";
const std::vector<float> positions = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 0, 2, 0, 1, 2, 0};
const char* const sixLines = "0 0 0\n1 0 0\n0 1 0\n1 1 0\n0 2 0\n1 2 0\n";
const std::vector<std::int32_t> strips = {0, 1, 2, 3, -1, 3, 2, 5, 4}; // two strips of two triangles

/// The bytes of a number, least significant first or last.
template <class T>
std::string bytesOf(T number, bool isBigEndian) {
    std::string bytes(reinterpret_cast<const char*>(&number), sizeof number);
    if (isBigEndian)
        std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

std::string binaryStrips(bool isBigEndian) {
    std::string text = std::string("ply\nformat binary_") + (isBigEndian ? "big" : "little") +
                       "_endian 1.0\ncomment strips\n" + sixVertices +
                       "element tristrips 1\nproperty list int int vertex_indices\nend_header\n";
    for (const float number : positions)
        text += bytesOf(number, isBigEndian);
    text += bytesOf(static_cast<std::int32_t>(strips.size()), isBigEndian);
    for (const std::int32_t index : strips)
        text += bytesOf(index, isBigEndian);
    return text;
}

std::string asciiStrips(const std::string& more = "") {
    std::string text = std::string("ply\nformat ascii 1.0\n") + sixVertices + more +
                       "element tristrips 1\nproperty list int int vertex_indices\nend_header\n" + sixLines;
    text += std::to_string(strips.size());
    for (const std::int32_t index : strips)
        text += ' ' + std::to_string(index);
    return text + '\n';
}

} // namespace

TEST(InvisibleMaterial, GivenObj_IsOpaqueWithAWarning) {
    const ktTestFolder folder;
    ktWriteTestFile(folder.path("a.obj"), square);
    ktWriteTestFile(folder.path("a.mtl"), "newmtl skin\nKd 1 0.5 0\nTr 1\n");
    EXPECT_THAT(ktOpeningSays(folder.path("a.obj")),
                ElementsAre(HasSubstr("material skin: is invisible, which is mostly an exporter's mistake")));
    const auto file = ktOpenTestScene(folder.path("a.obj"));
    EXPECT_FALSE(materialOf(*file)->isTransparent());
    EXPECT_EQ(materialOf(*file)->getAlpha(), 1.0f);

    ktWriteTestFile(folder.path("a.mtl"), "newmtl skin\nKd 1 0.5 0\nTr 0.9\n");
    EXPECT_THAT(ktOpeningSays(folder.path("a.obj")), IsEmpty());
    EXPECT_TRUE(materialOf(*ktOpenTestScene(folder.path("a.obj")))->isTransparent()) << "nearly invisible is meant";
}

TEST(InvisibleMaterial, GivenCollada_IsOpaqueWithAWarning) {
    const QString path = KT_MODELS "/Collada/regr01.dae";
    EXPECT_THAT(ktOpeningSays(path), testing::Contains(HasSubstr("is invisible, which is mostly")));
    const auto file = ktOpenTestScene(path);
    std::vector<float> alphas;
    for (const ktSeenGeometry& seen : ktGeometriesOf(*file))
        alphas.push_back(osg::UberMaterialPtr::dcast(seen.geometry->getMaterial())->getAlpha());
    EXPECT_THAT(alphas, testing::UnorderedElementsAre(1, 1, 1, 1, 1, 0.4f)) << "the windows are meant to be glass";
}

TEST(PlyStrips, GivenEachFormat_ReadsAllTriangles) {
    const ktTestFolder folder;
    ktWriteTestFile(folder.path("faces.ply"),
                    std::string("ply\nformat ascii 1.0\n") + sixVertices +
                        "element face 4\nproperty list uchar int vertex_indices\nend_header\n" + sixLines +
                        "3 0 1 2\n3 2 1 3\n3 3 2 5\n3 5 2 4\n");
    const auto expected = cornersOf(folder.path("faces.ply"));
    ASSERT_THAT(expected, SizeIs(12));
    ktWriteTestFile(folder.path("ascii.ply"), asciiStrips());
    EXPECT_EQ(cornersOf(folder.path("ascii.ply")), expected);
    for (const bool isBigEndian : {false, true}) {
        ktWriteTestFile(folder.path("binary.ply"), binaryStrips(isBigEndian));
        EXPECT_EQ(cornersOf(folder.path("binary.ply")), expected) << isBigEndian;
    }
}

TEST(PlyStrips, GivenBrokenOnes_SaysSo) {
    const ktTestFolder folder;
    const auto expectRefused = [&](const std::string& text, const std::string& reason) {
        ktWriteTestFile(folder.path("a.ply"), text);
        EXPECT_THAT(ktOpeningSays(folder.path("a.ply")),
                    ElementsAre(HasSubstr("a.ply: cannot be imported: its triangle strips " + reason)));
    };
    const std::string binary = binaryStrips(false), ascii = asciiStrips();
    expectRefused(binary.substr(0, binary.size() - 1), "are cut off");
    expectRefused(ascii.substr(0, ascii.rfind(' ')), "are cut off");
    expectRefused(asciiStrips("element face 1\nproperty list uchar int vertex_indices\n"), "are beside single faces");
    std::string nameless = ascii;
    nameless.replace(nameless.find("vertex_indices"), 14, "something");
    expectRefused(nameless, "have no list of indices");
}

TEST(PlyHeader, GivenNoEnd_IsRefusedAtOnce) {
    const ktTestFolder folder;
    const QString path = folder.path("a.ply");
    const std::string begin = "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                              "property float z\nelement face 1\nproperty list uchar uint vertex_indices";
    const std::string values = "0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n";
    for (const char* end :
         {"\n", "\nEND_HEADER\n", " end_header\n", "\nend_header\xFF 0\n"}) { // the importer would look for it for ever
        ktWriteTestFile(path, std::string(begin).append(end).append(values));
        EXPECT_THAT(ktOpeningSays(path),
                    ElementsAre(HasSubstr("cannot be imported: its header does not end with a line \"end_header\"")))
            << end;
    }
    ktWriteTestFile(folder.path("a.ply"), begin.substr(0, begin.rfind("property")) + "propertyhar int x\nend_header");
    EXPECT_THAT(ktOpeningSays(path), ElementsAre(HasSubstr("does not end with a line")));
    for (const char* end : {"\nend_header\n", "\r\nend_header\r\n", "\rend_header\r", "\n end_header \n"}) {
        ktWriteTestFile(path, std::string(begin).append(end).append(values));
        EXPECT_EQ(cornersOf(path).size(), 3u) << end;
    }
}

TEST(NamesInAnotherCase, GivenObj_FindsMaterialsAndTextures) {
    const ktTestFolder folder;
    QDir(folder.root()).mkdir("Textures");
    ktWriteTestFile(folder.path("a.obj"), square);
    ktWriteTestFile(folder.path("A.MTL"), "newmtl skin\nKd 1 0.5 0\nmap_Kd TEXTURES\\Skin.PNG\n");
    ktWriteTestFile(folder.path("Textures/skin.png"), "\x89PNG not really");
    EXPECT_THAT(ktOpeningSays(folder.path("a.obj")), IsEmpty());
    const auto file = ktOpenTestScene(folder.path("a.obj"));
    EXPECT_EQ(materialOf(*file)->getColor(), osg::Color3f(1, 0.5f, 0));
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.gltf"));
    EXPECT_EQ(ktJsonOfFile(folder.path("out.gltf"))["images"][0]["uri"], "Textures/skin.png");
}

TEST(NamesInAnotherCase, GivenTwoThatFit_TakesTheExactOne) {
    const ktTestFolder folder;
    ktWriteTestFile(folder.path("a.obj"), square);
    ktWriteTestFile(folder.path("a.mtl"), "newmtl skin\nKd 0 1 0\n");
    ktWriteTestFile(folder.path("A.mtl"), "newmtl skin\nKd 1 0 0\n");
    EXPECT_EQ(materialOf(*ktOpenTestScene(folder.path("a.obj")))->getColor(), osg::Color3f(0, 1, 0));
}

TEST(NamesInAnotherCase, GivenGltf_FindsBuffersAndImages) {
    const ktTestFolder folder;
    ktTestGltf gltf = ktSquare();
    gltf.json["images"] = {{{"uri", "Picture.PNG"}}};
    gltf.saveGltf(folder.path("a.gltf"), "Data.BIN");
    QFile::rename(folder.path("Data.BIN"), folder.path("data.bin"));
    ktWriteTestFile(folder.path("picture.png"), "\x89PNG not really");
    const auto file = ktOpenTestScene(folder.path("a.gltf"));
    EXPECT_THAT(ktGeometriesOf(*file), SizeIs(1));
    ktPretendToBake(*file);
    QDir(folder.root()).mkdir("other");
    EXPECT_THAT(ktSaveTestScene(*file, folder.path("other/out.gltf")), IsEmpty());
    EXPECT_THAT(ktOpeningSays(folder.path("other/out.gltf")), Not(testing::Contains(HasSubstr("does not exist"))));
    EXPECT_THAT(folder.names(), testing::Contains(HasSubstr("other/Picture.PNG"))) << "as the file names it";
}
