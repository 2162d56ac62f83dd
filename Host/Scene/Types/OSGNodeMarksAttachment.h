// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <atomic>
#include <OpenSG/OSGAttachment.h>
#include <OpenSG/OSGFieldAccessMacros.h>
#include <OpenSG/OSGSFSysTypes.h>

OSG_BEGIN_NAMESPACE

class NodeMarksAttachment;
typedef FCPtr<AttachmentPtr, NodeMarksAttachment> NodeMarksAttachmentPtr;

/// Properties of a node that its core does not hold. Set them with ktNodeMarks; query them with ktNodePermission,
/// ktAnimManager, ktNodeUtils and ktLights.
class KT_HOST_EXPORT NodeMarksAttachment : public Attachment {
    typedef Attachment Inherited;

public:
    typedef NodeMarksAttachmentPtr Ptr;

    enum {
        LockedFieldId = Inherited::NextFieldId,
        VertexAnimationFieldId = LockedFieldId + 1,
        GeometryComponentFieldId = VertexAnimationFieldId + 1,
        RayFileLightFieldId = GeometryComponentFieldId + 1,
        NextFieldId = RayFileLightFieldId + 1
    };
    static const BitVector LockedFieldMask;
    static const BitVector VertexAnimationFieldMask;
    static const BitVector GeometryComponentFieldMask;
    static const BitVector RayFileLightFieldMask;

    OSG_FIELD_CONTAINER_DECL(NodeMarksAttachmentPtr)

    /// The node and everything below it must not be changed.
    OSG_SFIELD_ACCESS(bool, Locked)
    /// A skin or a morph moves single vertices of the node's geometry.
    OSG_SFIELD_ACCESS(bool, VertexAnimation)
    /// The node is a piece of one larger geometry.
    OSG_SFIELD_ACCESS(bool, GeometryComponent)
    /// The node's light emits the rays of a measured ray file.
    OSG_SFIELD_ACCESS(bool, RayFileLight)

    /// Whether any node may have marks. If none has, queries need no search. Thread-safe.
    static bool exist();
    /// Increases whenever marks are created, announced as changed, attached, removed or destroyed. Thread-safe.
    static UInt32 getGeneration() { return generation; }

    void changed(BitVector whichField, UInt32 origin) override;

protected:
    NodeMarksAttachment();
    NodeMarksAttachment(const NodeMarksAttachment& source);
    ~NodeMarksAttachment() override;

    // Count the attachment. A container may be constructed once per thread, so constructors cannot.
    void onCreate(const NodeMarksAttachment* source = nullptr);
    void onDestroy() override;

    SFBool _sfLocked;
    SFBool _sfVertexAnimation;
    SFBool _sfGeometryComponent;
    SFBool _sfRayFileLight;

    static FieldContainerType _type;

private:
    friend class FieldContainer;

    static std::atomic<int> livingCount; // including the type's prototype
    static std::atomic<UInt32> generation;
};

OSG_FIELD_CONTAINER_INL_DEF(NodeMarksAttachment, NodeMarksAttachmentPtr)

OSG_END_NAMESPACE
