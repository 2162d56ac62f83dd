// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the search for nodes by name, path and wildcards.
#include "ktSceneFixture.h"
#include "ktSceneState.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// (root) / (unit) / car / left / door
//                       / right / door
//                 / door
class NodeSearch : public ktSceneFixture {
protected:
    osg::NodePtr unit = addNode(root, {});
    osg::NodePtr car = addNode(unit, "car");
    osg::NodePtr left = addNode(car, "left");
    osg::NodePtr leftDoor = addNode(addNode(left, {}), "door");
    osg::NodePtr right = addNode(car, "right");
    osg::NodePtr rightDoor = addNode(right, "door");
    osg::NodePtr topDoor = addNode(unit, "door");
};

} // namespace

TEST_F(NodeSearch, GivenName_FindsAllOfThatNameInTraversalOrder) {
    EXPECT_THAT(ktSceneState::findNodes("door"), ElementsAre(leftDoor, rightDoor, topDoor));
}

TEST_F(NodeSearch, GivenPath_FindsWhatHangsUnderThoseNames) {
    EXPECT_THAT(ktSceneState::findNodes("left/door"), ElementsAre(leftDoor));
    EXPECT_THAT(ktSceneState::findNodes("car/right/door"), ElementsAre(rightDoor));
    EXPECT_THAT(ktSceneState::findNodes("car/door"), IsEmpty());
}

TEST_F(NodeSearch, GivenPathFromTop_TiesItToTheTop) {
    EXPECT_THAT(ktSceneState::findNodes("/door"), ElementsAre(topDoor));
    EXPECT_THAT(ktSceneState::findNodes("/car/left"), ElementsAre(left));
    EXPECT_THAT(ktSceneState::findNodes("/left"), IsEmpty());
}

TEST_F(NodeSearch, GivenWildcards_MatchesWithinOneName) {
    EXPECT_THAT(ktSceneState::findNodes("*r"), ElementsAre(car, leftDoor, rightDoor, topDoor));
    EXPECT_THAT(ktSceneState::findNodes("car/*/door"), ElementsAre(leftDoor, rightDoor));
    EXPECT_THAT(ktSceneState::findNodes("/*"), ElementsAre(car, topDoor));
    EXPECT_THAT(ktSceneState::findNodes("[lr]ight"), ElementsAre(right));
}

TEST_F(NodeSearch, GivenNameWithSpecialCharacters_TakesItAsItIs) {
    const osg::NodePtr odd = addNode(unit, "part*[1]/a");
    addNode(unit, "party1/a");
    EXPECT_THAT(ktSceneState::findNodes("part*[1]/a"), ElementsAre(odd));
}

TEST_F(NodeSearch, GivenNothingToFind_IsEmpty) {
    EXPECT_THAT(ktSceneState::findNodes(""), IsEmpty());
    EXPECT_THAT(ktSceneState::findNodes("/"), IsEmpty());
    EXPECT_THAT(ktSceneState::findNodes("mirror"), IsEmpty());
    ktSceneState::setRootNode(osg::NullFC);
    EXPECT_THAT(ktSceneState::findNodes("*"), IsEmpty());
}
