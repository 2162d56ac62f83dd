// SPDX-License-Identifier: LGPL-2.1-or-later
// Scenes whose up axis is given, or said by the file, and models that lie on their side.
#include "ktSavedScene.h"

#include <cmath>
#include <gmock/gmock.h>

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

/// A pyramid with its tip along one axis, 0 to 2, over a square base. `base`: with the base.
std::string pyramid(int axis, bool base = true) {
    std::ostringstream text;
    const auto vertex = [&](double u, double v, double height) {
        double point[3];
        point[axis] = height;
        point[(axis + 1) % 3] = u;
        point[(axis + 2) % 3] = v;
        text << "v " << point[0] << ' ' << point[1] << ' ' << point[2] << '\n';
    };
    vertex(-1, -1, 0);
    vertex(1, -1, 0);
    vertex(1, 1, 0);
    vertex(-1, 1, 0);
    vertex(0, 0, 2);
    text << "f 1 2 5\nf 2 3 5\nf 3 4 5\nf 4 1 5\n" << (base ? "f 4 3 2\nf 4 2 1\n" : "");
    return text.str();
}

std::vector<std::string> notesOf(const QString& path, const ktOpenOptions& options = {}) {
    ktFileReport report;
    EXPECT_NE(ktSceneFile::open(path, options, report), nullptr) << report.error;
    return report.messages.notes();
}

/// Least and greatest coordinate of the scene along a world axis, in millimetres.
std::pair<float, float> extentOf(const ktSceneFile& file, osg::UInt32 axis) {
    std::pair<float, float> extent = {1e30f, -1e30f};
    for (const ktSeenGeometry& seen : ktGeometriesOf(file))
        for (const osg::Pnt3f& position : ktPositionsOf(seen.geometry)) {
            osg::Pnt3f world;
            seen.toWorld.mult(position, world);
            extent = {std::min(extent.first, world[axis]), std::max(extent.second, world[axis])};
        }
    return extent;
}

std::unique_ptr<ktSceneFile> openTurned(const QString& path, ktUpAxis up) {
    ktOpenOptions options;
    options.up = up;
    options.unit = {1.0};
    return ktOpenTestScene(path, options);
}

/// An ASCII FBX file of the test models with other axes: 0 x, 1 y, 2 z.
void writeFbx(const QString& path, int axis, int sign) {
    QString text = QString::fromStdString(ktReadTestFile(KT_MODELS "/FBX/cubes_nonames.fbx"));
    const QString up = "P: \"UpAxis\", \"int\", \"Integer\", \"\",",
                  upSign = "P: \"UpAxisSign\", \"int\", \"Integer\", \"\",";
    ASSERT_TRUE(text.contains(up + "1") && text.contains(upSign + "1"));
    text.replace(up + "1", up + QString::number(axis)).replace(upSign + "1", upSign + QString::number(sign));
    ktWriteTestFile(path, text.toStdString());
}

} // namespace

TEST(UpAxis, GivenTurns_AreExactRotations) {
    for (const ktUpAxis up : {ktUpAxis::X, ktUpAxis::Y, ktUpAxis::Z}) {
        float axis[3] = {0, 0, 0}, point[3] = {1, 2, 3};
        axis[static_cast<int>(up)] = 1;
        ktTurnUp(up, axis);
        EXPECT_THAT(axis, ElementsAre(0, 1, 0)) << ktNameOf(up);
        ktTurnUp(up, point);
        EXPECT_EQ(point[0] * point[0] + point[1] * point[1] + point[2] * point[2], 14);
        ktTurnBack(up, point);
        EXPECT_THAT(point, ElementsAre(1, 2, 3));
        EXPECT_EQ(ktParseUpAxis(ktNameOf(up)), up);
    }
    EXPECT_FALSE(ktParseUpAxis("w") || ktParseUpAxis("") || ktParseUpAxis("Z"));
}

