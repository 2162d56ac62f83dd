// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests names and component marks of nodes and of their clones.
#include "ktNodeUtils.h"

#include "ktNodeMarks.h"
#include "ktSceneFixture.h"

#include <OpenSG/OSGSimpleAttachments.h>

namespace {

class NodeUtilsTest : public ktSceneFixture {
protected:
    osg::GeometryPtr geometry = makeGeometry();
};

} // namespace

TEST_F(NodeUtilsTest, GivenNamedNode_ReturnsItsName) {
    EXPECT_STREQ(NodeUtils::getName(addNode(root, "T\xc3\xbcr")), "T\xc3\xbcr");
}

TEST_F(NodeUtilsTest, GivenNoOrEmptyName_ReturnsNull) {
    EXPECT_EQ(NodeUtils::getName(osg::NullFC), nullptr);
    EXPECT_EQ(NodeUtils::getName(addNode(root, {})), nullptr);
    const osg::NodePtr node = addNode(root, {});
    osg::setName(node, std::string());
    EXPECT_EQ(NodeUtils::getName(node), nullptr);
}

TEST_F(NodeUtilsTest, GivenClone_ReturnsTheNameOfANamedNodeWithItsCore) {
    addNode(root, {}, geometry);
    const osg::NodePtr named = addNode(root, "wheel", geometry);
    const osg::NodePtr clone = keep(osg::cloneTree(named));
    EXPECT_EQ(osg::getName(clone), nullptr);
    EXPECT_STREQ(NodeUtils::getName(clone), "wheel");
}

TEST_F(NodeUtilsTest, GivenSceneNodeWithoutName_DoesNotBorrowOne) {
    addNode(root, "wheel", geometry);
    EXPECT_EQ(NodeUtils::getName(addNode(root, {}, geometry)), nullptr);
}

TEST_F(NodeUtilsTest, GivenCloneOfNodeThatLeftTheScene_AnswersForItself) {
    const osg::NodePtr named = addNode(root, "wheel", geometry);
    const osg::NodePtr clone = keep(osg::cloneTree(named));
    root->subChild(named);
    EXPECT_EQ(NodeUtils::getName(clone), nullptr);
    osg::setName(clone, "copy");
    EXPECT_STREQ(NodeUtils::getName(clone), "copy");
}

TEST_F(NodeUtilsTest, GivenComponentMark_NodeAndCloneAreComponents) {
    const osg::NodePtr patch = addNode(root, "patch", geometry);
    const osg::NodePtr clone = keep(osg::cloneTree(patch));
    EXPECT_FALSE(NodeUtils::isGeometryComponent(patch));
    ktNodeMarks::setGeometryComponent(patch, true);
    EXPECT_TRUE(NodeUtils::isGeometryComponent(patch));
    EXPECT_TRUE(NodeUtils::isGeometryComponent(clone));
    EXPECT_FALSE(NodeUtils::isGeometryComponent(root));
    EXPECT_FALSE(NodeUtils::isGeometryComponent(osg::NullFC));
}
