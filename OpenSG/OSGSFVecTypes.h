// SPDX-License-Identifier: LGPL-2.1-or-later
// Names the single-value fields of vectors and points.
#ifndef OSGSFVECTYPES_H
#define OSGSFVECTYPES_H

#include "OSGSField.h"
#include "OSGVector.h"

OSG_BEGIN_NAMESPACE

using SFVec2f = SField<Vec2f>;
using SFVec3f = SField<Vec3f>;
using SFVec4f = SField<Vec4f>;
using SFVec2d = SField<Vec2d>;
using SFVec3d = SField<Vec3d>;
using SFVec4d = SField<Vec4d>;
using SFVec3b = SField<Vec3b>;
using SFVec3s = SField<Vec3s>;
using SFVec2s = SField<Vec2s>;
using SFVec4ub = SField<Vec4ub>;
using SFPnt2f = SField<Pnt2f>;
using SFPnt3f = SField<Pnt3f>;
using SFPnt4f = SField<Pnt4f>;
using SFPnt2d = SField<Pnt2d>;
using SFPnt3d = SField<Pnt3d>;
using SFPnt4d = SField<Pnt4d>;
using SFPnt2s = SField<Pnt2s>;
using SFPnt3s = SField<Pnt3s>;
using SFPnt4s = SField<Pnt4s>;

OSG_END_NAMESPACE

#endif
