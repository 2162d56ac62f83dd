// SPDX-License-Identifier: LGPL-2.1-or-later
// Defines the core of nodes that transform their children, for matrices and bounding volumes.
#include "OSGTransform.h"

OSG_BEGIN_NAMESPACE

OSG_FIELD_MASK_DEF(Transform, MatrixField)

FieldContainerType Transform::_type("Transform", "Group", nullptr,
                                    []() -> FieldContainerPtr { return Transform::createEmpty(); });

OSG_FIELD_CONTAINER_DEF(Transform, TransformPtr)

void Transform::changed(const BitVector whichField, const UInt32 origin) {
    if (whichField & MatrixFieldMask)
        invalidateVolume();
    Inherited::changed(whichField, origin);
}

void Transform::accumulateMatrix(Matrix& result) {
    result.mult(getMatrix());
}

void Transform::adjustVolume(Volume& volume) {
    volume.transform(getMatrix());
}

OSG_END_NAMESPACE
