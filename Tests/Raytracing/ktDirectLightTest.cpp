// SPDX-License-Identifier: LGPL-2.1-or-later
// Direct light of directional, point and spot lights: cosine, fall-off, cones and shadows.
#include "ktOcclusionPass.h"
#include "ktTriangleScene.h"

#include <cfloat>
#include <gtest/gtest.h>
#include <limits>
#include <OpenSG/OSGDirectionalLight.h>
#include <OpenSG/OSGPointLight.h>
#include <OpenSG/OSGSpotLight.h>

namespace {

const osg::Pnt3f origin(0, 0, 0);
const osg::Vec3f up(0, 0, 1);

class DirectLight : public testing::Test {
protected:
    template <class LightPtr>
    LightPtr add(const LightPtr& light, float red, float green, float blue,
                 const osg::Matrix& toWorld = osg::Matrix()) {
        beginEditCP(light);
        light->setDiffuse(red, green, blue, 1);
        endEditCP(light);
        lights.push_back(scene.addCore(light, toWorld));
        return light;
    }
    osg::PointLightPtr addPoint(float x, float y, float z) {
        const osg::PointLightPtr light = add(osg::PointLight::create(), 1, 1, 1);
        light->setPosition(x, y, z);
        return light;
    }
    osg::SpotLightPtr addSpot(float cutOffDegrees, float exponent) { // one metre above the origin, pointing down
        const osg::SpotLightPtr light = add(osg::SpotLight::create(), 1, 1, 1);
        light->setPosition(0, 0, 1000);
        light->setSpotDirection(0, 0, -1);
        light->setSpotCutOffDeg(cutOffDegrees);
        light->setSpotExponent(exponent);
        return light;
    }
    void addRoof(double height) {
        ktTestMesh roof;
        roof.addQuad({-1e6, -1e6, height}, {2e6, 0, 0}, {0, 2e6, 0});
        scene.addMesh(roof);
    }
    osg::Vec4f at(const osg::Pnt3f& position) {
        tracing.build(scene, lights);
        return tracing.traceOne(position, up, true);
    }

    ktTestLog log;
    ktTriangleScene scene;
    ktTestTracing tracing{64};
    std::vector<osg::NodePtr> lights;
};

} // namespace

TEST_F(DirectLight, GivenDirectionalLight_ArrivesByTheCosineInItsColour) {
    add(osg::DirectionalLight::create(), 1.0f, 0.5f, 0.25f)->setDirection(0, 3, 4);
    const osg::Vec4f result = at(origin);
    EXPECT_NEAR(result[0], 0.8f, 1e-5f);
    EXPECT_NEAR(result[1], 0.4f, 1e-5f);
    EXPECT_NEAR(result[2], 0.2f, 1e-5f);
    EXPECT_EQ(result[3], 1.0f);
}

TEST_F(DirectLight, GivenLightFromBehind_IsIgnored) {
    add(osg::DirectionalLight::create(), 1, 1, 1)->setDirection(0, 0, -1);
    EXPECT_EQ(at(origin), osg::Vec4f(0, 0, 0, 1));
}

TEST_F(DirectLight, GivenPointLight_FallsOffByTheSquareOfMetres) {
    addPoint(0, 0, 1000);
    EXPECT_NEAR(at(origin)[0], 1.0f, 1e-4f);
    EXPECT_NEAR(at(osg::Pnt3f(0, 0, -1000))[0], 0.25f, 1e-4f);
    EXPECT_NEAR(at(osg::Pnt3f(0, 0, 500))[0], 4.0f, 1e-3f);
    EXPECT_TRUE(std::isfinite(at(osg::Pnt3f(0, 0, 1000))[0]));
}

TEST_F(DirectLight, GivenSpotLight_ShinesInItsCone) {
    addSpot(30, 0);
    const float edge = 577.35f; // 1000 mm times the tangent of 30 degrees
    EXPECT_GT(at(osg::Pnt3f(edge - 1, 0, 0))[0], 0.1f);
    EXPECT_EQ(at(osg::Pnt3f(edge + 1, 0, 0))[0], 0.0f);
}

TEST_F(DirectLight, GivenSpotExponent_FadesFromTheAxis) {
    addSpot(80, 3);
    const double cosine = std::cos(std::atan(0.5)), square = 1.25; // 500 mm beside the axis
    EXPECT_NEAR(at(osg::Pnt3f(500, 0, 0))[0], std::pow(cosine, 3) * cosine / square, 1e-4);
}

TEST_F(DirectLight, GivenSpotWiderThanHalfSpace_ShinesEverywhere) {
    addSpot(180, 0)->setSpotDirection(0, 0, 1);
    EXPECT_NEAR(at(origin)[0], 1.0f, 1e-4f);
}

TEST_F(DirectLight, GivenOccluderBetween_BlocksTheLight) {
    addPoint(0, 0, 1000);
    addRoof(500);
    const osg::Vec4f result = at(origin);
    EXPECT_EQ(result[0], 0.0f);
    EXPECT_LE(result[3], 0.01f);
}

