// SPDX-License-Identifier: LGPL-2.1-or-later
// Names the single-value fields of matrices and quaternions.
#ifndef OSGSFMATHTYPES_H
#define OSGSFMATHTYPES_H

#include "OSGMatrix.h"
#include "OSGQuaternion.h"
#include "OSGSField.h"

OSG_BEGIN_NAMESPACE

using SFMatrix = SField<Matrix>;
using SFQuaternion = SField<Quaternion>;

OSG_END_NAMESPACE

#endif
