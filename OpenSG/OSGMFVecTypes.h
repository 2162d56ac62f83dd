// SPDX-License-Identifier: LGPL-2.1-or-later
// Names the multi-value fields of vectors and points.
#ifndef OSGMFVECTYPES_H
#define OSGMFVECTYPES_H

#include "OSGMField.h"
#include "OSGVector.h"

OSG_BEGIN_NAMESPACE

using MFVec2f = MField<Vec2f>;
using MFVec3f = MField<Vec3f>;
using MFVec4f = MField<Vec4f>;
using MFVec2d = MField<Vec2d>;
using MFVec3d = MField<Vec3d>;
using MFVec4d = MField<Vec4d>;
using MFVec3b = MField<Vec3b>;
using MFVec3s = MField<Vec3s>;
using MFVec2s = MField<Vec2s>;
using MFVec4ub = MField<Vec4ub>;
using MFPnt2f = MField<Pnt2f>;
using MFPnt3f = MField<Pnt3f>;
using MFPnt4f = MField<Pnt4f>;
using MFPnt2d = MField<Pnt2d>;
using MFPnt3d = MField<Pnt3d>;
using MFPnt4d = MField<Pnt4d>;
using MFPnt2s = MField<Pnt2s>;
using MFPnt3s = MField<Pnt3s>;
using MFPnt4s = MField<Pnt4s>;

OSG_END_NAMESPACE

#endif