TEST_F(DirectLight, GivenOccluderBehindTheLight_BlocksNothing) {
    addPoint(0, 0, 1000);
    addRoof(1500);
    tracing.utils->configureTracing(64, 64, 0, 1200); // rays to the sky end before the roof
    const osg::Vec4f result = at(origin);
    EXPECT_NEAR(result[0], 1.0f, 1e-4f);
    EXPECT_NEAR(result[3], 1.0f, 0.3f);
}

TEST_F(DirectLight, GivenOccluderBeyondMaximumDistance_StillShadowsTheLight) {
    add(osg::DirectionalLight::create(), 1, 1, 1)->setDirection(0, 0, 1);
    addRoof(5000);
    tracing.utils->configureTracing(64, 64, 0, 100); // rays to the sky end before the roof; shadow rays do not
    const osg::Vec4f result = at(origin);
    EXPECT_EQ(result[0], 0.0f);
    EXPECT_NEAR(result[3], 0.5f, 1e-5f); // the sky gives 1 of 1 + 1
}

TEST_F(DirectLight, GivenHiddenSky_WeighsLightAndSkyByLuminance) {
    add(osg::DirectionalLight::create(), 0, 3, 0)->setDirection(0, 0, 1);
    ktTestMesh disc; // hides a known share of the sky; the light shines through its hole
    const double inner = 10, outer = 300, height = 200;
    for (int i = 0; i < 256; ++i) {
        const double a = 2 * M_PI * i / 256, b = 2 * M_PI * (i + 1) / 256;
        const auto p = disc.addVertex(inner * std::cos(a), inner * std::sin(a), height);
        const auto q = disc.addVertex(inner * std::cos(b), inner * std::sin(b), height);
        const auto r = disc.addVertex(outer * std::cos(b), outer * std::sin(b), height);
        const auto s = disc.addVertex(outer * std::cos(a), outer * std::sin(a), height);
        disc.addTriangle(p, q, r);
        disc.addTriangle(p, r, s);
    }
    scene.addMesh(disc);
    const osg::Vec4f result = at(origin);
    EXPECT_NEAR(result[1], 3.0f, 1e-5f);
    const double hole = inner * inner / (inner * inner + height * height);
    const double sky = height * height / (height * height + outer * outer) + hole, luminance = 3 * 0.71516;
    EXPECT_NEAR(result[3], (sky + luminance) / (1 + luminance), 0.005);
}

TEST_F(DirectLight, GivenNoLight_EqualsLightModeOff) {
    ktTestMesh disc;
    disc.addDisc(300, 200, 64);
    scene.addMesh(disc);
    tracing.build(scene, {});
    EXPECT_EQ(tracing.traceOne(origin, up, true), tracing.traceOne(origin, up, false));
}

TEST_F(DirectLight, GivenLightModeOff_IgnoresLights) {
    addPoint(0, 0, 1000);
    tracing.build(scene, lights);
    EXPECT_EQ(tracing.traceOne(origin, up, false), osg::Vec4f(0, 0, 0, 1));
}

TEST_F(DirectLight, GivenTwoLights_AddsThem) {
    add(osg::DirectionalLight::create(), 1, 0, 0)->setDirection(0, 0, 1);
    add(osg::DirectionalLight::create(), 0, 2, 0)->setDirection(0, 0, 2);
    const osg::Vec4f result = at(origin);
    EXPECT_NEAR(result[0], 1.0f, 1e-5f);
    EXPECT_NEAR(result[1], 2.0f, 1e-5f);
}

TEST_F(DirectLight, GivenBeacon_IsInTheBeaconsSpace) {
    osg::Matrix above, aside;
    above.setTranslate(0, 0, 1000);
    aside.setTranslate(0, 50000, 0);
    const osg::NodePtr beacon = scene.addCore(osg::Group::create(), above);
    const osg::PointLightPtr light = add(osg::PointLight::create(), 1, 1, 1, aside);
    EXPECT_LT(at(origin)[0], 0.01f); // without a beacon the light is in the space of its node
    light->setBeacon(beacon);
    EXPECT_NEAR(at(origin)[0], 1.0f, 1e-4f);
}

TEST_F(DirectLight, GivenLightsThatDoNotShine_LeavesThemOut) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    addPoint(0, 0, 1000)->setOn(false);
    addPoint(nan, 0, 1000);
    addPoint(0, 0, 1000)->setDiffuse(0, 0, 0, 1);
    addPoint(0, 0, 1000)->setDiffuse(nan, 1, 1, 1);
    addPoint(0, 0, 1000)->setDiffuse(-1, -1, -1, 1);
    add(osg::DirectionalLight::create(), 1, 1, 1)->setDirection(0, 0, 0);
    lights.push_back(osg::NullFC);
    lights.push_back(scene.addCore(osg::Group::create()));
    EXPECT_EQ(at(origin), osg::Vec4f(0, 0, 0, 1));
}

TEST_F(DirectLight, GivenHugeLight_StaysFinite) {
    addPoint(0, 0, 10)->setDiffuse(FLT_MAX, FLT_MAX, FLT_MAX, 1);
    addRoof(5);
    const osg::Vec4f result = at(origin);
    EXPECT_EQ(result[3], ktDarkestResult);
    EXPECT_EQ(result[0], 0.0f);
}
