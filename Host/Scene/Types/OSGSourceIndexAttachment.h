// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <OpenSG/OSGAttachment.h>
#include <OpenSG/OSGFieldAccessMacros.h>
#include <OpenSG/OSGSFSysTypes.h>

OSG_BEGIN_NAMESPACE

class SourceIndexAttachment;
typedef FCPtr<AttachmentPtr, SourceIndexAttachment> SourceIndexAttachmentPtr;

/// Position of a node or geometry in the document that it was read from. Indices count from 0; -1 means that it has no
/// such position.
class KT_HOST_EXPORT SourceIndexAttachment : public Attachment {
    typedef Attachment Inherited;

public:
    typedef SourceIndexAttachmentPtr Ptr;

    enum {
        NodeIndexFieldId = Inherited::NextFieldId,
        MeshIndexFieldId = NodeIndexFieldId + 1,
        PrimitiveIndexFieldId = MeshIndexFieldId + 1,
        NextFieldId = PrimitiveIndexFieldId + 1
    };
    static const BitVector NodeIndexFieldMask;
    static const BitVector MeshIndexFieldMask;
    static const BitVector PrimitiveIndexFieldMask;

    OSG_FIELD_CONTAINER_DECL(SourceIndexAttachmentPtr)

    OSG_SFIELD_ACCESS(Int32, NodeIndex)
    OSG_SFIELD_ACCESS(Int32, MeshIndex)
    /// Index within the mesh.
    OSG_SFIELD_ACCESS(Int32, PrimitiveIndex)

protected:
    SourceIndexAttachment();
    SourceIndexAttachment(const SourceIndexAttachment& source);
    ~SourceIndexAttachment() override;

    SFInt32 _sfNodeIndex;
    SFInt32 _sfMeshIndex;
    SFInt32 _sfPrimitiveIndex;

    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(SourceIndexAttachment, SourceIndexAttachmentPtr)

OSG_END_NAMESPACE
