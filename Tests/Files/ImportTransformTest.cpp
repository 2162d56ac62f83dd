// SPDX-License-Identifier: LGPL-2.1-or-later
// Transforms of imported nodes: what glTF's translation, rotation and scale cannot express becomes two nodes.
#include "ktSavedScene.h"

#include <array>
#include <gmock/gmock.h>
#include <random>

using testing::SizeIs;

namespace {

using Matrix = std::array<double, 12>; // three rows

std::string textOf(const Matrix& matrix) {
    std::string text;
    for (const double value : matrix)
        text += QString::number(value, 'g', 9).toStdString() + " ";
    return text + "0 0 0 1";
}

/// A tetrahedron under a node `part` with this transform, and the same under a child of it.
std::string collada(const Matrix& matrix) {
    return R"(<?xml version="1.0"?><COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><unit meter="1" name="meter"/><up_axis>Y_UP</up_axis></asset><library_geometries><geometry id="g"><mesh><source id="p">
<float_array id="a" count="12">0 0 0 1 0 0 0 1 0 0 0 1</float_array><technique_common><accessor source="#a" count="4"
stride="3"><param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/></accessor>
</technique_common></source><vertices id="v"><input semantic="POSITION" source="#p"/></vertices><triangles count="4">
<input semantic="VERTEX" source="#v" offset="0"/><p>0 2 1 0 1 3 0 3 2 1 2 3</p></triangles></mesh></geometry>
</library_geometries><library_visual_scenes><visual_scene id="s" name="s"><node id="part" name="part"><matrix>)" +
           textOf(matrix) + R"(</matrix><instance_geometry url="#g"/><node id="child" name="child">
<translate>1 2 3</translate><instance_geometry url="#g"/></node></node></visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#s"/></scene></COLLADA>)";
}

double largestEntry(const Matrix& matrix) {
    double largest = 1.0;
    for (const double value : matrix)
        largest = std::max(largest, std::abs(value));
    return largest;
}

/// How far the vertices of both uses are from where the matrix puts them, as a share of its largest entry.
double errorOf(const ktSceneFile& file, const Matrix& m) {
    double error = 0.0;
    const auto seen = ktGeometriesOf(file);
    EXPECT_THAT(seen, SizeIs(2));
    for (std::size_t use = 0; use < seen.size(); ++use) {
        const double shift[3] = {use * 1.0, use * 2.0, use * 3.0};
        const auto positions = ktPositionsOf(seen[use].geometry);
        for (const osg::Pnt3f& position : positions) {
            osg::Pnt3f world;
            seen[use].toWorld.mult(position, world);
            for (std::size_t row = 0; row < 3; ++row) {
                double expected = m[row * 4 + 3];
                for (std::size_t column = 0; column < 3; ++column)
                    expected += m[row * 4 + column] * (static_cast<double>(position[column]) + shift[column]);
                error = std::max(error, std::abs(static_cast<double>(world[row]) / file.getUnit_mm() - expected));
            }
        }
    }
    return error / largestEntry(m);
}

/// The nodes that the saved file has. None may have a matrix that shears.
ktJson nodesOf(const ktTestFolder& folder, const Matrix& matrix) {
    ktWriteTestFile(folder.path("a.dae"), collada(matrix));
    const auto file = ktOpenTestScene(folder.path("a.dae"));
    EXPECT_LT(errorOf(*file, matrix), 5e-6) << textOf(matrix);
    const osg::NodePtr part = ktNodeNamed(*file, "part");
    EXPECT_NE(part, osg::NullFC);
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.gltf"));
    EXPECT_LT(errorOf(*ktOpenTestScene(folder.path("out.gltf")), matrix), 5e-6) << textOf(matrix);
    return ktJsonOfFile(folder.path("out.gltf"))["nodes"];
}

