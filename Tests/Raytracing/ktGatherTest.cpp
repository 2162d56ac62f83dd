// SPDX-License-Identifier: LGPL-2.1-or-later
// Indirect light compared with closed forms.
#include "ktTriangleScene.h"
#include "OSGUberMaterial.h"
#include "OSGUShadowMaterial.h"

#include <cfloat>
#include <cmath>
#include <gtest/gtest.h>

namespace {

constexpr float floorValue = 2e-6f;

/// Scene geometry with normals and result channels, calculated the way the plug-in does it.
struct Bake {
    osg::GeometryPtr geometry;

    Bake(const osg::NodePtr& node, const std::function<osg::Vec3f(const osg::Pnt3f&)>& normalAt)
        : geometry(osg::GeometryPtr::dcast(node->getCore())) {
        const osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
        const osg::GeoNormals3fPtr normals = osg::GeoNormals3f::create();
        const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4f::create();
        for (osg::UInt32 i = 0; i < positions->getSize(); ++i) {
            normals->push_back(normalAt(positions->getField()[i]));
            results->push_back(osg::Vec4f(0, 0, 0, 0));
        }
        geometry->setNormals(normals);
        geometry->setTexCoords7(results);
    }

    osg::UInt32 count() const { return geometry->getPositions()->getSize(); }
    osg::Pnt3f* positions() const { return &osg::GeoPositions3fPtr::dcast(geometry->getPositions())->getField()[0]; }
    osg::Vec3f* normals() const { return &osg::GeoNormals3fPtr::dcast(geometry->getNormals())->getField()[0]; }
    osg::Vec4f* results() const { return &osg::GeoTexCoords4fPtr::dcast(geometry->getTexCoords7())->getField()[0]; }

    void direct(ktTestTracing& tracing) const {
        tracing.utils->computeVertexOcclusion(count(), nullptr, positions(), normals(), results(), false,
                                              tracing.sampler, true, false);
        for (osg::UInt32 i = 0; i < count(); ++i)
            results()[i].setValues(0, 0, 0, results()[i][3]);
    }
    void gather(ktTestTracing& tracing, const osg::Color3f& surfaceColor = osg::Color3f(1, 1, 1)) const {
        tracing.utils->gatherVertexIllumination(count(), nullptr, positions(), normals(), results(), &surfaceColor,
                                                false, tracing.sampler, 1, false);
    }
    /// Stores the same direct light at every vertex, as if it had been traced.
    void setDirect(float share) const {
        for (osg::UInt32 i = 0; i < count(); ++i)
            results()[i].setValues(0, 0, 0, share);
    }
};

osg::Vec3f inwards(const osg::Pnt3f& p) {
    osg::Vec3f normal(-p[0], -p[1], -p[2]);
    normal.normalize();
    return normal;
}

osg::Vec3f upwards(const osg::Pnt3f&) {
    return osg::Vec3f(0, 0, 1);
}

ktTestMesh sphere() {
    ktTestMesh mesh;
    mesh.addSphere(1000, 24, 48);
    return mesh;
}

ktTestMesh floorQuad(double size = 1000) {
    ktTestMesh mesh;
    mesh.addQuad({-size / 2, -size / 2, 0}, {size, 0, 0}, {0, size, 0});
    return mesh;
}

void setColor(const osg::GeometryPtr& geometry, const osg::Color3f& color) {
    const osg::UberMaterialPtr material = osg::UberMaterial::create();
    material->setColor(color);
    geometry->setMaterial(material);
}

/// A white floor beside a red wall in full direct light. Returns what the floor gathers beside the wall.
osg::Vec4f floorBesideRedWall(bool colorBleeding) {
    ktTriangleScene scene;
    ktTestMesh wallMesh;
    wallMesh.addQuad({0, -1000, 0}, {0, 2000, 0}, {0, 0, 2000});
    const Bake wall(scene.addMesh(wallMesh), [](const osg::Pnt3f&) { return osg::Vec3f(1, 0, 0); });
    setColor(wall.geometry, osg::Color3f(1, 0, 0));
    ktTestTracing tracing(32);
    tracing.utils->setMaterialOverride(colorBleeding, false, osg::Color3f(0, 1, 0).getValuesRGB());
    tracing.build(scene);
    wall.direct(tracing);
    tracing.utils->finishPass();
    const osg::Pnt3f position(10, 0, 0);
    const osg::Vec3f normal(0, 0, 1);
    const osg::Color3f white(1, 1, 1);
    osg::Vec4f result(9, 9, 9, 0.5f);
    tracing.utils->gatherVertexIllumination(1, nullptr, &position, &normal, &result, &white, false, tracing.sampler, 1,
                                            false);
    return result;
}

} // namespace

