// SPDX-License-Identifier: LGPL-2.1-or-later
// Names the multi-value fields of matrices and quaternions.
#ifndef OSGMFMATHTYPES_H
#define OSGMFMATHTYPES_H

#include "OSGMatrix.h"
#include "OSGMField.h"
#include "OSGQuaternion.h"

OSG_BEGIN_NAMESPACE

using MFMatrix = MField<Matrix>;
using MFQuaternion = MField<Quaternion>;

OSG_END_NAMESPACE

#endif