TEST(UpAxis, GivenGltf_TurnsTheSceneAndKeepsTheFile) {
    const ktTestFolder folder;
    ktTestGltf gltf = ktSquare(); // in the xz plane
    gltf.json["nodes"][0]["translation"] = {0, 0, 2};
    gltf.saveGlb(folder.path("in.glb"));
    const auto file = openTurned(folder.path("in.glb"), ktUpAxis::Z);
    EXPECT_EQ(extentOf(*file, 1), std::make_pair(2.0f, 3.0f)) << "z of the file";
    EXPECT_EQ(extentOf(*file, 0), std::make_pair(0.0f, 1.0f));
    EXPECT_EQ(extentOf(*openTurned(folder.path("in.glb"), ktUpAxis::X), 1), std::make_pair(0.0f, 1.0f));
    EXPECT_EQ(extentOf(*openTurned(folder.path("in.glb"), ktUpAxis::Y), 1), std::make_pair(0.0f, 0.0f));

    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.glb"));
    const ktJson before = ktJsonOfFile(folder.path("in.glb")), after = ktJsonOfFile(folder.path("out.glb"));
    EXPECT_EQ(after["nodes"], before["nodes"]);
    EXPECT_EQ(after["scenes"], before["scenes"]);
}

TEST(UpAxis, GivenGroundPlane_IsBelowTheScene) {
    for (const ktUpAxis up : {ktUpAxis::X, ktUpAxis::Z}) {
        const ktTestFolder folder;
        const auto axis = static_cast<std::size_t>(up);
        ktTestGltf gltf = ktSquare();
        ktJson translation = {0, 0, 0};
        translation[axis] = 2;
        gltf.json["nodes"][0]["translation"] = translation;
        gltf.saveGlb(folder.path("in.glb"));
        const auto file = openTurned(folder.path("in.glb"), up);
        ktFileReport report;
        ASSERT_NE(file->addGroundPlane(report), osg::NullFC);
        const ktSeenGeometry plane = ktGeometriesOf(*file).back();
        for (const osg::Pnt3f& position : ktPositionsOf(plane.geometry)) {
            osg::Pnt3f world;
            plane.toWorld.mult(position, world);
            EXPECT_NEAR(world[1], 2, 0.01) << ktNameOf(up);
            EXPECT_LT(world[1], 2) << ktNameOf(up);
        }
        osg::Vec3f upwards(0, 0, 0);
        upwards[static_cast<osg::UInt32>(axis)] = 1;
        EXPECT_THAT(ktNormalsOf(plane.geometry), Each(upwards)) << "in the file's space";
        ktPretendToBake(*file);
        ktSaveTestScene(*file, folder.path("out.glb"));
        const ktJson json = ktJsonOfFile(folder.path("out.glb"));
        const ktJson& mesh = json["meshes"][json["nodes"].back()["mesh"].get<std::size_t>()];
        const ktJson& accessor = json["accessors"][mesh["primitives"][0]["attributes"]["POSITION"].get<std::size_t>()];
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_LE(accessor["min"][i], accessor["max"][i]);
        EXPECT_NEAR(accessor["min"][axis].get<double>(), 2, 0.01);
    }
}

TEST(UpAxis, GivenImportedFile_IsWrittenWithYUp) {
    const ktTestFolder folder;
    for (const ktUpAxis up : {ktUpAxis::X, ktUpAxis::Y, ktUpAxis::Z}) {
        ktWriteTestFile(folder.path("a.obj"), pyramid(static_cast<int>(up)));
        const auto file = openTurned(folder.path("a.obj"), up);
        EXPECT_NEAR(extentOf(*file, 1).second, 2, 1e-5) << ktNameOf(up);
        EXPECT_NEAR(extentOf(*file, 1).first, 0, 1e-5) << ktNameOf(up);
        ktPretendToBake(*file);
        ktSaveTestScene(*file, folder.path("out.glb"));
        ktOpenOptions plain;
        plain.unit = {1.0};
        EXPECT_NEAR(extentOf(*ktOpenTestScene(folder.path("out.glb"), plain), 1).second, 2, 1e-5) << ktNameOf(up);
    }
}

