// SPDX-License-Identifier: LGPL-2.1-or-later
// Which format a file is read as, by its ending or its content, and what is said about formats that are not read.
#include "ktSavedScene.h"
#include "OSGUberMaterial.h"

#include <gmock/gmock.h>
#include <QFile>

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

namespace {

const char* const points = "0 0 0\n1 0 0\n0 1 0\n";

std::string plyText() {
    return std::string("ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
                       "element face 1\nproperty list uchar int vertex_indices\nend_header\n") +
           points + "3 0 1 2\n";
}

std::string binaryStl() {
    std::string bytes(80, ' ');
    const std::uint32_t count = 1;
    bytes.append(reinterpret_cast<const char*>(&count), 4);
    const float facet[12] = {0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0};
    bytes.append(reinterpret_cast<const char*>(facet), sizeof facet);
    return bytes + std::string(2, '\0');
}

const char* const stlText =
    "solid one\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\nendloop\n"
    "endfacet\nendsolid one\n";

const char* const x3dText = R"(<?xml version="1.0" encoding="UTF-8"?><X3D profile="Interchange" version="3.0"><Scene>
<Shape><IndexedFaceSet coordIndex="0 1 2 -1"><Coordinate point="0 0 0 1 0 0 0 1 0"/></IndexedFaceSet></Shape></Scene></X3D>)";

std::string step(const std::string& schema) {
    return "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION((''),'2;1');\nFILE_SCHEMA(('" + schema +
           "'));\nENDSEC;\nDATA;\nENDSEC;\nEND-ISO-10303-21;\n";
}

} // namespace

TEST(ImportFormat, GivenFileWithoutAKnownEnding_IsReadByItsContent) {
    const ktTestFolder folder;
    const std::vector<std::string> contents = {std::string("# made by hand\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"),
                                               plyText(),
                                               stlText,
                                               binaryStl(),
                                               std::string("OFF\n3 1 0\n") + points + "3 0 1 2\n",
                                               x3dText};
    for (const std::string& content : contents)
        for (const char* name : {"model", "model.part", "model.OLD"}) {
            ktWriteTestFile(folder.path(name), content);
            const auto seen = ktGeometriesOf(*ktOpenTestScene(folder.path(name)));
            ASSERT_THAT(seen, SizeIs(1)) << name << content;
            EXPECT_THAT(ktTrianglesOf(seen[0].geometry), SizeIs(3)) << name << content;
        }
}

TEST(ImportFormat, GivenFileWithoutAnEnding_FindsWhatItNames) {
    const ktTestFolder folder;
    ktWriteTestFile(folder.path("model"), "mtllib a.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl red\nf 1 2 3\n");
    ktWriteTestFile(folder.path("a.mtl"), "newmtl red\nKd 1 0.5 0\n");
    const auto file = ktOpenTestScene(folder.path("model"));
    EXPECT_EQ(osg::UberMaterialPtr::dcast(ktGeometriesOf(*file).at(0).geometry->getMaterial())->getColor(),
              osg::Color3f(1, 0.5f, 0));
    EXPECT_NE(ktNodeNamed(*file, "model"), osg::NullFC) << "without the ending that the importer needs";
}

TEST(ImportFormat, GivenGltfWithoutAnEnding_IsRead) {
    const ktTestFolder folder;
    ktSquare().saveGlb(folder.path("a.glb"));
    ktSquare().saveGltf(folder.path("b.gltf"));
    for (const char* name : {"a.glb", "b.gltf"}) {
        QFile::remove(folder.path("model"));
        ASSERT_TRUE(QFile::rename(folder.path(name), folder.path("model")));
        EXPECT_THAT(ktGeometriesOf(*ktOpenTestScene(folder.path("model"))), SizeIs(1)) << name;
    }
}

