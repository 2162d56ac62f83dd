// SPDX-License-Identifier: LGPL-2.1-or-later
// The colour of light after a bounce: from materials, vertex colours, textures and results of an earlier run.
#include "ktTriangleScene.h"
#include "OSGUberMaterial.h"

#include <cfloat>
#include <gtest/gtest.h>
#include <OpenSG/OSGMaterialGroup.h>

namespace {

constexpr float tolerance = 0.01f;

/// A sphere of radius 1 m around the origin. It received full direct light in an earlier run. A vertex in its middle
/// gathers that light.
class BounceColor : public testing::Test {
protected:
    BounceColor() {
        ktTestMesh mesh;
        mesh.addSphere(1000, 24, 48);
        node = scene.addMesh(mesh);
        geometry = osg::GeometryPtr::dcast(node->getCore());
        store(osg::Vec4f(0, 0, 0, 1));
        geometry->setMaterial(material);
    }

    osg::UInt32 count() const { return geometry->getPositions()->getSize(); }
    osg::Pnt3f position(osg::UInt32 i) const {
        return osg::GeoPositions3fPtr::dcast(geometry->getPositions())->getField()[i];
    }
    void store(const osg::Vec4f& result) {
        const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4f::create();
        results->getField().resize(count(), result);
        geometry->setTexCoords7(results);
    }
    /// A texture of two pixels: left half (x below 0) and right half.
    void paintHalves(const std::vector<std::uint8_t>& leftAndRight) {
        auto image = std::make_shared<ktImage>();
        image->width_px = 2;
        image->height_px = 1;
        image->pixels = leftAndRight;
        osg::UberMaterialTexture texture;
        texture.image = image;
        texture.isFiltered = false;
        texture.wrapU = texture.wrapV = osg::UberMaterialTexture::ClampToEdge;
        material->setTexture(texture);
        const osg::GeoTexCoords2fPtr places = osg::GeoTexCoords2f::create();
        for (osg::UInt32 i = 0; i < count(); ++i)
            places->push_back(osg::Vec2f(0.5f + position(i)[0] / 2000, 0.5f));
        geometry->setTexCoords(places);
    }
    /// The light that the vertex gathers along a direction.
    osg::Vec4f gather(const osg::Vec3f& normal, bool colorBleeding = true) {
        ktTestTracing tracing(32);
        tracing.utils->setMaterialOverride(colorBleeding, false, osg::Color3f(0, 0, 0).getValuesRGB());
        tracing.build(scene);
        const osg::Pnt3f middle(0, 0, 0);
        const osg::Color3f white(1, 1, 1);
        osg::Vec4f result(9, 9, 9, 0.5f);
        tracing.utils->gatherVertexIllumination(1, nullptr, &middle, &normal, &result, &white, false, tracing.sampler,
                                                1, false);
        return result;
    }
    static void expectColor(const osg::Vec4f& result, float red, float green, float blue) {
        EXPECT_NEAR(result[0], red, tolerance);
        EXPECT_NEAR(result[1], green, tolerance);
        EXPECT_NEAR(result[2], blue, tolerance);
    }

    ktTestLog log;
    ktTriangleScene scene;
    osg::NodePtr node;
    osg::GeometryPtr geometry;
    osg::UberMaterialPtr material = osg::UberMaterial::create();
};

} // namespace

TEST_F(BounceColor, GivenVertexColors_MultiplyTheMaterials) {
    material->setColor(osg::Color3f(0.5f, 1.0f, 0.8f));
    const osg::GeoColors3fPtr colors = osg::GeoColors3f::create();
    for (osg::UInt32 i = 0; i < count(); ++i)
        colors->push_back(position(i)[2] > 0 ? osg::Color3f(0.4f, 0.2f, 0.1f) : osg::Color3f(1, 1, 1));
    geometry->setColors(colors);
    expectColor(gather(osg::Vec3f(0, 0, -1)), 0.5f, 1.0f, 0.8f);
    const osg::Vec4f above = gather(osg::Vec3f(0, 0, 1));
    EXPECT_NEAR(above[0], 0.2f, 0.02f); // some triangles cross the equator
    EXPECT_NEAR(above[1], 0.2f, 0.05f);
    material->setVertexColors(false);
    expectColor(gather(osg::Vec3f(0, 0, 1)), 0.5f, 1.0f, 0.8f);
}

