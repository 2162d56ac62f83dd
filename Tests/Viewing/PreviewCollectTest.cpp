// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests which triangles, lights and colours the preview takes from a scene.
#include "ktPreviewCollect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGMaterialGroup.h>
#include <OpenSG/OSGSimpleMaterial.h>
#include <OpenSG/OSGTransform.h>
#include <OSGUberMaterial.h>
#include <OSGUEnvironmentMaterial.h>
#include <OSGUShadowMaterial.h>

using testing::Each;
using testing::ElementsAre;

namespace {

/// A square of two triangles in the plane z = 0, without results.
osg::GeometryPtr makeSquare() {
    osg::GeoPTypesUI8Ptr types = osg::GeoPTypesUI8::create();
    osg::GeoPLengthsUI32Ptr lengths = osg::GeoPLengthsUI32::create();
    osg::GeoPositions3fPtr positions = osg::GeoPositions3f::create();
    osg::GeoIndicesUI32Ptr indices = osg::GeoIndicesUI32::create();
    types->getFieldPtr()->push_back(GL_TRIANGLES);
    lengths->getFieldPtr()->push_back(6);
    for (const osg::Pnt3f& position :
         {osg::Pnt3f(0, 0, 0), osg::Pnt3f(1, 0, 0), osg::Pnt3f(1, 1, 0), osg::Pnt3f(0, 1, 0)})
        positions->getFieldPtr()->push_back(position);
    for (const osg::UInt32 index : {0u, 1u, 2u, 0u, 2u, 3u})
        indices->getFieldPtr()->push_back(index);
    osg::GeometryPtr geometry = osg::Geometry::create();
    geometry->setTypes(types);
    geometry->setLengths(lengths);
    geometry->setPositions(positions);
    geometry->setIndices(indices);
    return geometry;
}

osg::GeoTexCoords4fPtr makeResults(const osg::Vec4f& value, osg::UInt32 count = 4) {
    osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4f::create();
    for (osg::UInt32 i = 0; i < count; ++i)
        results->getFieldPtr()->push_back(value);
    return results;
}

class PreviewCollect : public testing::Test {
protected:
    PreviewCollect() {
        osg::addRefCP(root);
        root->setCore(osg::Group::create());
    }
    ~PreviewCollect() override { osg::subRefCP(root); }

    osg::NodePtr add(const osg::NodeCorePtr& core, const osg::NodePtr& parent) {
        osg::NodePtr node = osg::Node::create();
        node->setCore(core);
        parent->addChild(node);
        return node;
    }

    osg::NodePtr root = osg::Node::create();
};

} // namespace

TEST_F(PreviewCollect, GivenNothing_IsEmpty) {
    EXPECT_TRUE(ktCollectPreview(osg::NullFC).meshes.empty());
    EXPECT_TRUE(ktCollectPreview(root).meshes.empty());
}

TEST_F(PreviewCollect, GivenSquareBelowTransform_StandsInWorldSpace) {
    osg::TransformPtr transform = osg::Transform::create();
    osg::Matrix matrix;
    matrix.setTranslate(10, 0, 0);
    transform->setMatrix(matrix);
    add(makeSquare(), add(transform, root));
    const ktPreviewScene scene = ktCollectPreview(root);
    ASSERT_EQ(scene.meshes.size(), 1u);
    EXPECT_THAT(scene.meshes[0].positions[2], ElementsAre(11, 1, 0));
    EXPECT_THAT(scene.meshes[0].indices, ElementsAre(0, 1, 2, 0, 2, 3));
    EXPECT_THAT(scene.meshes[0].light, Each(ElementsAre(1, 1, 1))) << "no result: full light";
}

TEST_F(PreviewCollect, GivenMirroredTransform_KeepsTheFrontInFront) {
    osg::TransformPtr transform = osg::Transform::create();
    osg::Matrix matrix;
    matrix.setScale(-1, 1, 1);
    transform->setMatrix(matrix);
    add(makeSquare(), add(transform, root));
    EXPECT_THAT(ktCollectPreview(root).meshes.at(0).indices, ElementsAre(0, 2, 1, 0, 3, 2));
}

TEST_F(PreviewCollect, GivenVertexThatIsNotFinite_DropsItsTriangles) {
    osg::GeometryPtr square = makeSquare();
    osg::GeoPositions3fPtr::dcast(square->getPositions())->getFieldPtr()->operator[](3)[1] =
        std::numeric_limits<float>::quiet_NaN();
    add(square, root);
    EXPECT_THAT(ktCollectPreview(root).meshes.at(0).indices, ElementsAre(0, 1, 2));
}

TEST_F(PreviewCollect, GivenShadows_TakesThemAsGreyLight) {
    osg::GeometryPtr square = makeSquare();
    square->setTexCoords7(makeResults(osg::Vec4f(0, 0, 0, 0.25f)));
    add(square, root);
    EXPECT_THAT(ktCollectPreview(root).meshes.at(0).light, Each(Each(0.25f)));
}

