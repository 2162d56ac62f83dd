// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests which nodes and clones count as moved by a vertex animation.
#include "ktAnimManager.h"

#include "ktNodeMarks.h"
#include "ktSceneFixture.h"

namespace {

class AnimManager : public ktSceneFixture {
protected:
    osg::GeometryPtr geometry = makeGeometry();
    osg::NodePtr still = addNode(root, "still", geometry);
    osg::NodePtr skinned = addNode(root, "skinned", geometry);
    osg::NodePtr clone = keep(osg::cloneTree(still));
};

} // namespace

TEST_F(AnimManager, GivenNoAnimation_HasNone) {
    EXPECT_FALSE(ktAnimManager::the()->hasVertexAnimation(still));
    EXPECT_FALSE(ktAnimManager::the()->hasVertexAnimation(clone));
    EXPECT_FALSE(ktAnimManager::the()->hasVertexAnimation(osg::NullFC));
}

TEST_F(AnimManager, GivenSkinnedNode_HasIt) {
    ktNodeMarks::setVertexAnimation(skinned, true);
    EXPECT_TRUE(ktAnimManager::the()->hasVertexAnimation(skinned));
    EXPECT_FALSE(ktAnimManager::the()->hasVertexAnimation(still));
}

TEST_F(AnimManager, GivenCloneOfCoreThatIsSkinnedSomewhere_HasIt) {
    ktNodeMarks::setVertexAnimation(skinned, true);
    EXPECT_TRUE(ktAnimManager::the()->hasVertexAnimation(clone));
    ktNodeMarks::setVertexAnimation(skinned, false);
    EXPECT_FALSE(ktAnimManager::the()->hasVertexAnimation(clone));
}
