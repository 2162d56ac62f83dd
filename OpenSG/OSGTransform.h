// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGTRANSFORM_H
#define OSGTRANSFORM_H

#include "OSGGroup.h"
#include "OSGSFMathTypes.h"

OSG_BEGIN_NAMESPACE

class Transform;
typedef FCPtr<GroupPtr, Transform> TransformPtr;
typedef RefPtr<TransformPtr> TransformRefPtr;

/// The core of nodes that transform their children: the matrix maps the children's space to the node's outer space.
class Transform : public Group {
    typedef Group Inherited;

public:
    typedef TransformPtr Ptr;

    enum { MatrixFieldId = Inherited::NextFieldId, NextFieldId = MatrixFieldId + 1 };
    static const BitVector MatrixFieldMask;

    OSG_FIELD_CONTAINER_DECL(TransformPtr)

    /// The identity in a new transform.
    OSG_SFIELD_ACCESS(Matrix, Matrix)

    void changed(BitVector whichField, UInt32 origin) override;
    void accumulateMatrix(Matrix& result) override;

protected:
    Transform() = default;
    Transform(const Transform& source) : Inherited(source), _sfMatrix(source._sfMatrix) {}
    ~Transform() override = default;

    void adjustVolume(Volume& volume) override;

    SFMatrix _sfMatrix;
    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_FIELD_CONTAINER_INL_DEF(Transform, TransformPtr)

OSG_END_NAMESPACE

#endif
