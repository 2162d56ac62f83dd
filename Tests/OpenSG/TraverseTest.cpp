// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the order of a traversal, and what skipping and quitting do.
#include <gtest/gtest.h>
#include <OpenSG/OSGAction.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <string>

using namespace osg;

namespace {

/// a with the children b (with c and d) and e.
class Traverse : public testing::Test {
protected:
    Traverse() : root(make("a")) {
        const NodePtr b = make("b");
        root->addChild(b);
        b->addChild(make("c"));
        b->addChild(make("d"));
        root->addChild(make("e"));
    }

    static NodePtr make(const char* name) {
        const NodePtr node = makeNodeFor(Group::create());
        setName(node, name);
        return node;
    }

    Action::ResultE enter(NodePtr& node) {
        path += getName(node);
        return result == Action::Continue || getName(node) != special ? Action::Continue : result;
    }
    Action::ResultE leave(NodePtr& node, Action::ResultE soFar) {
        path += std::string("-") + getName(node);
        if (soFar == Action::Quit)
            path += "!";
        return soFar;
    }
    TraverseEnterFunctor enterFunctor() {
        return osgTypedMethodFunctor1ObjPtrCPtrRef<Action::ResultE, Traverse, NodePtr>(this, &Traverse::enter);
    }
    TraverseLeaveFunctor leaveFunctor() {
        return osgTypedMethodFunctor2ObjPtrCPtrRef<Action::ResultE, Traverse, NodePtr, Action::ResultE>(
            this, &Traverse::leave);
    }

    NodeRefPtr root;
    std::string path;
    std::string special;
    Action::ResultE result = Action::Continue;
};

int functionCalls = 0;

Action::ResultE countNode(NodePtr&) {
    ++functionCalls;
    return Action::Continue;
}

} // namespace

TEST_F(Traverse, GivenContinue_VisitsDepthFirstInChildOrder) {
    EXPECT_EQ(Action::Continue, traverse(root.get(), enterFunctor()));
    EXPECT_EQ("abcde", path);
}

TEST_F(Traverse, GivenSkip_LeavesOutTheChildren) {
    special = "b";
    result = Action::Skip;
    EXPECT_EQ(Action::Continue, traverse(root.get(), enterFunctor()));
    EXPECT_EQ("abe", path);
}

TEST_F(Traverse, GivenSkipAtTheRoot_GivesContinue) {
    special = "a";
    result = Action::Skip;
    EXPECT_EQ(Action::Continue, traverse(root.get(), enterFunctor()));
    EXPECT_EQ("a", path);
}

TEST_F(Traverse, GivenQuit_EndsAtOnce) {
    special = "c";
    result = Action::Quit;
    EXPECT_EQ(Action::Quit, traverse(root.get(), enterFunctor()));
    EXPECT_EQ("abc", path);
}

TEST_F(Traverse, GivenLeaveFunction_IsCalledAfterTheChildren) {
    EXPECT_EQ(Action::Continue, traverse(root.get(), enterFunctor(), leaveFunctor()));
    EXPECT_EQ("abc-cd-d-be-e-a", path);
}

TEST_F(Traverse, GivenSkipWithLeave_LeavesTheNodeToo) {
    special = "b";
    result = Action::Skip;
    EXPECT_EQ(Action::Continue, traverse(root.get(), enterFunctor(), leaveFunctor()));
    EXPECT_EQ("ab-be-e-a", path);
}

TEST_F(Traverse, GivenQuitWithLeave_LeavesTheNodesAbove) {
    special = "c";
    result = Action::Quit;
    EXPECT_EQ(Action::Quit, traverse(root.get(), enterFunctor(), leaveFunctor()));
    EXPECT_EQ("abc-c!-b!-a!", path);
}

TEST_F(Traverse, GivenListOfNodes_StopsAtQuit) {
    std::vector<NodePtr> nodes = {root->getChild(1), root->getChild(0), root->getChild(1)};
    EXPECT_EQ(Action::Continue, traverse(nodes, enterFunctor()));
    EXPECT_EQ("ebcde", path);
    path.clear();
    special = "b";
    result = Action::Quit;
    EXPECT_EQ(Action::Quit, traverse(nodes, enterFunctor(), leaveFunctor()));
    EXPECT_EQ("e-eb-b!", path);
}

TEST_F(Traverse, GivenPlainFunction_IsCalledForEachNode) {
    functionCalls = 0;
    traverse(root.get(), osgTypedFunctionFunctor1CPtrRef<Action::ResultE, NodePtr>(countNode));
    EXPECT_EQ(5, functionCalls);
}
