// SPDX-License-Identifier: LGPL-2.1-or-later
// Units that files of other formats name.
#include "ktSavedScene.h"

#include <gmock/gmock.h>
#include <minizip/zip.h>

using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// A 3MF package with one triangle, 4 along x and 3 along z. @param attributes of the model, such as a unit
void write3mf(const QString& path, const std::string& attributes) {
    const std::string model =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<model " + attributes +
        " xmlns=\"http://schemas.microsoft.com/3dmanufacturing/core/2015/02\"><resources><object id=\"1\" "
        "type=\"model\"><mesh><vertices><vertex x=\"0\" y=\"0\" z=\"0\"/><vertex x=\"4\" y=\"0\" z=\"0\"/>"
        "<vertex x=\"0\" y=\"0\" z=\"3\"/></vertices><triangles><triangle v1=\"0\" v2=\"1\" v3=\"2\"/></triangles>"
        "</mesh></object></resources><build><item objectid=\"1\"/></build></model>";
    const std::string types =
        "<?xml version=\"1.0\"?><Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
        "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
        "<Default Extension=\"model\" ContentType=\"application/vnd.ms-package.3dmanufacturing-3dmodel+xml\"/></Types>";
    const std::string relations =
        "<?xml version=\"1.0\"?><Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
        "<Relationship Id=\"rel0\" Target=\"/3D/3dmodel.model\" "
        "Type=\"http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel\"/></Relationships>";
    zipFile archive = zipOpen(path.toStdString().c_str(), APPEND_STATUS_CREATE);
    const auto add = [&](const char* name, const std::string& text) {
        zipOpenNewFileInZip(archive, name, nullptr, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED, Z_DEFAULT_COMPRESSION);
        zipWriteInFileInZip(archive, text.data(), static_cast<unsigned>(text.size()));
        zipCloseFileInZip(archive);
    };
    add("[Content_Types].xml", types);
    add("_rels/.rels", relations);
    add("3D/3dmodel.model", model);
    zipClose(archive, nullptr);
}

} // namespace

TEST(FileUnit, Given3mf_UsesTheUnitItNames) {
    const ktTestFolder folder;
    const auto lengthOf = [&](const std::string& attributes) {
        write3mf(folder.path("a.3mf"), attributes);
        ktFileReport report;
        const auto file = ktSceneFile::open(folder.path("a.3mf"), {}, report);
        EXPECT_TRUE(file) << report.error;
        EXPECT_THAT(report.messages.notes(), IsEmpty()) << attributes;
        return file ? ktSceneDiagonal(file->getRoot()) : 0.0;
    };
    EXPECT_NEAR(lengthOf("unit=\"millimeter\""), 5, 1e-4) << "smaller than plausible glTF files";
    EXPECT_NEAR(lengthOf("xml:lang=\"en\" unit='inch'"), 5 * 25.4, 1e-3);
    EXPECT_NEAR(lengthOf("unit=\"meter\""), 5000, 0.01);
    EXPECT_NEAR(lengthOf("unit=\"micron\""), 0.005, 1e-7);
    EXPECT_NEAR(lengthOf(""), 5, 1e-4) << "millimetres unless it says otherwise";
}

TEST(FileUnit, Given3mf_StandsOnItsBuildPlate) {
    const ktTestFolder folder;
    write3mf(folder.path("a.3mf"), "unit=\"millimeter\"");
    const auto file = ktOpenTestScene(folder.path("a.3mf"));
    const auto seen = ktGeometriesOf(*file);
    ASSERT_EQ(seen.size(), 1u);
    float height = 0;
    for (const osg::Pnt3f& position : ktPositionsOf(seen[0].geometry)) {
        osg::Pnt3f world;
        seen[0].toWorld.mult(position, world);
        height = std::max(height, world[1]);
    }
    EXPECT_NEAR(height, 3, 1e-4) << "z of the file";
}

TEST(FileUnit, GivenIfc_IsInMetres) {
    ktFileReport report;
    const auto file = ktSceneFile::open(KT_MODELS "/IFC/AC14-FZK-Haus.ifc", {}, report);
    ASSERT_TRUE(file) << report.error;
    EXPECT_EQ(file->getUnit_mm(), 1000.0);
    EXPECT_THAT(report.messages.notes(), Each(HasSubstr("without normals"))) << "nothing about the unit";
    EXPECT_NEAR(ktSceneDiagonal(file->getRoot()), 26000, 1500) << "a house on its ground";
}

TEST(FileUnit, GivenObj_HasNone) {
    const ktTestFolder folder;
    ktWriteTestFile(folder.path("a.obj"), "v 0 0 0\nv 3 0 0\nv 0 4 0\nf 1 2 3\n");
    ktFileReport report;
    const auto file = ktSceneFile::open(folder.path("a.obj"), {}, report);
    ASSERT_TRUE(file) << report.error;
    EXPECT_NEAR(ktSceneDiagonal(file->getRoot()), 3000, 0.01);
    EXPECT_THAT(report.messages.notes(), Contains(HasSubstr("does not say what its unit is")));
}
