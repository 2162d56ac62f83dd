// SPDX-License-Identifier: LGPL-2.1-or-later
// A small scene from end to end: create, place, traverse, clone, destroy.
#include <OpenSG/OSGAction.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGSimpleMaterial.h>
#include <OpenSG/OSGTransform.h>
#include <OpenSG/OSGTriangleIterator.h>

#include <gtest/gtest.h>

namespace {

osg::GeometryPtr makeQuad() {
    const osg::GeoPositions3fPtr positions = osg::GeoPositions3f::create();
    positions->push_back(osg::Pnt3f(0, 0, 0));
    positions->push_back(osg::Pnt3f(1, 0, 0));
    positions->push_back(osg::Pnt3f(1, 1, 0));
    positions->push_back(osg::Pnt3f(0, 1, 0));
    const osg::GeoPTypesUI8Ptr types = osg::GeoPTypesUI8::create();
    types->push_back(GL_QUADS);
    const osg::GeometryPtr geometry = osg::Geometry::create();
    osg::beginEditCP(geometry);
    geometry->setPositions(positions);
    geometry->setTypes(types);
    osg::endEditCP(geometry);
    return geometry;
}

} // namespace

TEST(Scene, GivenASmallTree_IsBuiltTraversedClonedAndDestroyed) {
    const osg::UInt32 before = osg::FieldContainerFactory::the()->getNumContainers();
    {
        const osg::GeometryPtr quad = makeQuad();
        osg::calcVertexNormals(quad);
        quad->setMaterial(osg::SimpleMaterial::create());

        const osg::TransformPtr transform = osg::Transform::create();
        osg::beginEditCP(transform, osg::Transform::MatrixFieldMask);
        transform->getMatrix().setTranslate(10, 0, 0);
        osg::endEditCP(transform, osg::Transform::MatrixFieldMask);

        osg::NodeRefPtr root(osg::makeNodeFor(transform));
        const osg::NodePtr child = osg::makeNodeFor(quad);
        osg::setName(child, "quad");
        osg::beginEditCP(root.get(), osg::Node::ChildrenFieldMask);
        root->addChild(child);
        osg::endEditCP(root.get(), osg::Node::ChildrenFieldMask);

        EXPECT_EQ(osg::Pnt3f(11, 1, 0), child->getToWorld() * osg::Pnt3f(1, 1, 0));
        EXPECT_EQ(osg::Pnt3f(10, 0, 0), root->getVolume(true).getMin());
        EXPECT_STREQ("quad", osg::getName(child));

        const osg::NodeRefPtr clone(osg::cloneTree(root));
        EXPECT_TRUE(clone->getChild(0)->getCore() == quad);
        EXPECT_EQ(nullptr, osg::getName(clone->getChild(0)));
        EXPECT_EQ(2u, quad->getParents().size());

        osg::UInt32 triangles = 0;
        osg::traverse(root, [&triangles](osg::NodePtr& node) {
            const osg::GeometryPtr geometry = osg::GeometryPtr::dcast(node->getCore());
            if (geometry == osg::NullFC)
                return osg::Action::Continue;
            for (osg::TriangleIterator it = geometry->beginTriangles(); it != geometry->endTriangles(); ++it) {
                EXPECT_EQ(osg::Vec3f(0, 0, 1), it.getNormal(0));
                ++triangles;
            }
            return osg::Action::Continue;
        });
        EXPECT_EQ(2u, triangles);
    }
    // The prototypes created so far stay. A second run must leave nothing else behind.
    const osg::UInt32 after = osg::FieldContainerFactory::the()->getNumContainers();
    EXPECT_LT(after, before + 20);
}
