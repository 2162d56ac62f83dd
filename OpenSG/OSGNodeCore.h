// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGNODECORE_H
#define OSGNODECORE_H

#include "OSGAttachmentContainer.h"
#include "OSGDynamicVolume.h"
#include "OSGNodeFields.h"

OSG_BEGIN_NAMESPACE

typedef FCPtr<AttachmentContainerPtr, NodeCore> NodeCorePtr;
typedef RefPtr<NodeCorePtr> NodeCoreRefPtr;

/// Says what a node is: a group, a transformation, a geometry, a light. Several nodes may share a core. They are its
/// parents and reference it.
class NodeCore : public AttachmentContainer {
    typedef AttachmentContainer Inherited;

public:
    typedef NodeCorePtr Ptr;

    static constexpr bool isNodeCore = true;

    enum { ParentsFieldId = Inherited::NextFieldId, NextFieldId = ParentsFieldId + 1 };
    static const BitVector ParentsFieldMask;

    OSG_ABSTR_FIELD_CONTAINER_DECL(NodeCorePtr)

    /// The nodes with this core. The order changes when a parent is removed.
    MFNodePtr& getParents() { return _parents; }
    const MFNodePtr& getParents() const { return _parents; }
    MFNodePtr* getMFParents() { return &_parents; }

    /// Marks the volumes of all parents and of the nodes above them as out of date.
    virtual void invalidateVolume();
    /// Multiplies the matrix from the right by the core's transformation.
    virtual void accumulateMatrix(Matrix& result);

protected:
    NodeCore() = default;
    NodeCore(const NodeCore& source) : Inherited(source) {}
    ~NodeCore() override = default;

    /// Extends the volume of a node from that of its children to that of the whole node.
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