TEST_F(PreviewCollect, GivenBakedLight_TakesItsColor) {
    osg::GeometryPtr square = makeSquare();
    square->setTexCoords7(makeResults(osg::Vec4f(0, 0, 0, 0.25f)));
    square->setTexCoords5(makeResults(osg::Vec4f(0.5f, 1, 2, 2.25f)));
    add(square, root);
    EXPECT_THAT(ktCollectPreview(root).meshes.at(0).light, Each(ElementsAre(0.5f, 1, 2)));
}

TEST_F(PreviewCollect, GivenResultsThatAreAllZeroOrTooFew_CountsThemAsNone) {
    osg::GeometryPtr zero = makeSquare(), few = makeSquare();
    zero->setTexCoords7(makeResults(osg::Vec4f(0, 0, 0, 0)));
    few->setTexCoords7(makeResults(osg::Vec4f(0, 0, 0, 0.5f), 3));
    add(zero, root);
    add(few, root);
    for (const ktPreviewMesh& mesh : ktCollectPreview(root).meshes)
        EXPECT_THAT(mesh.light, Each(Each(1.0f)));
}

TEST_F(PreviewCollect, GivenMaterialGroup_TakesItBeforeTheOwnMaterial) {
    osg::UberMaterialPtr outer = osg::UberMaterial::create(), own = osg::UberMaterial::create();
    outer->setColor(osg::Color3f(1, 0, 0));
    outer->setDoubleSided(true);
    own->setColor(osg::Color3f(0, 1, 0));
    osg::MaterialGroupPtr group = osg::MaterialGroup::create();
    group->setMaterial(outer);
    osg::GeometryPtr inside = makeSquare(), outside = makeSquare();
    inside->setMaterial(own);
    outside->setMaterial(own);
    add(inside, add(group, root));
    add(outside, root);
    const ktPreviewScene scene = ktCollectPreview(root);
    EXPECT_THAT(scene.meshes.at(0).colors, Each(ElementsAre(1, 0, 0, 1)));
    EXPECT_THAT(scene.meshes.at(1).colors, Each(ElementsAre(0, 1, 0, 1)));
    EXPECT_TRUE(scene.materials.at(scene.meshes[0].material).isDoubleSided);
    EXPECT_FALSE(scene.materials.at(scene.meshes[1].material).isDoubleSided);
}

TEST_F(PreviewCollect, GivenVertexColors_MultipliesThem) {
    osg::GeometryPtr square = makeSquare();
    osg::GeoColors4fPtr colors = osg::GeoColors4f::create();
    for (int i = 0; i < 4; ++i)
        colors->getFieldPtr()->push_back(osg::Color4f(0.5f, 1, 1, 0.5f));
    square->setColors(colors);
    osg::UberMaterialPtr material = osg::UberMaterial::create();
    material->setColor(osg::Color3f(1, 0.5f, 0));
    material->setAlphaMode(osg::UberMaterial::Blend);
    square->setMaterial(material);
    add(square, root);
    const ktPreviewScene scene = ktCollectPreview(root);
    EXPECT_THAT(scene.meshes.at(0).colors, Each(ElementsAre(0.5f, 0.5f, 0, 0.5f)));
    EXPECT_EQ(scene.materials.at(scene.meshes[0].material).alpha, ktPreviewMaterial::Alpha::Blend);
}

TEST_F(PreviewCollect, GivenGroundPlaneAndEnvironment_DrawsTheShadowAloneAndNoEnvironment) {
    osg::GeometryPtr ground = makeSquare(), sky = makeSquare();
    ground->setTexCoords7(makeResults(osg::Vec4f(0, 0, 0, 0.25f)));
    ground->setMaterial(osg::UShadowMaterial::create());
    sky->setMaterial(osg::UEnvironmentMaterial::create());
    add(ground, root);
    add(sky, root);
    const ktPreviewScene scene = ktCollectPreview(root);
    ASSERT_EQ(scene.meshes.size(), 1u);
    EXPECT_FALSE(scene.meshes[0].isFramed);
    EXPECT_THAT(scene.meshes[0].colors, Each(ElementsAre(0, 0, 0, 0.75f)));
}

TEST_F(PreviewCollect, GivenNormals_TurnsThemAsTheSurfaceTurns) {
    osg::GeometryPtr square = makeSquare(), without = makeSquare();
    osg::GeoNormals3fPtr normals = osg::GeoNormals3f::create();
    for (int i = 0; i < 4; ++i)
        normals->getFieldPtr()->push_back(osg::Vec3f(1, 0, 1));
    square->setNormals(normals);
    osg::TransformPtr transform = osg::Transform::create();
    osg::Matrix matrix;
    matrix.setScale(2, 1, 1); // a slope of 1 becomes a slope of 1/2
    transform->setMatrix(matrix);
    add(square, add(transform, root));
    add(without, root);
    const ktPreviewScene scene = ktCollectPreview(root);
    ASSERT_EQ(scene.meshes.at(0).normals.size(), 4u);
    const auto& normal = scene.meshes[0].normals[0];
    EXPECT_NEAR(normal[0] / normal[2], 0.5f, 1e-6f);
    EXPECT_EQ(normal[1], 0);
    EXPECT_TRUE(scene.meshes.at(1).normals.empty());
}
