// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests bounding boxes, and how the volumes of nodes follow changes in the tree.
#include <gtest/gtest.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGTransform.h>

using namespace osg;

namespace {

GeometryPtr makePoints(const std::vector<Pnt3f>& points) {
    const GeoPositions3fPtr positions = GeoPositions3f::create();
    positions->getField().setValues(points);
    const GeoPTypesUI8Ptr types = GeoPTypesUI8::create();
    types->push_back(GL_POINTS);
    const GeometryPtr geometry = Geometry::create();
    geometry->setPositions(positions);
    geometry->setTypes(types);
    return geometry;
}

} // namespace

TEST(BoxVolume, GivenNewBox_IsValidAndEmpty) {
    const BoxVolume box;
    EXPECT_TRUE(box.isValid());
    EXPECT_TRUE(box.isEmpty());
    EXPECT_FALSE(box.intersect(Pnt3f(0, 0, 0)));
    EXPECT_FLOAT_EQ(0.0f, box.getScalarVolume());
}

TEST(BoxVolume, GivenPoints_GrowsAroundThem) {
    BoxVolume box;
    box.extendBy(Pnt3f(1, 2, 3));
    EXPECT_FALSE(box.isEmpty());
    EXPECT_EQ(Pnt3f(1, 2, 3), box.getMin());
    box.extendBy(Pnt3f(-1, 5, 3.5f));
    EXPECT_EQ(Pnt3f(-1, 2, 3), box.getMin());
    EXPECT_EQ(Pnt3f(1, 5, 3.5f), box.getMax());
    EXPECT_FLOAT_EQ(3.0f, box.getScalarVolume());
    Pnt3f center;
    box.getCenter(center);
    EXPECT_EQ(Pnt3f(0, 3.5f, 3.25f), center);
}

TEST(BoxVolume, GivenOtherBoxes_GrowsAroundThoseThatAreNotEmpty) {
    BoxVolume box(0, 0, 0, 1, 1, 1);
    box.extendBy(BoxVolume());
    EXPECT_EQ(Pnt3f(1, 1, 1), box.getMax());
    box.extendBy(BoxVolume(2, -1, 0, 3, 0, 0.5f));
    EXPECT_EQ(Pnt3f(0, -1, 0), box.getMin());
    EXPECT_EQ(Pnt3f(3, 1, 1), box.getMax());
    BoxVolume everything;
    everything.setInfinite();
    box.extendBy(everything);
    EXPECT_TRUE(box.isInfinite());
}

TEST(BoxVolume, GivenMatrix_BoundsItsOwnImage) {
    BoxVolume box(-1, -2, -3, 1, 2, 3);
    Matrix matrix;
    matrix.setTransform(Vec3f(10, 0, 0), Quaternion(Vec3f(0, 0, 1), Pi / 2), Vec3f(1, 1, -2));
    box.transform(matrix);
    EXPECT_TRUE(box.getMin().equals(Pnt3f(8, -1, -6), 1e-5f)) << box.getMin();
    EXPECT_TRUE(box.getMax().equals(Pnt3f(12, 1, 6), 1e-5f)) << box.getMax();
}

TEST(BoxVolume, GivenLine_TellsWhereItEntersAndLeaves) {
    const BoxVolume box(0, 0, 0, 2, 2, 2);
    Real32 enter = 0, exit = 0;
    EXPECT_TRUE(box.intersect(Line(Pnt3f(-3, 1, 1), Vec3f(5, 0, 0)), enter, exit));
    EXPECT_FLOAT_EQ(3.0f, enter);
    EXPECT_FLOAT_EQ(5.0f, exit);
    EXPECT_TRUE(box.intersect(Line(Pnt3f(1, 1, 1), Vec3f(0, 0, -1)), enter, exit));
    EXPECT_FLOAT_EQ(0.0f, enter);
    EXPECT_FLOAT_EQ(1.0f, exit);
    EXPECT_FALSE(box.intersect(Line(Pnt3f(-3, 1, 1), Vec3f(-1, 0, 0)))) << "behind";
    EXPECT_FALSE(box.intersect(Line(Pnt3f(-3, 3, 1), Vec3f(1, 0, 0)))) << "beside";
}

TEST(BoxVolume, GivenAnotherVolume_TellsWhetherTheyTouch) {
    const BoxVolume box(0, 0, 0, 2, 2, 2);
    EXPECT_TRUE(box.intersect(BoxVolume(2, 2, 2, 3, 3, 3)));
    EXPECT_FALSE(box.intersect(BoxVolume(2.1f, 0, 0, 3, 3, 3)));
    EXPECT_TRUE(box.isOnSurface(Pnt3f(1, 2, 0.5f)));
    EXPECT_FALSE(box.isOnSurface(Pnt3f(1, 1, 1)));
    EXPECT_FALSE(box.isOnSurface(Pnt3f(5, 2, 1)));
}

TEST(BoxVolume, GivenPointOnTheBorder_IsOutside) {
    const BoxVolume box(0, 0, 0, 2, 2, 2);
    EXPECT_TRUE(box.intersect(Pnt3f(1, 1, 1)));
    EXPECT_FALSE(box.intersect(Pnt3f(2, 1, 1)));
    EXPECT_FALSE(box.intersect(Pnt3f(1, 0, 1)));
    EXPECT_FALSE(box.intersect(Pnt3f(1, 1, 3)));
}

