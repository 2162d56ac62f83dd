// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the bounding box of a scene in world space, with hidden nodes and invalid vertices.
#include "ktWorldBounds.h"

#include "ktSceneFixture.h"

#include <limits>
#include <OpenSG/OSGTransform.h>

namespace {

class WorldBounds : public ktSceneFixture {};

} // namespace

TEST_F(WorldBounds, GivenNoVertices_IsEmptyWithDiagonalZero) {
    EXPECT_TRUE(ktMeasureWorldBounds(osg::NullFC).isEmpty);
    EXPECT_TRUE(ktMeasureWorldBounds(root).isEmpty);
    addNode(root, "none", makeGeometry({}));
    addNode(root, "unset", osg::Geometry::create());
    EXPECT_TRUE(ktMeasureWorldBounds(root).isEmpty);
    EXPECT_EQ(ktMeasureWorldBounds(root).diagonal(), 0.0);
}

TEST_F(WorldBounds, GivenScaledAndMovedGeometry_IsInWorldUnits) {
    const osg::TransformPtr transform = osg::Transform::create();
    transform->getMatrix().setTransform(osg::Vec3f(100, 0, 0), osg::Quaternion(), osg::Vec3f(1000, 1000, 1000));
    const osg::NodePtr scaled = addNode(root, "scaled", transform);
    const osg::NodePtr body =
        addNode(scaled, "body", makeGeometry({osg::Pnt3f(-1, 0, 0), osg::Pnt3f(2, 4, 0), osg::Pnt3f(0, 2, 12)}));
    for (const osg::NodePtr& start : {root, body}) {
        const ktWorldBounds bounds = ktMeasureWorldBounds(start);
        EXPECT_EQ(bounds.min, osg::Pnt3f(-900, 0, 0));
        EXPECT_EQ(bounds.max, osg::Pnt3f(2100, 4000, 12000));
        EXPECT_DOUBLE_EQ(bounds.diagonal(), 13000.0); // sides 3, 4, 12 have the diagonal 13
    }
}

TEST_F(WorldBounds, GivenVerticesThatAreNoNumbers_LeavesThemOut) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    addNode(root, "body", makeGeometry({osg::Pnt3f(nan, 0, 0), osg::Pnt3f(1, 2, 3), osg::Pnt3f(0, -infinity, 0)}));
    const ktWorldBounds bounds = ktMeasureWorldBounds(root);
    EXPECT_EQ(bounds.min, osg::Pnt3f(1, 2, 3));
    EXPECT_EQ(bounds.max, osg::Pnt3f(1, 2, 3));
}

TEST_F(WorldBounds, GivenHugeExtent_DiagonalIsFinite) {
    addNode(root, "body", makeGeometry({osg::Pnt3f(-3e38f, 0, 0), osg::Pnt3f(3e38f, 0, 0)}));
    EXPECT_NEAR(ktMeasureWorldBounds(root).diagonal(), 6e38, 1e32);
}

TEST_F(WorldBounds, GivenHiddenNode_CountsItUnlessOnlyTheVisibleIsAskedFor) {
    addNode(root, "shown", makeGeometry({osg::Pnt3f(0, 0, 0)}));
    addNode(root, "hidden", makeGeometry({osg::Pnt3f(9, 0, 0)}))->setTravMask(0);
    EXPECT_EQ(ktMeasureWorldBounds(root).diagonal(), 9.0);
    EXPECT_EQ(ktMeasureWorldBounds(root, ktInstances::Visible).diagonal(), 0.0);
}
