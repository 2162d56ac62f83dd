// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests what only our containers allow: null pointers, children outside, a second type of a name.
#include "TestGeometry.h"

#include <gtest/gtest.h>
#include <OpenSG/OSGAction.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGTransform.h>

using namespace osg;

TEST(OwnNull, GivenNullPointer_CountingAndEditingDoNothing) {
    FieldContainerPtr null;
    addRefCP(null);
    subRefCP(null);
    clearRefCP(null);
    beginEditCP(null);
    endEditCP(null);
    EXPECT_EQ(0, null.getRefCount());
    EXPECT_EQ(0u, null.getFieldContainerId());
}

TEST(OwnNull, GivenNullGeometry_ItsFunctionsDoNothing) {
    separateProperties(NullFC);
    calcVertexNormals(NullFC);
    calcVertexNormals(NullFC, 1.0f);
    calcFaceNormals(NullFC);
    EXPECT_TRUE(PrimitiveIterator(GeometryPtr()).isAtEnd());
}

TEST(OwnNull, GivenNoPositions_CalcVertexNormalsDoesNothing) {
    const GeometryRefPtr empty(Geometry::create());
    calcVertexNormals(empty);
    EXPECT_TRUE(empty->getNormals() == NullFC);
}

TEST(OwnNull, GivenNullRoot_IsHandedToEnterAndEnds) {
    int calls = 0;
    EXPECT_EQ(Action::Continue, traverse(NodePtr(), [&](NodePtr& node) {
                  EXPECT_TRUE(node == NullFC);
                  ++calls;
                  return Action::Continue;
              }));
    EXPECT_EQ(1, calls);
}

TEST(OwnNode, GivenChildIndexOutside_TakesTheEndOrNothing) {
    const NodeRefPtr parent(makeNodeFor(Group::create()));
    const NodePtr a = makeNodeFor(Group::create()), b = makeNodeFor(Group::create());
    parent->addChild(a);
    parent->insertChild(100, b);
    ASSERT_EQ(2u, parent->getNChildren());
    EXPECT_EQ(1, parent->findChild(b));
    parent->subChild(7u);
    EXPECT_EQ(2u, parent->getNChildren());
}

TEST(OwnFieldContainerType, GivenSecondTypeOfAName_WarnsAndKeepsTheFirst) {
    testing::internal::CaptureStderr();
    {
        FieldContainerType again("Transform", "Group");
        EXPECT_TRUE(FieldContainerFactory::the()->findType("Transform") == &Transform::getClassType());
    }
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("Transform"));
    EXPECT_TRUE(FieldContainerFactory::the()->findType("Transform") == &Transform::getClassType());
}
