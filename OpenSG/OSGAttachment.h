// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGATTACHMENT_H
#define OSGATTACHMENT_H

#include "OSGAttachmentPtr.h"
#include "OSGFieldContainer.h"
#include "OSGMFFieldContainerPtr.h"
#include "OSGMFSysTypes.h"
#include "OSGSFSysTypes.h"

#include <map>

OSG_BEGIN_NAMESPACE

/// Data that is attached to one or more containers. It knows its parents, and the parents reference it.
class Attachment : public FieldContainer {
    typedef FieldContainer Inherited;

public:
    typedef AttachmentPtr Ptr;

    enum {
        ParentsFieldId = Inherited::NextFieldId,
        InternalFieldId = ParentsFieldId + 1,
        NextFieldId = InternalFieldId + 1
    };
    static const BitVector ParentsFieldMask;
    static const BitVector InternalFieldMask;

    /// create() returns null, because the class has no prototype: only derived classes can be created.
    OSG_FIELD_CONTAINER_DECL(AttachmentPtr)

    /// The containers that hold it, one entry per use. The order changes when a parent is removed.
    MFFieldContainerPtr& getParents() { return _parents; }
    const MFFieldContainerPtr& getParents() const { return _parents; }
    MFFieldContainerPtr* getMFParents() { return &_parents; }
    /// Called by the parents. subParent does nothing for a container that is not a parent.
    void addParent(FieldContainerPtr parent);
    void subParent(FieldContainerPtr parent);
    /// Index in getParents(); -1 if it is not a parent.
    Int32 findParent(FieldContainerPtr parent) const;

    /// True for internal attachments, which a user interface does not show.
    SFBool& getInternal() { return _sfInternal; }
    const SFBool& getInternal() const { return _sfInternal; }
    SFBool* getSFInternal() { return &_sfInternal; }
    void setInternal(const bool value) { _sfInternal.setValue(value); }

protected:
    Attachment() = default;
    Attachment(const Attachment& source);
    ~Attachment() override = default;

    static FieldContainerType _type;

private:
    friend class FieldContainer;

    MFFieldContainerPtr _parents;
    UInt32 _parentHint = 0;
    SFBool _sfInternal;
};

OSG_FIELD_CONTAINER_INL_DEF(Attachment, AttachmentPtr)

/// Attachments by group (upper 16 bits of the key) and binding (lower 16 bits).
typedef std::map<UInt32, AttachmentPtr> AttachmentMap;

/// An attachment with one field. AttachmentDescT names the field's type, FieldTypeT, and has the static functions
/// getTypeName, getParentTypeName and getGroupName (all const Char8 *).
template <class AttachmentDescT>
class SimpleAttachment : public Attachment {
    typedef Attachment Inherited;

public:
    typedef typename AttachmentDescT::FieldTypeT StoredFieldType;
    typedef SimpleAttachment<AttachmentDescT> Self;
    typedef FCPtr<AttachmentPtr, Self> PtrType;
    typedef PtrType Ptr;

    enum { SimpleFieldId = Inherited::NextFieldId, NextFieldId = SimpleFieldId + 1 };
    static constexpr BitVector SimpleFieldMask = BitVector(1) << SimpleFieldId;

    OSG_FIELD_CONTAINER_TMPL_DECL(PtrType)

    StoredFieldType* getFieldPtr() { return &_field; }
    const StoredFieldType* getFieldPtr() const { return &_field; }
    StoredFieldType& getField() { return _field; }
    const StoredFieldType& getField() const { return _field; }

protected:
    SimpleAttachment() = default;
    SimpleAttachment(const SimpleAttachment& source) : Attachment(source), _field(source._field) {}
    ~SimpleAttachment() override = default;

    StoredFieldType _field;
    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_TMPL_DEF(SimpleAttachment, AttachmentDescT, PtrType)

template <class AttachmentDescT>
FieldContainerType SimpleAttachment<AttachmentDescT>::_type(AttachmentDescT::getTypeName(),
                                                            AttachmentDescT::getParentTypeName(),
                                                            AttachmentDescT::getGroupName(), []() -> FieldContainerPtr {
                                                                return SimpleAttachment<AttachmentDescT>::createEmpty();
                                                            });

OSG_END_NAMESPACE

#endif
