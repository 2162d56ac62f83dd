// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGAttachment.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGSFSysTypes.h>

OSG_BEGIN_NAMESPACE

class Mark;
typedef FCPtr<AttachmentPtr, Mark> MarkPtr;

/// An attachment of the plug-in: how many faces are at its node.
class Mark : public Attachment {
    typedef Attachment Inherited;

public:
    typedef MarkPtr Ptr;

    enum { FacesFieldId = Inherited::NextFieldId, NextFieldId = FacesFieldId + 1 };
    static const BitVector FacesFieldMask;

    OSG_FIELD_CONTAINER_DECL(MarkPtr)

    UInt32 getFaces() const { return _sfFaces.getValue(); }
    void setFaces(UInt32 faces) { _sfFaces.setValue(faces); }

protected:
    Mark();
    Mark(const Mark& source);
    virtual ~Mark();

    SFUInt32 _sfFaces;
    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(Mark, MarkPtr)

class Assembly;
typedef FCPtr<GroupPtr, Assembly> AssemblyPtr;

/// A core of the plug-in: a group that knows how many were made.
class Assembly : public Group {
    typedef Group Inherited;

public:
    typedef AssemblyPtr Ptr;

    static UInt32 living;

    OSG_FIELD_CONTAINER_DECL(AssemblyPtr)

protected:
    Assembly();
    Assembly(const Assembly& source);
    virtual ~Assembly();

    void onCreate(const Assembly* source = NULL);
    virtual void onDestroy();

    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(Assembly, AssemblyPtr)

OSG_END_NAMESPACE

/// Marks each node that has a geometry. Returns the number of nodes.
int markFaces(const osg::NodePtr& root);
