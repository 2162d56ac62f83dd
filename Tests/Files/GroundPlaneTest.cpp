// SPDX-License-Identifier: LGPL-2.1-or-later
// The ground plane in scenes and in saved files.
#include "ktSavedScene.h"
#include "OSGUShadowMaterial.h"

#include <gmock/gmock.h>
#include <OpenSG/OSGSimpleAttachments.h>

using testing::SizeIs;

namespace {

class GroundPlane : public testing::Test {
protected:
    // An upright square, 2 m above the origin.
    std::unique_ptr<ktSceneFile> open() const {
        ktTestGltf gltf = ktSquare();
        gltf.json["nodes"][0]["translation"] = {0, 2, 0};
        gltf.saveGlb(folder.path("in.glb"));
        return ktOpenTestScene(folder.path("in.glb"));
    }
    static osg::NodePtr add(ktSceneFile& file) {
        ktFileReport report;
        const osg::NodePtr plane = file.addGroundPlane(report);
        EXPECT_TRUE(report.isGood());
        return plane;
    }
    static osg::GeometryPtr geometryOf(const osg::NodePtr& plane) {
        return osg::GeometryPtr::dcast(plane->getChild(0)->getCore());
    }

    ktTestFolder folder;
};

} // namespace

TEST_F(GroundPlane, GivenScene_IsAGridBelowIt) {
    const auto file = open();
    const osg::NodePtr plane = add(*file);
    ASSERT_NE(plane, osg::NullFC);
    EXPECT_EQ(file->getTopNodes().back(), plane);
    EXPECT_STREQ(osg::getName(plane), "ground plane");
    const osg::GeometryPtr geometry = geometryOf(plane);
    EXPECT_NE(osg::UShadowMaterialPtr::dcast(geometry->getMaterial()), osg::NullFC);
    EXPECT_THAT(ktPositionsOf(geometry), SizeIs(81));
    EXPECT_THAT(ktTrianglesOf(geometry), SizeIs(3 * 128));
    for (const osg::Pnt3f& position : ktPositionsOf(geometry)) {
        EXPECT_LT(position[1], 2.0f);
        EXPECT_GT(position[1], 1.99f);
    }
    EXPECT_LT(ktPositionsOf(geometry).front()[0], -0.2f);
    EXPECT_GT(ktPositionsOf(geometry).back()[2], 1.2f);
    EXPECT_THAT(ktNormalsOf(geometry), testing::Each(osg::Vec3f(0, 1, 0)));
    // The front of the triangles is above.
    const auto corners = ktTrianglesOf(geometry);
    const auto at = [&](int i) {
        return ktPositionsOf(geometry)[static_cast<std::size_t>(corners[static_cast<std::size_t>(i)])];
    };
    EXPECT_GT((at(1) - at(0)).cross(at(2) - at(0))[1], 0.0f);
}

TEST_F(GroundPlane, GivenExistingPlane_ReusesIt) {
    const auto file = open();
    const osg::NodePtr plane = add(*file);
    EXPECT_EQ(add(*file), plane);
    ktPretendToBake(*file);
    ktSaveTestScene(*file, folder.path("out.glb"));

    const auto again = ktOpenTestScene(folder.path("out.glb"));
    const osg::NodePtr found = add(*again);
    EXPECT_THAT(again->getTopNodes(), SizeIs(2));
    EXPECT_EQ(again->getTopNodes().back(), found);
    EXPECT_NE(osg::UShadowMaterialPtr::dcast(geometryOf(found)->getMaterial()), osg::NullFC);
    EXPECT_EQ(again->getUnit_mm(), file->getUnit_mm());
    ktSaveTestScene(*again, folder.path("again.glb"));
    EXPECT_EQ(ktReadTestFile(folder.path("again.glb")), ktReadTestFile(folder.path("out.glb")));
}

TEST_F(GroundPlane, GivenResults_IsBlackAndAsOpaqueAsTheShadow) {
    const auto file = open();
    const osg::GeometryPtr geometry = geometryOf(add(*file));
    std::vector<osg::Vec4f> values(81, osg::Vec4f(0, 0, 0, 1.0f));
    values[40][3] = 0.25f;
    ktSetChannel(geometry, 7, values);
    for (const bool multiply : {true, false}) {
        ktSaveTestScene(*file, folder.path("out.glb"), {multiply, 3.0f});
        const ktJson json = ktJsonOfFile(folder.path("out.glb"));
        const ktJson& node = json["nodes"].back();
        EXPECT_EQ(node["extras"]["ambientOcclusionGroundPlane"], true);
        const ktJson& primitive = json["meshes"][node["mesh"].get<std::size_t>()]["primitives"][0];
        const auto colors = ktAccessorOf(folder.path("out.glb"), primitive["attributes"]["COLOR_0"]);
        ASSERT_THAT(colors, SizeIs(4 * 81));
        EXPECT_EQ(colors[0] + colors[1] + colors[2] + colors[3], 0.0f);
        EXPECT_EQ(colors[160], 0.0f);
        EXPECT_NEAR(colors[163], 0.75f, 1e-4);
        const ktJson& material = json["materials"][primitive["material"].get<std::size_t>()];
        EXPECT_EQ(material["alphaMode"], "BLEND");
        EXPECT_EQ(material["pbrMetallicRoughness"]["baseColorFactor"], (ktJson{0.0, 0.0, 0.0, 1.0}));
    }
}
