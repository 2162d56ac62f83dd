// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGNODEPTR_H
#define OSGNODEPTR_H

#include "OSGAttachmentContainerPtr.h"

OSG_BEGIN_NAMESPACE

class Node;

/// A pointer to a node.
class NodePtr : public FCPtr<AttachmentContainerPtr, Node> {
public:
    using ObjectType = NodePtr;
    using Inherited = AttachmentContainerPtr;

    constexpr NodePtr() = default;
    using FCPtr::FCPtr;

    template <class OtherPtrT>
    static NodePtr dcast(const OtherPtrT& other) {
        return NodePtr(FCPtr::dcast(other));
    }

private:
    explicit NodePtr(const FCPtr& pointer) : FCPtr(pointer) {}
};

using NodeRefPtr = RefPtr<NodePtr>;

OSG_END_NAMESPACE

#endif
