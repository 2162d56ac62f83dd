// SPDX-License-Identifier: LGPL-2.1-or-later
// Base class of cores: knows the nodes that share the core, and invalidates their volumes.
#include "OSGNodeCore.h"

#include "OSGNode.h"
#include "OSGParentList.h"

OSG_BEGIN_NAMESPACE

OSG_FIELD_MASK_DEF(NodeCore, ParentsField)

FieldContainerType NodeCore::_type("NodeCore", "AttachmentContainer");

OSG_ABSTR_FIELD_CONTAINER_DEF(NodeCore, NodeCorePtr)

void NodeCore::invalidateVolume() {
    for (const NodePtr& parent : _parents)
        parent->invalidateVolume();
}

void NodeCore::accumulateMatrix(Matrix&) {}

void NodeCore::adjustVolume(Volume&) {}

void NodeCore::addParent(const NodePtr& parent) {
    _parents.push_back(parent);
}

void NodeCore::subParent(const NodePtr& parent) {
    detail::eraseParent(_parents, parent, _parentHint);
}

OSG_END_NAMESPACE
