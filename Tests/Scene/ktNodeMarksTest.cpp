// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests that setting one mark changes no other mark and no other node.
#include "ktNodeMarks.h"

#include "ktSceneFixture.h"
#include "OSGNodeMarksAttachment.h"

namespace {

class NodeMarks : public ktSceneFixture {
protected:
    static osg::NodeMarksAttachmentPtr marksOf(const osg::NodePtr& node) {
        return osg::NodeMarksAttachmentPtr::dcast(node->findAttachment(osg::NodeMarksAttachment::getClassType()));
    }
};

} // namespace

TEST_F(NodeMarks, GivenNullNode_IgnoresIt) {
    ktNodeMarks::setLocked(osg::NullFC, true);
    EXPECT_FALSE(ktNodeMarks::isLocked(osg::NullFC));
}

TEST_F(NodeMarks, GivenOneMark_LeavesTheOthersAlone) {
    const osg::NodePtr node = addNode(root, "node");
    ktNodeMarks::setVertexAnimation(node, true);
    ktNodeMarks::setLocked(node, true);
    EXPECT_TRUE(marksOf(node)->getVertexAnimation());
    EXPECT_TRUE(marksOf(node)->getLocked());
    EXPECT_FALSE(marksOf(node)->getGeometryComponent());
    EXPECT_FALSE(marksOf(node)->getRayFileLight());
}

TEST_F(NodeMarks, GivenNoMarkLeft_TakesTheAttachmentAway) {
    const osg::NodePtr node = addNode(root, "node");
    ktNodeMarks::setLocked(node, false);
    EXPECT_EQ(marksOf(node), osg::NullFC);
    ktNodeMarks::setLocked(node, true);
    EXPECT_TRUE(osg::NodeMarksAttachment::exist());
    ktNodeMarks::setLocked(node, false);
    EXPECT_EQ(marksOf(node), osg::NullFC);
    EXPECT_FALSE(osg::NodeMarksAttachment::exist());
}

TEST_F(NodeMarks, GivenCopiedNode_ChangesTheCopyAlone) {
    const osg::NodePtr node = addNode(root, "node");
    ktNodeMarks::setLocked(node, true);
    const osg::NodePtr copy = keep(osg::NodePtr::dcast(node->shallowCopy()));
    ASSERT_TRUE(ktNodeMarks::isLocked(copy));
    ktNodeMarks::setVertexAnimation(copy, true);
    ktNodeMarks::setLocked(copy, false);
    EXPECT_TRUE(ktNodeMarks::isLocked(node));
    EXPECT_FALSE(marksOf(node)->getVertexAnimation());
}
