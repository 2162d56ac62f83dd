// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGNODE_H
#define OSGNODE_H

#include "OSGDynamicVolume.h"
#include "OSGNodeCore.h"

OSG_BEGIN_NAMESPACE

using SFDynamicVolume = SField<DynamicVolume>;

/// A node of the scene: it has at most one parent, any number of children, and a core that says what it is.
///
/// The node references its children and its core. Trees may have any depth, because nothing here recurses.
class Node : public AttachmentContainer {
    typedef AttachmentContainer Inherited;

public:
    typedef NodePtr Ptr;
    typedef DynamicVolume VolumeType;
    typedef MFNodePtr MFChildrenType;

    enum {
        VolumeFieldId = Inherited::NextFieldId,
        TravMaskFieldId = VolumeFieldId + 1,
        ParentFieldId = TravMaskFieldId + 1,
        ChildrenFieldId = ParentFieldId + 1,
        CoreFieldId = ChildrenFieldId + 1,
        NextFieldId = CoreFieldId + 1
    };
    static const BitVector VolumeFieldMask;
    static const BitVector TravMaskFieldMask;
    static const BitVector ParentFieldMask;
    static const BitVector ChildrenFieldMask;
    static const BitVector CoreFieldMask;

    OSG_FIELD_CONTAINER_DECL(NodePtr)

    NodeCorePtr getCore() const { return _sfCore.getValue(); }
    /// References the new core and releases the old one. Pass null for none.
    void setCore(const NodeCorePtr& core);

    /// Null for a root.
    NodePtr getParent() const { return _sfParent.getValue(); }

    UInt32 getNChildren() const { return _mfChildren.size(); }
    /// index must be below getNChildren().
    NodePtr getChild(const UInt32 index) const { return _mfChildren[index]; }
    /// Index of the child; -1 if it is not a child.
    Int32 findChild(const NodePtr& child) const;

    // A child is first removed from its old parent. Null children are ignored. An index of getNChildren() or more
    // inserts at the end, and replaces or removes nothing.
    void addChild(const NodePtr& child);
    void insertChild(UInt32 index, const NodePtr& child);
    void replaceChild(UInt32 index, const NodePtr& child);
    /// Returns false if child is not a child or newChild is null.
    bool replaceChildBy(const NodePtr& child, const NodePtr& newChild);
    /// Removes the child, and destroys it if nothing else references it. Warns if it is not a child.
    void subChild(const NodePtr& child);
    void subChild(UInt32 index);

    /// One bit per kind of traversal: all ones (the default) is visible in all, 0 in none.
    UInt32 getTravMask() const { return _sfTravMask.getValue(); }
    void setTravMask(const UInt32 mask) { _sfTravMask.setValue(mask); }
    /// True if all bits of the traversal mask are set.
    bool getActive() const { return getTravMask() == TypeTraits<UInt32>::getMax(); }
    void setActive(const bool active) { setTravMask(active ? TypeTraits<UInt32>::getMax() : 0); }

    /// Transformation from the space of the node's children to world space: the product of the transformations of all
    /// nodes from the root to this node, including this node.
    Matrix getToWorld() const;
    void getToWorld(Matrix& result) const;

    /// Bounds, in the parent's space, of the node and everything below it with a non-zero traversal mask. Updates them
    /// first if update is true.
    DynamicVolume& getVolume(bool update);
    DynamicVolume& editVolume(const bool update) { return getVolume(update); }
    const DynamicVolume& getVolume() const { return _sfVolume.getValue(); }
    /// The bounds in world space.
    void getWorldVolume(DynamicVolume& result);
    void updateVolume();
    /// Marks the volumes of this node and the nodes above it as out of date.
    void invalidateVolume();

    /// The same as cloneTree().
    NodePtr clone() const;

    const SFDynamicVolume* getSFVolume() const { return &_sfVolume; }
    SFDynamicVolume* editSFVolume() { return &_sfVolume; }
    const SFUInt32* getSFTravMask() const { return &_sfTravMask; }
    SFUInt32* editSFTravMask() { return &_sfTravMask; }
    const SFNodePtr* getSFParent() const { return &_sfParent; }
    const SFNodeCorePtr* getSFCore() const { return &_sfCore; }
    const MFNodePtr* getMFChildren() const { return &_mfChildren; }
    MFNodePtr* getMFChildren() { return &_mfChildren; }
    MFNodePtr* editMFChildren() { return &_mfChildren; }

    void changed(BitVector whichField, UInt32 origin) override;

protected:
    Node();
    /// Copies attachments (shared) and traversal mask.
    Node(const Node& source);
    ~Node() override;
    /// Shares the core of source. The volume of a node that was copied or made by create() is out of date.
    void onCreate(const Node* source = nullptr);

    static FieldContainerType _type;

private:
    friend class FieldContainer;

    void setParent(const NodePtr& parent);
    void takeFromParent(const NodePtr& child);
    void updateOwnVolume();

    SFDynamicVolume _sfVolume;
    SFUInt32 _sfTravMask;
    SFNodePtr _sfParent;
    MFNodePtr _mfChildren;
    SFNodeCorePtr _sfCore;
};

OSG_FIELD_CONTAINER_INL_DEF(Node, NodePtr)

/// Creates a node with the core. Null if the core is null.
NodePtr makeNodeFor(NodeCorePtr core);

/// Copies a tree: new nodes with the same cores and traversal masks, without attachments. Returns null for null. The
/// result has no reference and no parent.
NodePtr cloneTree(const NodePtr& root);

OSG_END_NAMESPACE

#endif
