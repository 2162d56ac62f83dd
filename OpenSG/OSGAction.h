// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGACTION_H
#define OSGACTION_H

#include "OSGNodePtr.h"
#include "OSGTypedFunctors.h"

#include <vector>

OSG_BEGIN_NAMESPACE

/// What a function that is called during a traversal says.
class Action {
public:
    enum ResultE {
        /// Go on, with the node's children.
        Continue,
        /// Go on without the node's children.
        Skip,
        /// End the traversal.
        Quit
    };
};

/// Called before a node's children.
typedef TypedFunctor1<Action::ResultE, NodePtr> TraverseEnterFunctor;
/// Called after a node's children, with the result so far: Quit when the traversal is ending.
typedef TypedFunctor2<Action::ResultE, NodePtr, Action::ResultE> TraverseLeaveFunctor;

// Depth first, in the order of the children. Traversal masks and switches are not looked at: enter decides. Trees may
// be of any depth. Returns Quit when a function did, else Continue (with a leave function: the last root's result of
// leave). Children that enter adds to the node are visited, too; a node that waits for its children must not be
// destroyed.

/// A null root is passed to enter, too, and ends there.
Action::ResultE traverse(NodePtr root, const TraverseEnterFunctor& enter);
Action::ResultE traverse(const std::vector<NodePtr>& nodeList, const TraverseEnterFunctor& enter);

/// leave is called for every node that was entered, also after Skip, and after Quit for it and the nodes above it.
Action::ResultE traverse(NodePtr root, const TraverseEnterFunctor& enter, const TraverseLeaveFunctor& leave);
Action::ResultE traverse(const std::vector<NodePtr>& nodeList, const TraverseEnterFunctor& enter,
                         const TraverseLeaveFunctor& leave);

OSG_END_NAMESPACE

#endif