/// How far the columns of a node's matrix are from right angles, times its scale; validators allow 1e-4.
double shearOf(const ktJson& node) {
    if (!node.contains("matrix"))
        return 0.0;
    const auto m = node["matrix"].get<std::vector<double>>();
    double shear = 0.0;
    for (int a = 0; a < 3; ++a)
        for (int b = a + 1; b < 3; ++b) {
            double dot = 0.0, lengthA = 0.0, lengthB = 0.0;
            for (int i = 0; i < 3; ++i) {
                dot += m[a * 4 + i] * m[b * 4 + i];
                lengthA += m[a * 4 + i] * m[a * 4 + i];
                lengthB += m[b * 4 + i] * m[b * 4 + i];
            }
            shear =
                std::max(shear, lengthA * lengthB == 0.0 ? 1.0 : std::abs(dot) / std::sqrt(std::max(lengthA, lengthB)));
        }
    return shear;
}

} // namespace

TEST(ImportTransform, GivenShear_BecomesTwoNodes) {
    const ktTestFolder folder;
    const ktJson nodes = nodesOf(folder, {1, 0.5, 0, 10, 0, 1, 0, 20, 0, 0, 1, 30});
    int count = 0;
    for (const ktJson& node : nodes) {
        EXPECT_LT(shearOf(node), 1e-4) << node;
        count += node.value("name", "") == "part";
        if (node.value("name", "") == "part") {
            EXPECT_TRUE(node.contains("mesh"));
            EXPECT_THAT(node["children"], SizeIs(1));
        }
    }
    EXPECT_EQ(count, 1) << "the name stays with the mesh and the children";
}

TEST(ImportTransform, GivenAnyMatrix_PutsTheVerticesThere) {
    const ktTestFolder folder;
    std::mt19937 random(7);
    std::uniform_real_distribution<double> entry(-1.0, 1.0);
    for (int i = 0; i < 20; ++i) {
        Matrix matrix{};
        for (double& value : matrix)
            value = entry(random) * (i % 2 == 0 ? 1.0 : 50.0);
        for (const ktJson& node : nodesOf(folder, matrix))
            EXPECT_LT(shearOf(node), 1e-4) << node;
    }
}

TEST(ImportTransform, GivenFlatOrMirroredMatrix_PutsTheVerticesThere) {
    const ktTestFolder folder;
    for (const Matrix& matrix :
         {Matrix{1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0}, Matrix{1, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 0},
          Matrix{-1, 0.3, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, Matrix{-2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0}})
        for (const ktJson& node : nodesOf(folder, matrix))
            EXPECT_LT(shearOf(node), 1e-4) << node;
}

TEST(ImportTransform, GivenRotationAndScale_KeepsTheMatrix) {
    const ktTestFolder folder;
    const ktJson nodes = nodesOf(folder, {0, -2, 0, 1, 2, 0, 0, 2, 0, 0, 3, 3});
    for (const ktJson& node : nodes)
        if (node.value("name", "") == "part") {
            EXPECT_EQ(node["matrix"], ktJson({0, 2, 0, 0, -2, 0, 0, 0, 0, 0, 3, 0, 1, 2, 3, 1}));
        }
}

TEST(ImportTransform, GivenSmallShift_IsNotLost) {
    const ktTestFolder folder;
    nodesOf(folder, {1, 0, 0, 0.009, 0, 1, 0, 0, 0, 0, 1, -0.005});
}

TEST(ImportTransform, GivenRoundingInTheLastRow_RemovesIt) {
    const ktTestFolder folder;
    // Two of its nodes have the last row 0 0 0 0.99999994.
    const auto file = ktOpenTestScene(KT_MODELS "/Q3D/WusonOrange.q3s");
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.gltf"));
    const ktJson json = ktJsonOfFile(folder.path("out.gltf"));
    int count = 0;
    for (const ktJson& node : json["nodes"])
        if (node.contains("matrix")) {
            ++count;
            EXPECT_EQ(node["matrix"][15], 1) << node;
        }
    EXPECT_EQ(count, 4);
}

TEST(ImportTransform, GivenRoundingAtALargeScale_StaysOneNode) {
    const ktTestFolder folder;
    const ktJson nodes = nodesOf(folder, {1e4, 0.01, 0, 0, 0, 1e4, 0, 0, 0, 0, 1e4, 0});
    for (const ktJson& node : nodes) {
        EXPECT_LT(shearOf(node), 1e-4) << node;
        if (node.value("name", "") == "part") {
            EXPECT_TRUE(node.contains("scale"));
        }
    }
}
