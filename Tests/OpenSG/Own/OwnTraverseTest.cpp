// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests what only our traversal allows: any callable object, and children that it adds.
#include <gtest/gtest.h>
#include <OpenSG/OSGAction.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <string>

using namespace osg;

TEST(OwnTraverse, GivenChildrenAddedByEnter_VisitsThem) {
    const auto make = [](const char* name) {
        const NodePtr node = makeNodeFor(Group::create());
        setName(node, name);
        return node;
    };
    const NodeRefPtr root(make("a"));
    const NodePtr b = make("b");
    root->addChild(b);
    b->addChild(make("c"));
    root->addChild(make("e"));
    std::string path;
    int added = 0;
    traverse(root.get(), [&](NodePtr& node) {
        path += getName(node);
        if (added < 2 && path.size() < 3) {
            ++added;
            node->addChild(make("x"));
        }
        return Action::Continue;
    });
    EXPECT_EQ("abcxex", path);
}
