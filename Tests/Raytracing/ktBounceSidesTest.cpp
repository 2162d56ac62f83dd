// SPDX-License-Identifier: LGPL-2.1-or-later
// The side of a surface that reflects light: the one to which its normals point.
#include "ktTriangleScene.h"

#include <gtest/gtest.h>

namespace {

constexpr float noLight = 2e-6f; // smallest result

/// A large white ceiling above the origin, whose vertices received full light. A vertex at the origin looks up.
class BounceSides : public testing::Test {
protected:
    /// @param winding 1: front by the winding towards the floor, -1: away from it
    /// @param normal  z of the normals; 0: no normals
    void addCeiling(int winding, float normal, const osg::Matrix& toWorld = osg::Matrix()) {
        ktTestMesh mesh;
        mesh.addQuad({-1e4, -1e4, 0}, {0, 2e4, 0}, {2e4, 0, 0});
        if (winding < 0)
            for (std::size_t i = 0; i < mesh.indices.size(); i += 3)
                std::swap(mesh.indices[i], mesh.indices[i + 1]);
        const osg::NodePtr node = scene.addMesh(mesh, toWorld);
        const osg::GeometryPtr geometry = osg::GeometryPtr::dcast(node->getCore());
        const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4f::create();
        const osg::GeoNormals3fPtr normals = osg::GeoNormals3f::create();
        for (int i = 0; i < 4; ++i) {
            results->getField().push_back(osg::Vec4f(0, 0, 0, 1));
            normals->push_back(osg::Vec3f(0, 0, normal));
        }
        geometry->setTexCoords7(results);
        if (normal != 0)
            geometry->setNormals(normals);
    }
    static osg::Matrix raised(float factorX = 1) {
        osg::Matrix matrix;
        matrix.setScale(factorX, 1, 1);
        matrix[3][2] = 100;
        return matrix;
    }
    float gather() {
        ktTestTracing tracing(16);
        tracing.utils->setMaterialOverride(false, true, osg::Color3f(1, 1, 1).getValuesRGB());
        tracing.build(scene);
        const osg::Pnt3f origin(0, 0, 0);
        const osg::Vec3f up(0, 0, 1);
        const osg::Color3f white(1, 1, 1);
        osg::Vec4f result(9, 9, 9, 0.5f);
        tracing.utils->gatherVertexIllumination(1, nullptr, &origin, &up, &result, &white, false, tracing.sampler, 1,
                                                false);
        return result[0];
    }

    ktTestLog log;
    ktTriangleScene scene;
};

} // namespace

TEST_F(BounceSides, GivenFront_Reflects) {
    addCeiling(1, -1, raised());
    EXPECT_NEAR(gather(), 1.0f, 0.01f);
}

TEST_F(BounceSides, GivenBack_ReflectsNothing) {
    addCeiling(-1, 1, raised());
    EXPECT_EQ(gather(), noLight);
}

TEST_F(BounceSides, GivenNormalsAgainstTheWinding_TheSideOfTheNormalsReflects) {
    addCeiling(-1, -1, raised());
    EXPECT_NEAR(gather(), 1.0f, 0.01f);
}

TEST_F(BounceSides, GivenNormalsAwayAndWindingTowards_ReflectsNothing) {
    addCeiling(1, 1, raised());
    EXPECT_EQ(gather(), noLight);
}

TEST_F(BounceSides, GivenMirroredInstance_KeepsTheSideOfTheNormals) {
    addCeiling(1, -1, raised(-1));
    EXPECT_NEAR(gather(), 1.0f, 0.01f);
}

TEST_F(BounceSides, GivenMirroredInstanceWithNormalsAgainstTheWinding_KeepsTheSideOfTheNormals) {
    addCeiling(-1, -1, raised(-1));
    EXPECT_NEAR(gather(), 1.0f, 0.01f);
}

TEST_F(BounceSides, GivenMirroredBack_ReflectsNothing) {
    addCeiling(-1, 1, raised(-1));
    EXPECT_EQ(gather(), noLight);
}

TEST_F(BounceSides, GivenNoNormals_BothSidesReflect) {
    addCeiling(-1, 0, raised());
    EXPECT_NEAR(gather(), 1.0f, 0.01f);
}
