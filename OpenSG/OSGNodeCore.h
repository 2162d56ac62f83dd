// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGNODECORE_H
#define OSGNODECORE_H

#include "OSGAttachmentContainer.h"
#include "OSGDynamicVolume.h"
#include "OSGNodeFields.h"

OSG_BEGIN_NAMESPACE

typedef FCPtr<AttachmentContainerPtr, NodeCore> NodeCorePtr;
typedef RefPtr<NodeCorePtr> NodeCoreRefPtr;

/// What a node is: a group, a transformation, a geometry, a light. One core may serve several nodes, its parents,
/// which reference it.
class NodeCore : public AttachmentContainer {
    typedef AttachmentContainer Inherited;

public:
    typedef NodeCorePtr Ptr;

    static constexpr bool isNodeCore = true;

    enum { ParentsFieldId = Inherited::NextFieldId, NextFieldId = ParentsFieldId + 1 };
    static const BitVector ParentsFieldMask;

    OSG_ABSTR_FIELD_CONTAINER_DECL(NodeCorePtr)

    /// The nodes whose core this is. Their order changes when one leaves.
    MFNodePtr& getParents() { return _parents; }
    const MFNodePtr& getParents() const { return _parents; }
    MFNodePtr* getMFParents() { return &_parents; }

    /// Marks the volumes of all parents, and of the nodes above them, as out of date.
    virtual void invalidateVolume();
    /// Multiplies the core's own transformation to the matrix, from the right.
    virtual void accumulateMatrix(Matrix& result);

protected:
    NodeCore() = default;
    NodeCore(const NodeCore& source) : Inherited(source) {}
    ~NodeCore() override = default;

    /// Changes the volume of a node, which holds its children's, to that of the whole node.
    virtual void adjustVolume(Volume& volume);

    static FieldContainerType _type;

private:
    friend class FieldContainer;
    friend class Node;

    void addParent(const NodePtr& parent);
    void subParent(const NodePtr& parent);

    MFNodePtr _parents;
    UInt32 _parentHint = 0;
};

OSG_ABSTR_FIELD_CONTAINER_INL_DEF(NodeCore, NodeCorePtr)

using SFNodeCorePtr = SField<NodeCorePtr>;
using MFNodeCorePtr = MField<NodeCorePtr>;

OSG_END_NAMESPACE

#endif