TEST(Gathering, GivenASphereOfOneAlbedo_SumsTheSeriesBounceByBounce) {
    ktTestLog log;
    const float albedo = 0.6f, light = 0.8f;
    ktTriangleScene scene;
    const Bake inside(scene.addMesh(sphere()), inwards);
    ktTestTracing tracing(48);
    tracing.utils->setMaterialOverride(false, true, osg::Color3f(albedo, albedo, albedo).getValuesRGB());
    tracing.build(scene);
    inside.setDirect(light);
    float expected = 0.0f;
    for (int bounce = 1; bounce <= 5; ++bounce) {
        inside.gather(tracing);
        tracing.utils->finishPass();
        expected = albedo * (light + expected);
        for (osg::UInt32 i = 0; i < inside.count(); i += 97)
            for (osg::UInt32 c = 0; c < 3; ++c)
                EXPECT_NEAR(inside.results()[i][c], expected, 0.01f * expected) << "bounce " << bounce;
        EXPECT_EQ(inside.results()[0][3], light) << "w is kept";
    }
    EXPECT_TRUE(log.lines.empty());
}

TEST(Gathering, GivenASurfaceColor_TintsTheResultButNotWhatTheNextBounceReads) {
    ktTestLog log;
    ktTriangleScene scene;
    const Bake inside(scene.addMesh(sphere()), inwards);
    ktTestTracing tracing(32);
    tracing.utils->setMaterialOverride(true, true, osg::Color3f(0.5f, 0.5f, 0.5f).getValuesRGB());
    tracing.build(scene);
    inside.setDirect(1.0f);
    const osg::Color3f tint(1.0f, 0.25f, 0.0f);
    for (int bounce = 0; bounce < 2; ++bounce) {
        inside.gather(tracing, tint);
        tracing.utils->finishPass();
    }
    const osg::Vec4f result = inside.results()[100];
    EXPECT_NEAR(result[0], 0.75f, 0.01f);
    EXPECT_NEAR(result[1], 0.1875f, 0.003f);
    EXPECT_EQ(result[2], floorValue) << "dark, but calculated";
}

TEST(Gathering, GivenAnOpenPlane_GathersNothing) {
    ktTestLog log;
    ktTriangleScene scene;
    const Bake plane(scene.addMesh(floorQuad()), upwards);
    ktTestTracing tracing;
    tracing.utils->setMaterialOverride(false, false, osg::Color3f(1, 1, 1).getValuesRGB());
    tracing.build(scene);
    plane.direct(tracing);
    plane.gather(tracing);
    for (osg::UInt32 i = 0; i < plane.count(); ++i) {
        for (const osg::UInt32 c : {0u, 1u, 2u})
            EXPECT_EQ(plane.results()[i][c], floorValue);
        EXPECT_EQ(plane.results()[i][3], 1.0f);
    }
}

TEST(Gathering, GivenTheOverrideColor_TakesItsLuminanceWithoutColorBleeding) {
    ktTestLog log;
    for (bool bleeding : {false, true}) {
        ktTriangleScene scene;
        const Bake inside(scene.addMesh(sphere()), inwards);
        ktTestTracing tracing;
        tracing.utils->setMaterialOverride(bleeding, true, osg::Color3f(0.9f, 0.3f, 0.1f).getValuesRGB());
        tracing.build(scene);
        inside.setDirect(1.0f);
        inside.gather(tracing);
        const float grey = 0.212671f * 0.9f + 0.71516f * 0.3f + 0.072169f * 0.1f;
        const osg::Vec4f result = inside.results()[100];
        EXPECT_NEAR(result[0], bleeding ? 0.9f : grey, 0.01f);
        EXPECT_NEAR(result[1], bleeding ? 0.3f : grey, 0.01f);
        EXPECT_NEAR(result[2], bleeding ? 0.1f : grey, 0.01f);
    }
}

TEST(Gathering, GivenARedWall_TintsTheFloorOnlyWithColorBleeding) {
    ktTestLog log;
    const osg::Vec4f tinted = floorBesideRedWall(true);
    EXPECT_GT(tinted[0], 0.3f);
    EXPECT_EQ(tinted[1], floorValue);
    EXPECT_EQ(tinted[2], floorValue);
    const osg::Vec4f grey = floorBesideRedWall(false);
    EXPECT_NEAR(grey[0], 0.212671f * tinted[0], 1e-4f);
    EXPECT_EQ(grey[0], grey[1]);
    EXPECT_EQ(grey[0], grey[2]);
    EXPECT_EQ(grey[3], 0.5f);
}