TEST(UpAxis, GivenFbx_UsesItsAxis) {
    const ktTestFolder folder;
    ktOpenOptions raw;
    raw.up = ktUpAxis::Y; // the positions as they are in the file
    for (const int axis : {0, 1, 2})
        for (const int sign : {1, -1}) {
            writeFbx(folder.path("a.fbx"), axis, sign);
            const auto expected = extentOf(*ktOpenTestScene(folder.path("a.fbx"), raw), static_cast<osg::UInt32>(axis));
            const auto found = extentOf(*ktOpenTestScene(folder.path("a.fbx")), 1);
            EXPECT_NEAR(found.first, sign > 0 ? expected.first : -expected.second, 0.01) << axis << ' ' << sign;
            EXPECT_NEAR(found.second, sign > 0 ? expected.second : -expected.first, 0.01) << axis << ' ' << sign;
        }
}

TEST(UpAxis, GivenAxisForAFileThatSaysAnother_OverridesIt) {
    const ktTestFolder folder;
    for (const char* name : {"/3DS/fels.3ds", "/3MF/box.3mf", "/Collada/cube_tristrips.dae"}) { // z up
        const auto file = ktOpenTestScene(QString(KT_MODELS) + name);
        const auto high = extentOf(*file, 1), deep = extentOf(*file, 2);
        ktOpenOptions options;
        options.unit = {file->getUnit_mm()};
        options.up = ktUpAxis::Z;
        const auto same = ktOpenTestScene(QString(KT_MODELS) + name, options);
        EXPECT_NEAR(extentOf(*same, 1).second, high.second, 1e-3 * std::abs(high.second) + 1e-3) << name;
        options.up = ktUpAxis::Y;
        const auto lying = ktOpenTestScene(QString(KT_MODELS) + name, options);
        EXPECT_NEAR(extentOf(*lying, 2).second, high.second, 1e-3 * std::abs(high.second) + 1e-3) << name;
        EXPECT_NEAR(extentOf(*lying, 1).second, -deep.first, 1e-3 * std::abs(deep.first) + 1e-3) << name;
    }
}

TEST(LyingModel, GivenFlatSideAlongAnotherAxis_GivesAHint) {
    const ktTestFolder folder;
    const auto notes = [&](const std::string& text, const std::string& name = "a.obj") {
        ktWriteTestFile(folder.path(name), text);
        return notesOf(folder.path(name));
    };
    EXPECT_THAT(notes(pyramid(2)), Contains(HasSubstr("lie on its side: it has a flat side along z and none along y. "
                                                      "--up z")));
    EXPECT_THAT(notes(pyramid(0)), Contains(HasSubstr("--up x")));
    EXPECT_THAT(notes(pyramid(1)), Not(Contains(HasSubstr("lie on its side")))) << "it stands";
    EXPECT_THAT(notes(pyramid(2, false)), Not(Contains(HasSubstr("lie on its side")))) << "no flat side at all";
    const std::string box = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\nv 1 0 1\nv 1 1 1\nv 0 1 1\n"
                            "f 1 4 3 2\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";
    EXPECT_THAT(notes(box), Not(Contains(HasSubstr("lie on its side"))));
    ktOpenOptions given;
    given.up = ktUpAxis::Y;
    ktWriteTestFile(folder.path("a.obj"), pyramid(2));
    EXPECT_THAT(notesOf(folder.path("a.obj"), given), Not(Contains(HasSubstr("lie on its side")))) << "the user knows";
}

TEST(LyingModel, GivenFormatWithAnUpAxis_GivesNone) {
    const ktTestFolder folder;
    ktWriteTestFile(folder.path("a.obj"), pyramid(2));
    const auto file = ktOpenTestScene(folder.path("a.obj"));
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("a.glb"));
    ktOpenOptions options;
    options.unit = {1.0};
    EXPECT_THAT(notesOf(folder.path("a.glb"), options), IsEmpty());
}