TEST_F(BounceColor, GivenTexture_IsSampledWhereTheRayMeetsIt) {
    material->setColor(osg::Color3f(1.0f, 0.5f, 1.0f));
    paintHalves({255, 255, 255, 255, 0, 0, 255, 255});
    expectColor(gather(osg::Vec3f(-1, 0, 0)), 1.0f, 0.5f, 1.0f);
    expectColor(gather(osg::Vec3f(1, 0, 0)), 0.0f, 0.0f, 1.0f);
    expectColor(gather(osg::Vec3f(0, 0, 1)), 0.5f, 0.25f, 1.0f);
}

TEST_F(BounceColor, GivenTextureWithoutColorBleeding_TakesTheLuminanceAtTheHit) {
    paintHalves({255, 255, 255, 255, 0, 0, 255, 255});
    expectColor(gather(osg::Vec3f(-1, 0, 0), false), 1, 1, 1);
    expectColor(gather(osg::Vec3f(1, 0, 0), false), 0.072169f, 0.072169f, 0.072169f);
}

TEST_F(BounceColor, GivenMaterialGroupAbove_TakesItsColor) {
    material->setColor(osg::Color3f(1, 0, 0));
    const osg::UberMaterialPtr above = osg::UberMaterial::create();
    above->setColor(osg::Color3f(0.2f, 0.4f, 0.6f));
    const osg::MaterialGroupPtr group = osg::MaterialGroup::create();
    group->setMaterial(above);
    node->getParent()->setCore(group);
    expectColor(gather(osg::Vec3f(0, 1, 0)), 0.2f, 0.4f, 0.6f);
}

TEST_F(BounceColor, GivenIndirectLightOfAnEarlierRun_IsReflectedWithoutItsStoredColor) {
    material->setColor(osg::Color3f(0.5f, 0.25f, 1.0f));
    store(osg::Vec4f(0.5f * 0.6f, 0.25f * 0.4f, 0.2f, 0.3f));
    expectColor(gather(osg::Vec3f(0, 1, 0)), 0.5f * 0.9f, 0.25f * 0.7f, 0.5f);
}

TEST_F(BounceColor, GivenLightOfLamps_IsReflectedInItsColor) {
    const osg::GeoTexCoords4fPtr lamps = osg::GeoTexCoords4f::create();
    lamps->getField().resize(count(), osg::Vec4f(0.9f, 0.6f, 0.3f, 2.5f));
    geometry->setTexCoords5(lamps);
    expectColor(gather(osg::Vec3f(0, 1, 0)), 0.9f, 0.6f, 0.3f);
}

TEST_F(BounceColor, GivenSurfaceFartherThanTheDistance_SendsNothing) {
    ktTestTracing tracing(16);
    const osg::Pnt3f middle(0, 0, 0);
    const osg::Vec3f up(0, 0, 1);
    const osg::Color3f white(1, 1, 1);
    tracing.build(scene);
    for (const float distance : {900.0f, 1100.0f}) {
        osg::Vec4f result(9, 9, 9, 0.5f);
        tracing.utils->configureTracing(16, 16, 0.0f, distance);
        tracing.utils->gatherVertexIllumination(1, nullptr, &middle, &up, &result, &white, false, tracing.sampler, 1,
                                                false);
        EXPECT_NEAR(result[0], distance > 1000 ? 1 : 2e-6f, 1e-3f);
    }
    osg::Vec4f result(9, 9, 9, 0.5f);
    tracing.utils->configureTracing(16, 16, 1050.0f, 2000.0f); // a surface nearer than the minimum sends nothing either
    tracing.utils->gatherVertexIllumination(1, nullptr, &middle, &up, &result, &white, false, tracing.sampler, 1,
                                            false);
    for (const osg::UInt32 c : {0u, 1u, 2u})
        EXPECT_EQ(result[c], 2e-6f);
    EXPECT_EQ(result[3], 0.5f);
}
