// SPDX-License-Identifier: LGPL-2.1-or-later
// EXT_mesh_gpu_instancing: instances are uses of one mesh.
#include "ktSavedScene.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

class Instances : public testing::Test {
protected:
    Instances() {
        gltf.json["extensionsUsed"] = {"EXT_mesh_gpu_instancing"};
        gltf.json["extensionsRequired"] = {"EXT_mesh_gpu_instancing"};
    }
    void save(const ktJson& attributes) {
        gltf.json["nodes"][0]["extensions"]["EXT_mesh_gpu_instancing"]["attributes"] = attributes;
        gltf.saveGlb(folder.path("in.glb"));
    }
    std::size_t quaternions(const std::vector<float>& values) {
        const std::size_t view = gltf.view(values);
        return gltf.accessor(
            {{"bufferView", view}, {"componentType", 5126}, {"count", values.size() / 4}, {"type", "VEC4"}});
    }

    ktTestFolder folder;
    ktTestGltf gltf = ktSquare();
};

// The first vertex of the square, (0, 0, 0) to the world.
osg::Pnt3f firstPoint(const ktSeenGeometry& seen) {
    osg::Pnt3f point(1, 0, 0);
    seen.toWorld.multMatrixPnt(point);
    return point;
}

} // namespace

TEST_F(Instances, GivenThreeTransforms_ShowsTheMeshThreeTimes) {
    gltf.json["nodes"][0]["translation"] = {0, 0, 10};
    save({{"TRANSLATION", gltf.floats({0, 0, 0, 5, 0, 0, 0, 7, 0}, 3)},
          {"ROTATION", quaternions({0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 1})},
          {"SCALE", gltf.floats({1, 1, 1, 1, 1, 1, 2, 2, 2}, 3)}});
    const auto file = ktOpenTestScene(folder.path("in.glb"));
    const auto seen = ktGeometriesOf(*file);
    ASSERT_THAT(seen, SizeIs(3));
    EXPECT_EQ(osg::GeometryPtr(seen[0].geometry), osg::GeometryPtr(seen[2].geometry));
    const float wanted[3][3] = {{1, 0, 10}, {4, 0, 10}, {2, 7, 10}};
    const float unit = static_cast<float>(file->getUnit_mm());
    for (std::size_t i = 0; i < 3; ++i)
        for (osg::UInt32 c = 0; c < 3; ++c)
            EXPECT_NEAR(firstPoint(seen[i])[c], wanted[i][c] * unit, 1e-3f * unit);
}

TEST_F(Instances, GivenResults_WritesTheFileAsItWas) {
    save({{"TRANSLATION", gltf.floats({0, 0, 0, 5, 0, 0}, 3)}});
    const auto file = ktOpenTestScene(folder.path("in.glb"));
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.glb"));
    const ktJson json = ktJsonOfFile(folder.path("out.glb"));
    EXPECT_EQ(json["nodes"][0]["extensions"], ktJsonOfFile(folder.path("in.glb"))["nodes"][0]["extensions"]);
    EXPECT_TRUE(json["meshes"][0]["primitives"][0]["attributes"].contains("_AO"));
    EXPECT_THAT(ktGeometriesOf(*ktOpenTestScene(folder.path("out.glb"))), SizeIs(2));
}

TEST_F(Instances, GivenUniqueInstances_MakesThemNodes) {
    save({{"TRANSLATION", gltf.floats({0, 0, 0, 5, 0, 0}, 3)}});
    ktOpenOptions options;
    options.uniqueInstances = true;
    const auto file = ktOpenTestScene(folder.path("in.glb"), options);
    const auto seen = ktGeometriesOf(*file);
    ASSERT_THAT(seen, SizeIs(2));
    EXPECT_NE(osg::GeometryPtr(seen[0].geometry), osg::GeometryPtr(seen[1].geometry));
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.glb"));
    const ktJson json = ktJsonOfFile(folder.path("out.glb"));
    EXPECT_THAT(json["meshes"], SizeIs(2));
    EXPECT_THAT(json["nodes"], SizeIs(3));
    EXPECT_FALSE(json.contains("extensionsRequired"));
}

TEST_F(Instances, GivenManyUsesOfOneMesh_MakesEachUniqueAndTheOutputCanBeRead) {
    // Together far more indices than the file has data for.
    const auto useIndices = [this](const std::vector<std::uint16_t>& indices) {
        gltf.json["meshes"][0]["primitives"][0]["indices"] = gltf.indices(indices);
        gltf.saveGlb(folder.path("in.glb"));
    };
    for (int i = 1; i < 600; ++i)
        gltf.node({{"mesh", 0}});
    std::vector<std::uint16_t> thousandTriangles;
    for (int i = 0; i < 1000; ++i)
        thousandTriangles.insert(thousandTriangles.end(), {0, 1, 2});
    useIndices(thousandTriangles);
    ktOpenOptions options;
    options.uniqueInstances = true;
    const auto file = ktOpenTestScene(folder.path("in.glb"), options);
    ASSERT_THAT(ktGeometriesOf(*file), SizeIs(600));
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.glb"));
    EXPECT_THAT(ktGeometriesOf(*ktOpenTestScene(folder.path("out.glb"), options)), SizeIs(600));

    // Too many; none is an index of a vertex, so that they take no memory.
    useIndices(std::vector<std::uint16_t>(60000, 9999));
    ktFileReport report;
    EXPECT_FALSE(ktSceneFile::open(folder.path("in.glb"), options, report));
    EXPECT_THAT(report.error, HasSubstr("/meshes: describe far more vertices than the file has data for"));
}

TEST_F(Instances, GivenBrokenInstances_ShowsTheMeshOnceAndSaysSo) {
    save({{"TRANSLATION", 99}});
    EXPECT_THAT(ktOpeningSays(folder.path("in.glb")), ElementsAre(HasSubstr("its instances cannot be read")));
    save({{"TRANSLATION", gltf.floats({0, 0, 0, 5, 0, 0}, 3)}, {"SCALE", gltf.floats({1, 1, 1}, 3)}});
    EXPECT_THAT(ktOpeningSays(folder.path("in.glb")), ElementsAre(HasSubstr("another count than the others")));
    save({{"TRANSLATION", gltf.accessor({{"componentType", 5126}, {"count", 10000000}, {"type", "VEC3"}})}});
    EXPECT_THAT(ktOpeningSays(folder.path("in.glb")), ElementsAre(HasSubstr("has far more elements than data")));
    EXPECT_THAT(ktGeometriesOf(*ktOpenTestScene(folder.path("in.glb"))), SizeIs(1));
}