TEST(Gathering, GivenGeometryWithoutAResult_TracesItsDirectLightAndStoresNothing) {
    ktTestLog log;
    ktTriangleScene scene;
    // A ceiling without any channel over a floor that is calculated.
    const Bake floor(scene.addMesh(floorQuad(1000)), upwards);
    ktTestMesh ceilingMesh;
    ceilingMesh.addQuad({-500, -500, 400}, {0, 1000, 0}, {1000, 0, 0});
    const Bake ceiling(scene.addMesh(ceilingMesh), [](const osg::Pnt3f&) { return osg::Vec3f(0, 0, -1); });
    ceiling.geometry->setTexCoords7(osg::NullFC);
    ktTestTracing tracing(32);
    tracing.utils->setMaterialOverride(false, true, osg::Color3f(1, 1, 1).getValuesRGB());
    tracing.build(scene);
    floor.direct(tracing);
    tracing.utils->finishPass();
    floor.gather(tracing);

    // With the ceiling calculated first, the floor receives the same light.
    const float lazily = floor.results()[0][0];
    EXPECT_EQ(ceiling.geometry->getTexCoords7(), osg::NullFC);
    const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4f::create();
    results->getField().resize(ceiling.count());
    ceiling.geometry->setTexCoords7(results);
    ceiling.direct(tracing);
    tracing.utils->finishPass();
    floor.gather(tracing);
    EXPECT_GT(lazily, 0.01f);
    EXPECT_EQ(floor.results()[0][0], lazily);
}

TEST(Gathering, GivenGeometryInAnotherOrder_GivesTheSameBits) {
    ktTestLog log;
    std::vector<osg::Vec4f> first;
    for (bool reversed : {false, true}) {
        ktTriangleScene scene;
        const Bake floor(scene.addMesh(floorQuad()), upwards);
        ktTestMesh wallMesh;
        wallMesh.addQuad({0, -500, 0}, {0, 1000, 0}, {0, 0, 1000});
        const Bake wall(scene.addMesh(wallMesh), [](const osg::Pnt3f&) { return osg::Vec3f(1, 0, 0); });
        ktTestTracing tracing(16);
        tracing.utils->setMaterialOverride(false, true, osg::Color3f(0.7f, 0.7f, 0.7f).getValuesRGB());
        tracing.build(scene);
        const std::vector<const Bake*> order =
            reversed ? std::vector<const Bake*>{&wall, &floor} : std::vector<const Bake*>{&floor, &wall};
        for (const Bake* bake : order)
            bake->direct(tracing);
        tracing.utils->finishPass();
        for (int bounce = 0; bounce < 3; ++bounce) {
            for (const Bake* bake : order)
                bake->gather(tracing);
            tracing.utils->finishPass();
        }
        std::vector<osg::Vec4f> results(floor.results(), floor.results() + floor.count());
        results.insert(results.end(), wall.results(), wall.results() + wall.count());
        if (first.empty())
            first = results;
        else
            EXPECT_EQ(ktBitsOf(results), ktBitsOf(first));
    }
    EXPECT_GT(first[0][0] + first[1][0], 0.01f);
}

TEST(Gathering, GivenAShadowMaterial_SendsNoLightOn) {
    ktTestLog log;
    for (const bool overrideColor : {false, true}) {
        ktTriangleScene scene;
        const Bake inside(scene.addMesh(sphere()), inwards);
        inside.geometry->setMaterial(osg::UShadowMaterial::create());
        ktTestTracing tracing(16);
        tracing.utils->setMaterialOverride(true, overrideColor, osg::Color3f(1, 1, 1).getValuesRGB());
        tracing.build(scene);
        inside.setDirect(1.0f);
        inside.gather(tracing);
        EXPECT_EQ(inside.results()[5][0], floorValue);
    }
}

TEST(Gathering, GivenACancel_LeavesTheResultsAsTheyWere) {
    ktTestLog log;
    ktTriangleScene scene;
    const Bake inside(scene.addMesh(sphere()), inwards);
    ktTestTracing tracing(16);
    tracing.build(scene);
    inside.setDirect(1.0f);
    ktCancelToken::the().cancel();
    inside.gather(tracing);
    EXPECT_EQ(inside.results()[5], osg::Vec4f(0, 0, 0, 1));
}