TEST(DynamicVolume, GivenState_IsItsOwnUntilTheInstanceChanges) {
    DynamicVolume volume;
    volume.extendBy(Pnt3f(1, 1, 1));
    volume.setInfinite(true);
    EXPECT_TRUE(volume.isInfinite());
    EXPECT_FALSE(volume.getInstance().isInfinite());
    const DynamicVolume copy(volume);
    EXPECT_TRUE(copy.isInfinite());
    DynamicVolume assigned;
    assigned = volume;
    EXPECT_FALSE(assigned.isInfinite()) << "assigning takes the instance's state";
    volume.instanceChanged();
    EXPECT_FALSE(volume.isInfinite());
}

TEST(NodeVolume, GivenInfiniteVolume_StaysSoOnlyInTheInstance) {
    const NodeRefPtr node(makeNodeFor(makePoints({Pnt3f(1, 1, 1)})));
    node->getVolume(false).setInfinite(true);
    EXPECT_TRUE(node->getVolume().isInfinite());
    EXPECT_FALSE(node->getVolume(true).isInfinite()) << "the update looks at the instance";
    node->getVolume(false).getInstance().setInfinite(true);
    node->getVolume(false).instanceChanged();
    EXPECT_TRUE(node->getVolume(true).isInfinite());
}

TEST(Line, GivenPoint_TellsItsDistance) {
    const Line line(Pnt3f(1, 0, 0), Vec3f(0, 2, 0));
    EXPECT_EQ(Pnt3f(1, 5, 0), line.getClosestPoint(Pnt3f(4, 5, 4)));
    EXPECT_FLOAT_EQ(5.0f, line.distance(Pnt3f(4, 5, 4)));
    EXPECT_FLOAT_EQ(3.0f, line.distance(Pnt3f(1, -7, 3))) << "the line runs in both directions";
}

TEST(NodeVolume, GivenGeometryBelowTransforms_BoundsItInTheParentsSpace) {
    const TransformPtr transform = Transform::create();
    transform->getMatrix().setTranslate(10, 0, 0);
    const NodeRefPtr root(makeNodeFor(Group::create()));
    const NodePtr moved = makeNodeFor(transform);
    const NodePtr leaf = makeNodeFor(makePoints({Pnt3f(0, 0, 0), Pnt3f(1, 2, 3)}));
    root->addChild(moved);
    moved->addChild(leaf);
    EXPECT_EQ(Pnt3f(11, 2, 3), root->getVolume(true).getMax());
    EXPECT_EQ(Pnt3f(1, 2, 3), leaf->getVolume().getMax());
    DynamicVolume world;
    leaf->getWorldVolume(world);
    EXPECT_EQ(Pnt3f(10, 0, 0), world.getMin());
}

TEST(NodeVolume, GivenChangeBelow_IsOutOfDateUntilUpdated) {
    const NodeRefPtr root(makeNodeFor(Group::create()));
    const TransformPtr transform = Transform::create();
    const NodePtr moved = makeNodeFor(transform);
    const GeometryPtr geometry = makePoints({Pnt3f(0, 0, 0), Pnt3f(1, 1, 1)});
    root->addChild(moved);
    moved->addChild(makeNodeFor(geometry));
    EXPECT_EQ(Pnt3f(1, 1, 1), root->getVolume(true).getMax());
    EXPECT_TRUE(root->getVolume().isValid());

    beginEditCP(transform, Transform::MatrixFieldMask);
    transform->getMatrix().setScale(2);
    endEditCP(transform, Transform::MatrixFieldMask);
    EXPECT_FALSE(root->getVolume().isValid());
    EXPECT_EQ(Pnt3f(2, 2, 2), root->getVolume(true).getMax());

    const GeoPositionsPtr positions = geometry->getPositions();
    beginEditCP(positions);
    positions->push_back(Pnt3f(4, 0, 0));
    endEditCP(positions);
    EXPECT_EQ(Pnt3f(8, 2, 2), root->getVolume(true).getMax()) << "the geometry is notified of its property's edit";

    root->addChild(makeNodeFor(makePoints({Pnt3f(100, 0, 0)})));
    EXPECT_EQ(Pnt3f(100, 2, 2), root->getVolume(true).getMax());
    root->subChild(1u);
    EXPECT_EQ(Pnt3f(8, 2, 2), root->getVolume(true).getMax());
}

TEST(NodeVolume, GivenHiddenChild_DoesNotCount) {
    const NodeRefPtr root(makeNodeFor(Group::create()));
    const NodePtr hidden = makeNodeFor(makePoints({Pnt3f(5, 5, 5)}));
    root->addChild(hidden);
    root->addChild(makeNodeFor(makePoints({Pnt3f(1, 1, 1)})));
    EXPECT_EQ(Pnt3f(5, 5, 5), root->getVolume(true).getMax());
    beginEditCP(hidden, Node::TravMaskFieldMask);
    hidden->setTravMask(0);
    endEditCP(hidden, Node::TravMaskFieldMask);
    EXPECT_EQ(Pnt3f(1, 1, 1), root->getVolume(true).getMax());
}

TEST(NodeVolume, GivenSharedGeometry_AllItsNodesHearOfAChange) {
    const GeometryPtr geometry = makePoints({Pnt3f(1, 1, 1)});
    const NodeRefPtr a(makeNodeFor(geometry)), b(makeNodeFor(geometry));
    a->updateVolume();
    b->updateVolume();
    beginEditCP(geometry, Geometry::PositionsFieldMask);
    geometry->setPositions(NullFC);
    endEditCP(geometry, Geometry::PositionsFieldMask);
    EXPECT_FALSE(a->getVolume().isValid());
    EXPECT_FALSE(b->getVolume().isValid());
    EXPECT_TRUE(a->getVolume(true).isEmpty());
}
