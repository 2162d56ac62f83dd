// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGACTION_H
#define OSGACTION_H

#include "OSGNodePtr.h"
#include "OSGTypedFunctors.h"

#include <vector>

OSG_BEGIN_NAMESPACE

/// Holds the results that a function called during a traversal can return.
class Action {
public:
    enum ResultE {
        /// Continue with the node's children.
        Continue,
        /// Continue without the node's children.
        Skip,
        /// End the traversal.
        Quit
    };
};

/// Called before a node's children.
typedef TypedFunctor1<Action::ResultE, NodePtr> TraverseEnterFunctor;
/// Called after a node's children, with the result so far: Quit if the traversal is ending.
typedef TypedFunctor2<Action::ResultE, NodePtr, Action::ResultE> TraverseLeaveFunctor;

// Depth first, in the order of the children, for trees of any depth. Traversal masks and switches are ignored: enter
// decides. Returns Quit if a function returned it, else Continue (with a leave function: its result for the last
// root). Children that enter adds to its node are visited too. Do not destroy a node before its children have been
// visited.

/// A null root is passed to enter as well; the traversal then ends.
Action::ResultE traverse(NodePtr root, const TraverseEnterFunctor& enter);
Action::ResultE traverse(const std::vector<NodePtr>& nodeList, const TraverseEnterFunctor& enter);

/// Calls leave for every entered node: also after Skip, and after Quit for that node and the nodes above it.
Action::ResultE traverse(NodePtr root, const TraverseEnterFunctor& enter, const TraverseLeaveFunctor& leave);
Action::ResultE traverse(const std::vector<NodePtr>& nodeList, const TraverseEnterFunctor& enter,
                         const TraverseLeaveFunctor& leave);

OSG_END_NAMESPACE

#endif
