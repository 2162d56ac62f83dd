// SPDX-License-Identifier: LGPL-2.1-or-later
// Traverses trees of nodes depth first, without recursion, and calls functions on entering and leaving.
#include "OSGAction.h"

#include "OSGNode.h"

OSG_BEGIN_NAMESPACE

namespace {

// A node on the way from the root to the current node.
struct Frame {
    NodePtr node;
    UInt32 nextChild;
    // Result of the child visited last.
    Action::ResultE result;
};

} // namespace

Action::ResultE traverse(const NodePtr root, const TraverseEnterFunctor& enter) {
    NodePtr first = root;
    const Action::ResultE firstResult = enter.call(first);
    if (firstResult == Action::Quit)
        return Action::Quit;
    if (root == NullFC || firstResult == Action::Skip)
        return Action::Continue;

    std::vector<Frame> stack(1, Frame{root, 0, Action::Continue});
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.nextChild >= frame.node->getNChildren()) {
            stack.pop_back();
            continue;
        }
        NodePtr child = frame.node->getChild(frame.nextChild++);
        const Action::ResultE result = enter.call(child);
        if (result == Action::Quit)
            return Action::Quit;
        if (result == Action::Continue && child != NullFC)
            stack.push_back(Frame{child, 0, Action::Continue});
    }
    return Action::Continue;
}

Action::ResultE traverse(const std::vector<NodePtr>& nodeList, const TraverseEnterFunctor& enter) {
    for (const NodePtr& node : nodeList)
        if (traverse(node, enter) == Action::Quit)
            return Action::Quit;
    return Action::Continue;
}

Action::ResultE traverse(const NodePtr root, const TraverseEnterFunctor& enter, const TraverseLeaveFunctor& leave) {
    if (root == NullFC)
        return Action::Continue;

    Action::ResultE result = Action::Continue;
    std::vector<Frame> stack;
    const auto enterNode = [&enter, &stack](NodePtr node) {
        const Action::ResultE entered = enter.call(node);
        // The children of a skipped node are not visited.
        const UInt32 nextChild = entered == Action::Continue ? 0 : TypeTraits<UInt32>::getMax();
        stack.push_back(Frame{node, nextChild, entered == Action::Quit ? Action::Quit : Action::Continue});
    };
    enterNode(root);
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.result != Action::Quit && frame.nextChild < frame.node->getNChildren()) {
            enterNode(frame.node->getChild(frame.nextChild++));
            continue;
        }
        result = leave.call(frame.node, frame.result);
        stack.pop_back();
        if (!stack.empty())
            stack.back().result = result;
    }
    return result;
}

Action::ResultE traverse(const std::vector<NodePtr>& nodeList, const TraverseEnterFunctor& enter,
                         const TraverseLeaveFunctor& leave) {
    Action::ResultE result = Action::Continue;
    for (const NodePtr& node : nodeList) {
        result = traverse(node, enter, leave);
        if (result == Action::Quit)
            break;
    }
    return result;
}

OSG_END_NAMESPACE
