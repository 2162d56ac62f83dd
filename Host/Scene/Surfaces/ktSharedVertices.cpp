// SPDX-License-Identifier: LGPL-2.1-or-later
// Stores in a geometry which of its vertices share a value, as an attachment of the core.
#include "ktSharedVertices.h"

#include <OpenSG/OSGAttachment.h>
#include <OpenSG/OSGFieldAccessMacros.h>
#include <OpenSG/OSGMFSysTypes.h>

OSG_BEGIN_NAMESPACE

class SharedVerticesAttachment;
typedef FCPtr<AttachmentPtr, SharedVerticesAttachment> SharedVerticesAttachmentPtr;

/// For each vertex of a geometry the number of its value.
class KT_HOST_EXPORT SharedVerticesAttachment : public Attachment {
    typedef Attachment Inherited;

public:
    typedef SharedVerticesAttachmentPtr Ptr;

    enum { ValuesFieldId = Inherited::NextFieldId, NextFieldId = ValuesFieldId + 1 };
    static const BitVector ValuesFieldMask;

    OSG_FIELD_CONTAINER_DECL(SharedVerticesAttachmentPtr)

    OSG_MFIELD_ACCESS(UInt32, Values)

protected:
    SharedVerticesAttachment();
    SharedVerticesAttachment(const SharedVerticesAttachment& source);
    ~SharedVerticesAttachment() override;

    MFUInt32 _mfValues;

    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(SharedVerticesAttachment, SharedVerticesAttachmentPtr)

FieldContainerType SharedVerticesAttachment::_type("SharedVerticesAttachment", "Attachment", nullptr,
                                                   []() -> FieldContainerPtr { return createEmpty(); });

OSG_FIELD_CONTAINER_DEF(SharedVerticesAttachment, SharedVerticesAttachmentPtr)

OSG_FIELD_MASK_DEF(SharedVerticesAttachment, ValuesField)

SharedVerticesAttachment::SharedVerticesAttachment() = default;
SharedVerticesAttachment::SharedVerticesAttachment(const SharedVerticesAttachment& source) = default;
SharedVerticesAttachment::~SharedVerticesAttachment() = default;

OSG_END_NAMESPACE

using Shared = osg::SharedVerticesAttachment;

void ktSetSharedVertices(const osg::GeometryPtr& geometry, const std::vector<std::uint32_t>& values) {
    const Shared::Ptr shared = Shared::create();
    osg::beginEditCP(shared, Shared::ValuesFieldMask);
    for (const std::uint32_t value : values)
        shared->getMFValues()->push_back(value);
    osg::endEditCP(shared, Shared::ValuesFieldMask);
    osg::beginEditCP(geometry, osg::Geometry::AttachmentsFieldMask);
    geometry->addAttachment(shared);
    osg::endEditCP(geometry, osg::Geometry::AttachmentsFieldMask);
}

const osg::UInt32* ktFindSharedVertices(const osg::GeometryPtr& geometry) {
    const Shared::Ptr shared = Shared::Ptr::dcast(geometry->findAttachment(Shared::getClassType()));
    if (shared == osg::NullFC || geometry->getPositions() == osg::NullFC ||
        shared->getMFValues()->getSize() != geometry->getPositions()->getSize() || shared->getMFValues()->empty())
        return nullptr;
    return &(*shared->getMFValues())[0];
}