TEST(ImportFormat, GivenFormatThatIsNotRead_SaysWhatConvertsIt) {
    const ktTestFolder folder;
    for (const char* name : {"part.step", "part.STP", "part", "part.p21"}) {
        ktWriteTestFile(folder.path(name), step("AUTOMOTIVE_DESIGN"));
        EXPECT_THAT(ktOpeningSays(folder.path(name)),
                    ElementsAre(AllOf(HasSubstr("cannot be read: STEP "), HasSubstr("FreeCAD"))))
            << name;
    }
    const std::pair<const char*, const char*> others[] = {{"a.iges", "FreeCAD"},
                                                          {"a.usdz", "Blender"},
                                                          {"a.skp", "SketchUp"},
                                                          {"a.3dm", "Rhino"},
                                                          {"a.jt", "CAD program"}};
    for (const auto& [name, program] : others) {
        ktWriteTestFile(folder.path(name), "v 0 0 0\n");
        EXPECT_THAT(ktOpeningSays(folder.path(name)),
                    ElementsAre(AllOf(HasSubstr("cannot be read: "), HasSubstr(program))))
            << name;
    }
    // Buildings are read, and this one is empty.
    ktWriteTestFile(folder.path("house.step"), step("IFC2X3"));
    EXPECT_THAT(ktOpeningSays(folder.path("house.step")), ElementsAre(HasSubstr("cannot be imported: IFC")));
}

TEST(ImportFormat, GivenUnknownContent_IsRefused) {
    const ktTestFolder folder;
    for (const char* content :
         {"", "a letter\nv is its first word\nf is not\n", "<html></html>", "PK\x03\x04 an archive"}) {
        ktWriteTestFile(folder.path("letter"), content);
        EXPECT_THAT(ktOpeningSays(folder.path("letter")),
                    ElementsAre(HasSubstr("letter: is no glTF, and files of the kind '.' cannot be imported")))
            << content;
    }
}

TEST(ImportFormat, GivenLongLines_AreSearchedInLittleStack) {
    const ktTestFolder folder;
    for (const char c : {'1', ' ', 'v', '<', '\n', '('}) {
        ktWriteTestFile(folder.path("long"), "v 1 " + std::string(1 << 20, c));
        EXPECT_THAT(ktOpeningSays(folder.path("long")), ElementsAre(HasSubstr("is no glTF")));
        ktWriteTestFile(folder.path("long"), "ISO-10303-21;FILE_SCHEMA(" + std::string(1 << 20, c));
        EXPECT_THAT(ktOpeningSays(folder.path("long")), ElementsAre(HasSubstr("cannot be read: STEP ")));
    }
}

TEST(ImportFormat, GivenX3d_NamesNoFolder) {
    const ktTestFolder folder;
    ktWriteTestFile(folder.path("a.x3d"), x3dText);
    const auto file = ktOpenTestScene(folder.path("a.x3d"));
    EXPECT_NE(ktNodeNamed(*file, "a.x3d"), osg::NullFC);
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.gltf"));
    EXPECT_EQ(ktReadTestFile(folder.path("out.gltf")).find(folder.root().toStdString()), std::string::npos);
}

TEST(ImportFormat, GivenGltfOfVersion1_IsImportedIfItsNameSaysSo) {
    const ktTestFolder folder;
    const QString model = KT_MODELS "/glTF/BoxTextured-glTF-Embedded/BoxTextured.gltf";
    for (const char* name : {"box.gltf", "box.GLTF"}) {
        ASSERT_TRUE(QFile::copy(model, folder.path(name)));
        EXPECT_THAT(ktGeometriesOf(*ktOpenTestScene(folder.path(name))), SizeIs(1)) << name;
    }
    ASSERT_TRUE(QFile::copy(model, folder.path("box")));
    EXPECT_THAT(ktOpeningSays(folder.path("box")), ElementsAre(HasSubstr("/asset/version: is '1.0'; only glTF 2")));
    // Its number may be missing.
    QByteArray text = QByteArray::fromStdString(ktReadTestFile(model));
    ASSERT_TRUE(text.contains("\"version\": \"1.0\""));
    text.replace("\"version\": \"1.0\"", "\"generator\": \"none\"");
    ktWriteTestFile(folder.path("box.gltf"), text.toStdString());
    EXPECT_THAT(ktOpeningSays(folder.path("box.gltf")), Not(Contains(HasSubstr("only glTF 2"))));
    // As binary files begin; nobody here reads them.
    ktWriteTestFile(folder.path("binary.glb"), std::string("glTF\1\0\0\0", 8) + std::string(12, '\0'));
    EXPECT_THAT(ktOpeningSays(folder.path("binary.glb")), ElementsAre(HasSubstr("cannot be imported")));
}
